#include "frame/interfaces/blend_boost.h"

#include <gtest/gtest.h>

#include "check/models/blend_boost_model.h"
#include "image/image_rect.h"
#include "image/run_region.h"
#include "tests/support/expect_error.h"
#include "tests/support/member.h"
#include "tests/support/test_image.h"
#include "tests/support/threads.h"

namespace {

using kv_img::AlgoMMXException;
using kv_img::AlgoMotionException;
using kv_img::ImageRect;
using kv_img::PixelYUV422;
using kv_img::RunRegion;
using kv_img::PixelLayout::chromaFirst;
using kv_img::PixelLayout::lumaFirst;
using Grey = kv_img::PixelNoColor<unsigned char>;
using namespace kv_test;

using Blending = kv_img::BlendBoostAlgorithmInterface<Yuv422>;
using Bytes = std::vector<int>;

/// One row from its bytes.
template <class ImageType>
ImageType& Fill(ImageType& image, const Bytes& bytes) {
  std::ranges::copy(bytes, image.Row(0).begin());
  return image;
}

class BlendBoost : public testing::TestWithParam<int> {
 protected:
  const Member& member_ = Members()[static_cast<std::size_t>(GetParam())];
  const Blending* blend_ = member_.Get<Blending>("BlendBoost", {PixelYUV422::ClassID});

  void SetUp() override { ASSERT_NE(blend_, nullptr); }

  void Run(const Yuv422& b, const Yuv422& a, const Grey8& mask, Yuv422& destination,
           const kv_img::RegionOfSupport& region, int threads = 1) {
    CallInTurn(threads, [&](kv_std::SpinBarrier& barrier, std::uint32_t index) {
      EXPECT_EQ(&blend_->Apply(b, a, mask, destination, region, barrier, index), &destination);
    });
  }

  /// One row of four pixels, from column 0.
  Bytes Blend(std::int32_t layout, const Bytes& b, const Bytes& a, const Bytes& mask) {
    Yuv422 imageB(4, 1, Options(layout));
    Yuv422 imageA(4, 1, Options(layout));
    Grey8 imageMask(4, 1);
    Yuv422 destination(4, 1, Options(layout));
    Run(Fill(imageB, b), Fill(imageA, a), Fill(imageMask, mask), destination, RunRegion(0, {0}, {3}));
    return {destination.Row(0).begin(), destination.Row(0).begin() + 8};
  }

