#include "frame/interfaces/average.h"

#include <gtest/gtest.h>

#include "check/models/average_model.h"
#include "tests/support/any_region.h"
#include "tests/support/expect_error.h"
#include "tests/support/member.h"
#include "tests/support/test_image.h"
#include "tests/support/threads.h"

namespace {

using kv_img::AlgoMMXException;
using kv_img::ImageRect;
using kv_img::RunRegion;
using Grey = kv_img::PixelNoColor<unsigned char>;
using namespace kv_test;

using Averaging = kv_img::AverageAlgorithmInterface<Grey8>;

class Average : public testing::TestWithParam<int> {
 protected:
  const Member& member_ = Members()[static_cast<std::size_t>(GetParam())];
  const Averaging* average_ = member_.Get<Averaging>("Average", {Grey::ClassID});

  void SetUp() override { ASSERT_NE(average_, nullptr); }

  void Run(const Grey8& first, const Grey8& second, Grey8& destination,
           const kv_img::RegionOfSupport& firstRegion, const kv_img::RegionOfSupport& secondRegion,
           const kv_img::RegionOfSupport& outputRegion, int threads = 1) {
    CallInTurn(threads, [&](kv_std::SpinBarrier& barrier, std::uint32_t index) {
      EXPECT_EQ(&average_->Apply(first, second, destination, firstRegion, secondRegion, outputRegion, barrier,
                                 index),
                &destination);
    });
  }

