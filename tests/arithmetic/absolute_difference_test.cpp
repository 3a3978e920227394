#include "frame/interfaces/absolute_difference.h"

#include <gtest/gtest.h>

#include "check/models/absolute_difference_model.h"
#include "tests/support/any_region.h"
#include "tests/support/expect_error.h"
#include "tests/support/member.h"
#include "tests/support/test_image.h"
#include "tests/support/threads.h"

namespace {

using kv_img::AlgoMMXException;
using kv_img::ImageRect;
using kv_img::PixelYUV422;
using kv_img::RunRegion;
using kv_img::PixelLayout::chromaFirst;
using kv_img::PixelLayout::lumaFirst;
using Grey = kv_img::PixelNoColor<unsigned char>;
using namespace kv_test;

using Difference = kv_img::AbsoluteDifferenceAlgorithmInterface<Yuv422, Grey8>;

class AbsoluteDifference : public testing::TestWithParam<int> {
 protected:
  const Member& member_ = Members()[static_cast<std::size_t>(GetParam())];
  const Difference* difference_ =
      member_.Get<Difference>("AbsoluteDifference", {PixelYUV422::ClassID, Grey::ClassID});

  void SetUp() override { ASSERT_NE(difference_, nullptr); }

  void Run(const Yuv422& first, const Yuv422& second, Grey8& destination,
           const kv_img::RegionOfSupport& region, int threads = 1) {
    CallInTurn(threads, [&](kv_std::SpinBarrier& barrier, std::uint32_t index) {
      EXPECT_EQ(&difference_->Apply(first, second, destination, region, barrier, index), &destination);
    });
  }