  void ExpectRefusal(std::uint32_t code, const std::wstring& name, const std::wstring& detail,
                     const Yuv422& b, const Yuv422& a, const kv_img::RegionOfSupport& region) {
    const Grey8 mask(8, 4);
    Yuv422 destination(8, 4);
    std::ranges::fill(destination.Row(0), 77);
    kv_std::SpinBarrier barrier(3);
    for (std::uint32_t index = 0; index < 3; ++index) {
      ExpectError<AlgoMMXException>([&] { blend_->Apply(b, a, mask, destination, region, barrier, index); },
                                    code, name, detail);
    }
    EXPECT_TRUE(std::ranges::all_of(destination.Row(0), [](int byte) { return byte == 77; }));
  }
};

const RunRegion wholeFrame(ImageRect(0, 0, 7, 3));

TEST_P(BlendBoost, OtherKindOfRegionIsRefusedBeforeTheSizes) {
  const Yuv422 tooLarge(9, 4);
  const Yuv422 otherOrder(8, 4, Options(chromaFirst));
  ExpectRefusal(4, L"BlendBoost" + member_.Suffix(), L"type of roi", tooLarge, otherOrder,
                ImageRect(0, 0, 7, 3));
}

TEST_P(BlendBoost, SizeMismatchIsRefusedBeforeTheByteOrders) {
  const Yuv422 right(8, 4);
  for (const auto& [width, height] : {std::pair{9, 4}, std::pair{8, 5}}) {
    const Yuv422 wrong(width, height, Options(chromaFirst));
    ExpectRefusal(1, L"BlendBoost" + member_.Suffix(), L"", wrong, right, wholeFrame);
    ExpectRefusal(1, L"BlendBoost" + member_.Suffix(), L"", right, wrong, wholeFrame);
  }
}

TEST_P(BlendBoost, DifferingByteOrdersAreRefusedInTheNameOfTheAlphaLayer) {
  const Yuv422 b(8, 4, Options(chromaFirst));
  const Yuv422 a(8, 4, Options(lumaFirst));
  ExpectRefusal(6, L"AlphaLayerColorBased" + member_.Suffix() + L"<ImageYUV422>", L"", b, a, wholeFrame);
}

TEST_P(BlendBoost, ByteOrderOfTheDestinationIsNotCompared) {
  Random random(0x3401);
  const TestImage<PixelYUV422> b(random, 8, 1, Placement::Any(random), Options(chromaFirst));
  const TestImage<PixelYUV422> a(random, 8, 1, Placement::Any(random), Options(chromaFirst));
  const TestImage<Grey> mask(random, 8, 1, Placement::Any(random));
  TestImage<PixelYUV422> destination(random, 8, 1, Placement::Any(random), Options(lumaFirst));
  TestImage model = destination;
  const RunRegion region(0, {0}, {7});
  Run(*b, *a, *mask, *destination, region);
  kv_model::BlendBoost(*b, *a, *mask, *model, region);
  EXPECT_EQ(destination.DifferenceFrom(model), "");
}

TEST_P(BlendBoost, SizeOfTheMaskIsNotCompared) {
  Random random(0x3402);
  const TestImage<PixelYUV422> b(random, 12, 2, Placement::Any(random), Options(lumaFirst));
  const TestImage<PixelYUV422> a(random, 12, 2, Placement::Any(random), Options(lumaFirst));
  const TestImage<Grey> mask(random, 5, 1, Placement::Any(random));
  TestImage<PixelYUV422> destination(random, 12, 2, Placement::Any(random), Options(lumaFirst));
  TestImage model = destination;
  const RunRegion region(0, {1}, {4});
  Run(*b, *a, *mask, *destination, region);
  kv_model::BlendBoost(*b, *a, *mask, *model, region);
  EXPECT_EQ(destination.DifferenceFrom(model), "");
}

TEST_P(BlendBoost, RunOfSixPixelsFailsWhenItsRowIsReached) {
  Random random(0x3403);
  const TestImage<PixelYUV422> b(random, 12, 6, Placement::Any(random), Options(lumaFirst));
  const TestImage<PixelYUV422> a(random, 12, 6, Placement::Any(random), Options(lumaFirst));
  const TestImage<Grey> mask(random, 12, 6, Placement::Any(random));
  const RunRegion six(0, {0, 4, 2, 0, 0, 0}, {7, 7, 7, 7, 7, 7});
  const RunRegion inverted(0, {0, 4, 5, 0, 0, 0}, {7, 7, 3, 7, 7, 7});
  for (const RunRegion& region : {six, inverted}) {
    TestImage<PixelYUV422> destination(random, 12, 6, Placement::Any(random), Options(lumaFirst));
    TestImage model = destination;
    kv_std::SpinBarrier barrier(2);
    ExpectError<AlgoMotionException>([&] { blend_->Apply(*b, *a, *mask, *destination, region, barrier, 0); },
                                     4, L"GetNumberOf4Pixels");
    kv_model::BlendBoost(*b, *a, *mask, *model, RunRegion(0, {0, 4}, {7, 7}));
    EXPECT_EQ(destination.DifferenceFrom(model), "");
    // The other thread's band has no such row.
    blend_->Apply(*b, *a, *mask, *destination, region, barrier, 1);
    kv_model::BlendBoost(*b, *a, *mask, *model, RunRegion(3, {0, 0, 0}, {7, 7, 7}));
    EXPECT_EQ(destination.DifferenceFrom(model), "");
  }
}

TEST_P(BlendBoost, FullMaskDoesNotReachB) {
  // Luma of A and B equal, so the weight is 127.
  EXPECT_EQ(Blend(lumaFirst, {9, 255, 9, 0, 0, 255, 255, 200}, {9, 0, 9, 255, 0, 0, 255, 100},
                  {255, 255, 255, 255}),
            (Bytes{9, 253, 9, 1, 0, 253, 255, 199}));
  EXPECT_EQ(Blend(chromaFirst, {255, 9, 0, 9, 255, 0, 200, 255}, {0, 9, 255, 9, 0, 0, 100, 255},
                  {255, 255, 255, 255}),
            (Bytes{253, 9, 1, 9, 253, 0, 199, 255}));
}

TEST_P(BlendBoost, WeightBelowZeroGivesA) {
  const Bytes a = {10, 1, 20, 2, 30, 3, 40, 4};
  EXPECT_EQ(Blend(lumaFirst, {210, 255, 220, 0, 231, 255, 241, 99}, a, {199, 0, 200, 200}), a);
}

TEST_P(BlendBoost, WeightAboveItsRangeIs127) {
  // mask + yA - yB is 455 at most; 254 and up weigh 127.
  EXPECT_EQ(Blend(lumaFirst, {0, 128, 0, 255, 0, 0, 100, 0}, {200, 0, 200, 0, 1, 128, 101, 255},
                  {255, 54, 253, 253}),
            (Bytes{1, 127, 1, 253, 0, 1, 100, 1}));
}

TEST_P(BlendBoost, MaskZeroAndEqualLumaGiveA) {
  const Bytes a = {10, 1, 20, 2, 30, 3, 40, 4};
  EXPECT_EQ(Blend(lumaFirst, {10, 255, 20, 255, 30, 255, 40, 255}, a, {0, 0, 1, 1}), a);
}

TEST_P(BlendBoost, ChromaOfAPairHasTheWeightOfItsFirstPixel) {
  EXPECT_EQ(
      Blend(lumaFirst, {50, 128, 50, 128, 50, 128, 50, 128}, {50, 0, 50, 0, 50, 0, 50, 0}, {0, 255, 128, 0}),
      (Bytes{50, 0, 50, 0, 50, 64, 50, 64}));
}

TEST_P(BlendBoost, StepsRoundTowardMinusInfinity) {
  // (b - a) * 1 >> 7 is -1 for b < a and 0 for b > a.
  EXPECT_EQ(
      Blend(lumaFirst, {50, 99, 50, 101, 50, 0, 50, 255}, {50, 100, 50, 100, 50, 1, 50, 254}, {2, 2, 3, 3}),
      (Bytes{50, 99, 50, 100, 50, 0, 50, 254}));
}

TEST_P(BlendBoost, PairsCountFromTheFirstColumnOfTheRunAlsoWhenItIsOdd) {
  Yuv422 b(6, 1, Options(lumaFirst));
  Yuv422 a(6, 1, Options(lumaFirst));
  Grey8 mask(6, 1);
  Yuv422 destination(6, 1, Options(lumaFirst));
  Fill(b, {7, 128, 7, 128, 7, 128, 7, 128, 7, 128, 7, 128});
  Fill(a, {7, 0, 7, 0, 7, 0, 7, 0, 7, 0, 7, 0});
  Fill(mask, {255, 128, 0, 64, 0, 255});
  Run(b, a, mask, destination, RunRegion(0, {1}, {4}));
  EXPECT_EQ((Bytes{destination.Row(0).begin(), destination.Row(0).begin() + 12}),
            (Bytes{0, 0, 7, 64, 7, 64, 7, 32, 7, 32, 0, 0}));
}

TEST_P(BlendBoost, EqualsTheModelForEveryWidth) {
  Random random(0x3404);
  for (int width = 1; width <= 130; ++width) {
    for (int round = 0; round < 12; ++round) {
      SCOPED_TRACE(testing::Message() << "width " << width << " round " << round);
      const int height = random.Between(1, 9);
      const std::int32_t layout = random.Pick({chromaFirst, lumaFirst, 4100});
      TestImage<PixelYUV422> b(random, width, height, Placement::Any(random), Options(layout));
      TestImage<PixelYUV422> a(random, width, height, Placement::Any(random), Options(layout));
      TestImage<Grey> mask(random, width, height, Placement::Any(random));
      TestImage<PixelYUV422> destination(random, width, height, Placement::Any(random), Options(layout));
      const TestImage bBefore = b;
      const TestImage aBefore = a;
      const TestImage maskBefore = mask;
      TestImage model = destination;
      const RunRegion region = RandomRuns(random, ImageRect(0, 0, width - 1, height - 1), true, 4);
      Run(*b, *a, *mask, *destination, region, random.Between(1, 9));
      kv_model::BlendBoost(*b, *a, *mask, *model, region);
      ASSERT_EQ(destination.DifferenceFrom(model), "");
      ASSERT_EQ(b.DifferenceFrom(bBefore), "");
      ASSERT_EQ(a.DifferenceFrom(aBefore), "");
      ASSERT_EQ(mask.DifferenceFrom(maskBefore), "");
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Members, BlendBoost, EachMember(), MemberName);

}  // namespace