  /// The row that a source of threes and one of fives, valid in these columns, give over columns 1 to 14 of a
  /// destination of sevens.
  std::vector<int> Merge(const ImageRect& firstRegion, const ImageRect& secondRegion) {
    Grey8 first(16, 1);
    Grey8 second(16, 1);
    Grey8 destination(16, 1);
    std::ranges::fill(first.Row(0), 3);
    std::ranges::fill(second.Row(0), 5);
    std::ranges::fill(destination.Row(0), 7);
    Run(first, second, destination, firstRegion, secondRegion, ImageRect(1, 0, 14, 0));
    return {destination.Row(0).begin(), destination.Row(0).begin() + 16};
  }
};

ImageRect Columns(int first, int last) {
  return {first, 0, last, 0};
}

TEST_P(Average, RowOutsideBothRegionsIsZeroAcrossTheOutput) {
  EXPECT_EQ(Merge(ImageRect(0, 1, 15, 3), ImageRect(0, -4, 15, -1)),
            (std::vector{7, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 7}));
}

TEST_P(Average, SpansApartAreCopiedAndTheGapIsZero) {
  const std::vector expected = {7, 0, 3, 3, 3, 0, 0, 0, 5, 5, 5, 5, 0, 0, 0, 7};
  EXPECT_EQ(Merge(Columns(2, 4), Columns(8, 11)), expected);
  EXPECT_EQ(Merge(Columns(8, 11), Columns(2, 4)),
            (std::vector{7, 0, 5, 5, 5, 0, 0, 0, 3, 3, 3, 3, 0, 0, 0, 7}));
}

TEST_P(Average, IdenticalSpansAreAveragedThroughout) {
  EXPECT_EQ(Merge(Columns(2, 9), Columns(2, 9)),
            (std::vector{7, 0, 3, 3, 3, 3, 3, 3, 3, 3, 0, 0, 0, 0, 0, 7}));
}

TEST_P(Average, OverlapOfFiveRoundsFourByGroupAndTheFifthInFull) {
  EXPECT_EQ(Merge(Columns(3, 7), Columns(3, 7)),
            (std::vector{7, 0, 0, 3, 3, 3, 3, 4, 0, 0, 0, 0, 0, 0, 0, 7}));
}

TEST_P(Average, OverlapOfTwelveTakesASingleLastGroup) {
  EXPECT_EQ(Merge(Columns(1, 13), Columns(2, 14)),
            (std::vector{7, 3, 3, 3, 3, 3, 3, 3, 3, 3, 3, 3, 3, 3, 5, 7}));
}

TEST_P(Average, GroupsCountFromTheStartOfTheOverlap) {
  EXPECT_EQ(Merge(Columns(0, 8), Columns(4, 15)),
            (std::vector{7, 3, 3, 3, 3, 3, 3, 3, 4, 5, 5, 5, 5, 5, 5, 7}));
}

TEST_P(Average, OneSpanInsideTheOther) {
  EXPECT_EQ(Merge(Columns(6, 7), Columns(3, 10)),
            (std::vector{7, 0, 0, 5, 5, 5, 4, 4, 5, 5, 5, 0, 0, 0, 0, 7}));
  EXPECT_EQ(Merge(Columns(3, 10), Columns(6, 7)),
            (std::vector{7, 0, 0, 3, 3, 3, 4, 4, 3, 3, 3, 0, 0, 0, 0, 7}));
}

TEST_P(Average, RowOfOneRegionAloneIsACopy) {
  EXPECT_EQ(Merge(Columns(3, 10), ImageRect(0, 1, 15, 1)),
            (std::vector{7, 0, 0, 3, 3, 3, 3, 3, 3, 3, 3, 0, 0, 0, 0, 7}));
  EXPECT_EQ(Merge(ImageRect(0, 1, 15, 1), Columns(3, 10)),
            (std::vector{7, 0, 0, 5, 5, 5, 5, 5, 5, 5, 5, 0, 0, 0, 0, 7}));
}

TEST_P(Average, EmptyOutputRunWritesNothing) {
  Random random(0x3201);
  const TestImage<Grey> first(random, 20, 3, Placement::Any(random));
  const TestImage<Grey> second(random, 20, 3, Placement::Any(random));
  TestImage<Grey> destination(random, 20, 3, Placement::Any(random));
  const TestImage before = destination;
  const ImageRect whole(0, 0, 19, 2);
  Run(*first, *second, *destination, whole, whole, RunRegion(0, {5, 9, 0}, {4, 3, -1}));
  EXPECT_EQ(destination.DifferenceFrom(before), "");
}

TEST_P(Average, SizeMismatchOfEitherSourceIsRefused) {
  const ImageRect region(0, 0, 7, 3);
  for (const auto& [firstWidth, firstHeight, secondWidth, secondHeight] :
       {std::tuple{9, 4, 8, 4}, std::tuple{8, 5, 8, 4}, std::tuple{8, 4, 9, 4}, std::tuple{8, 4, 8, 5}}) {
    const Grey8 first(firstWidth, firstHeight);
    const Grey8 second(secondWidth, secondHeight);
    Grey8 destination(8, 4);
    std::ranges::fill(destination.Row(0), 77);
    kv_std::SpinBarrier barrier(3);
    for (std::uint32_t index = 0; index < 3; ++index) {
      ExpectError<AlgoMMXException>(
          [&] { average_->Apply(first, second, destination, region, region, region, barrier, index); }, 1,
          L"Average" + member_.Suffix());
    }
    EXPECT_TRUE(std::ranges::all_of(destination.Row(0), [](int byte) { return byte == 77; }));
  }
}

TEST_P(Average, EqualsTheModelForEveryWidth) {
  Random random(0x3202);
  for (int width = 1; width <= 130; ++width) {
    for (int round = 0; round < 12; ++round) {
      SCOPED_TRACE(testing::Message() << "width " << width << " round " << round);
      const int height = random.Between(1, 9);
      TestImage<Grey> first(random, width, height, Placement::Any(random));
      TestImage<Grey> second(random, width, height, Placement::Any(random));
      TestImage<Grey> destination(random, width, height, Placement::Any(random));
      const TestImage firstBefore = first;
      const TestImage secondBefore = second;
      TestImage model = destination;
      const auto firstRegion = AnyRegion(random, width, height);
      const auto secondRegion = AnyRegion(random, width, height);
      const auto outputRegion = AnyRegion(random, width, height);
      Run(*first, *second, *destination, *firstRegion, *secondRegion, *outputRegion, random.Between(1, 9));
      kv_model::Average(*first, *second, *model, *firstRegion, *secondRegion, *outputRegion);
      ASSERT_EQ(destination.DifferenceFrom(model), "");
      ASSERT_EQ(first.DifferenceFrom(firstBefore), "");
      ASSERT_EQ(second.DifferenceFrom(secondBefore), "");
    }
  }
}

TEST_P(Average, RegionsThatAgreeInTheirFirstRowsAlone) {
  Random random(0x3203);
  const TestImage<Grey> first(random, 20, 4, Placement::Any(random));
  const TestImage<Grey> second(random, 20, 4, Placement::Any(random));
  const ImageRect whole(2, 0, 12, 3);
  const ImageRect above(2, 0, 12, 1);
  const ImageRect below(2, 2, 12, 3);
  const RunRegion ragged(0, {2, 2, 5, 2}, {12, 12, 9, 14});
  const std::vector<const kv_img::RegionOfSupport*> regions = {&whole, &above, &below, &ragged};
  for (const auto* firstRegion : regions) {
    for (const auto* secondRegion : regions) {
      for (const auto* outputRegion : regions) {
        TestImage<Grey> destination(random, 20, 4, Placement::Any(random));
        TestImage model = destination;
        Run(*first, *second, *destination, *firstRegion, *secondRegion, *outputRegion);
        kv_model::Average(*first, *second, *model, *firstRegion, *secondRegion, *outputRegion);
        EXPECT_EQ(destination.DifferenceFrom(model), "");
      }
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Members, Average, EachMember(), MemberName);

}  // namespace