  /// The destination row, filled with 77 before, of two sources whose luma of pixel x is 10 x and 255 - x and
  /// whose chroma bytes are `chroma` and 255.
  std::vector<int> RowOf(int width, std::int32_t layout, const ImageRect& region, std::uint8_t chroma = 0) {
    Yuv422 first(width, 1, Options(layout));
    Yuv422 second(width, 1, Options(layout));
    Grey8 destination(width, 1);
    const int luma = layout == chromaFirst ? 1 : 0;
    for (int x = 0; x < width; ++x) {
      const auto at = static_cast<std::size_t>(2 * x);
      first.Row(0)[at + static_cast<std::size_t>(luma)] = static_cast<std::uint8_t>(10 * x);
      second.Row(0)[at + static_cast<std::size_t>(luma)] = static_cast<std::uint8_t>(255 - x);
      first.Row(0)[at + static_cast<std::size_t>(1 - luma)] = chroma;
      second.Row(0)[at + static_cast<std::size_t>(1 - luma)] = 255;
    }
    std::ranges::fill(destination.Row(0), 77);
    Run(first, second, destination, region);
    return {destination.Row(0).begin(), destination.Row(0).begin() + width};
  }
  /// What RowOf gives for a region of columns `left` to `right`.
  static std::vector<int> Expected(int width, int left, int right) {
    std::vector<int> row;
    for (int x = 0; x < width; ++x) row.push_back(x < left || x > right ? 77 : std::abs(255 - 11 * x));
    return row;
  }
};

TEST_P(AbsoluteDifference, RowsOfOneToThreePixels) {
  for (const std::int32_t layout : {lumaFirst, chromaFirst}) {
    for (int width = 1; width <= 3; ++width) {
      EXPECT_EQ(RowOf(6, layout, ImageRect(1, 0, width, 0)), Expected(6, 1, width));
    }
  }
}

TEST_P(AbsoluteDifference, RowsOfFourAndOfEightPixels) {
  for (const std::int32_t layout : {lumaFirst, chromaFirst}) {
    for (const int width : {4, 8}) {
      EXPECT_EQ(RowOf(11, layout, ImageRect(2, 0, 1 + width, 0)), Expected(11, 2, 1 + width));
    }
  }
}

TEST_P(AbsoluteDifference, RowOfTwelvePixelsTakesASingleLastGroup) {
  for (const std::int32_t layout : {lumaFirst, chromaFirst}) {
    EXPECT_EQ(RowOf(15, layout, ImageRect(1, 0, 12, 0)), Expected(15, 1, 12));
  }
}

TEST_P(AbsoluteDifference, ChromaNeverInfluencesTheResult) {
  for (const std::int32_t layout : {lumaFirst, chromaFirst}) {
    const ImageRect region(0, 0, 22, 0);
    EXPECT_EQ(RowOf(23, layout, region, 0), RowOf(23, layout, region, 255));
    EXPECT_EQ(RowOf(23, layout, region, 99), Expected(23, 0, 22));
  }
}

TEST_P(AbsoluteDifference, AnyOtherCodeThanChromaFirstMeansLumaInTheEvenByte) {
  for (const std::int32_t layout : {0, 4096, 9999}) {
    EXPECT_EQ(RowOf(15, layout, ImageRect(0, 0, 14, 0), 99), Expected(15, 0, 14));
  }
}

TEST_P(AbsoluteDifference, SizeMismatchIsRefusedByEveryThread) {
  const ImageRect region(0, 0, 7, 3);
  for (const auto& [firstWidth, firstHeight, secondWidth, secondHeight] :
       {std::tuple{9, 4, 8, 4}, std::tuple{8, 5, 8, 4}, std::tuple{8, 4, 9, 4}, std::tuple{8, 4, 8, 5}}) {
    const Yuv422 first(firstWidth, firstHeight);
    const Yuv422 second(secondWidth, secondHeight);
    Grey8 destination(8, 4);
    std::ranges::fill(destination.Row(0), 77);
    kv_std::SpinBarrier barrier(3);
    for (std::uint32_t index = 0; index < 3; ++index) {
      ExpectError<AlgoMMXException>(
          [&] { difference_->Apply(first, second, destination, region, barrier, index); }, 1,
          L"AbsoluteDifference" + member_.Suffix());
    }
    EXPECT_TRUE(std::ranges::all_of(destination.Row(0), [](int byte) { return byte == 77; }));
  }
}

TEST_P(AbsoluteDifference, DifferingByteOrdersAreRefused) {
  const Yuv422 first(8, 1, Options(lumaFirst));
  const Yuv422 second(8, 1, Options(chromaFirst));
  Grey8 destination(8, 1);
  std::ranges::fill(destination.Row(0), 77);
  kv_std::SpinBarrier barrier(1);
  ExpectError<AlgoMMXException>(
      [&] { difference_->Apply(first, second, destination, ImageRect(0, 0, 7, 0), barrier, 0); }, 6,
      L"AbsoluteDifference" + member_.Suffix() + L"<ImageYUV422>");
  EXPECT_TRUE(std::ranges::all_of(destination.Row(0), [](int byte) { return byte == 77; }));
}

TEST_P(AbsoluteDifference, SizesAreReportedBeforeByteOrders) {
  const Yuv422 first(8, 1, Options(lumaFirst));
  const Yuv422 second(8, 2, Options(chromaFirst));
  Grey8 destination(8, 1);
  kv_std::SpinBarrier barrier(1);
  ExpectError<AlgoMMXException>(
      [&] { difference_->Apply(first, second, destination, ImageRect(0, 0, 7, 0), barrier, 0); }, 1,
      L"AbsoluteDifference" + member_.Suffix());
}

TEST_P(AbsoluteDifference, EmptyAndInvertedRunsWriteNothing) {
  Random random(0x3101);
  const TestImage<PixelYUV422> first(random, 20, 5, Placement::Any(random), Options(lumaFirst));
  const TestImage<PixelYUV422> second(random, 20, 5, Placement::Any(random), Options(lumaFirst));
  TestImage<Grey> destination(random, 20, 5, Placement::Any(random));
  const TestImage before = destination;
  Run(*first, *second, *destination, RunRegion(0, {4, 9, 0, 19, 20}, {3, 3, -1, 0, 19}));
  Run(*first, *second, *destination, ImageRect(0, 3, 19, 2), 4);
  EXPECT_EQ(destination.DifferenceFrom(before), "");
}

TEST_P(AbsoluteDifference, ThreadWithAnEmptyBandWritesNothing) {
  Random random(0x3102);
  const TestImage<PixelYUV422> first(random, 20, 2, Placement::Any(random), Options(lumaFirst));
  const TestImage<PixelYUV422> second(random, 20, 2, Placement::Any(random), Options(lumaFirst));
  TestImage<Grey> destination(random, 20, 2, Placement::Any(random));
  const TestImage before = destination;
  kv_std::SpinBarrier barrier(4);
  for (const std::uint32_t index : {0U, 2U}) {
    difference_->Apply(*first, *second, *destination, ImageRect(0, 0, 19, 1), barrier, index);
    EXPECT_EQ(destination.DifferenceFrom(before), "");
  }
}

TEST_P(AbsoluteDifference, EqualsTheModelForEveryWidth) {
  Random random(0x3103);
  for (int width = 1; width <= 130; ++width) {
    for (int round = 0; round < 12; ++round) {
      SCOPED_TRACE(testing::Message() << "width " << width << " round " << round);
      const int height = random.Between(1, 9);
      const std::int32_t layout = random.Pick({chromaFirst, lumaFirst, 4100});
      TestImage<PixelYUV422> first(random, width, height, Placement::Any(random), Options(layout));
      TestImage<PixelYUV422> second(random, width, height, Placement::Any(random), Options(layout));
      TestImage<Grey> destination(random, width, height, Placement::Any(random));
      const TestImage firstBefore = first;
      const TestImage secondBefore = second;
      TestImage model = destination;
      const auto region = AnyRegion(random, width, height);
      Run(*first, *second, *destination, *region, random.Between(1, 9));
      kv_model::AbsoluteDifference(*first, *second, *model, *region);
      ASSERT_EQ(destination.DifferenceFrom(model), "");
      ASSERT_EQ(first.DifferenceFrom(firstBefore), "");
      ASSERT_EQ(second.DifferenceFrom(secondBefore), "");
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Members, AbsoluteDifference, EachMember(), MemberName);

}  // namespace
