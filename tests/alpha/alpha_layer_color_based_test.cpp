#include "frame/interfaces/alpha_layer_color_based.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "check/models/alpha_layer_model.h"
#include "tests/alpha/layer_test.h"
#include "tests/support/expect_error.h"
#include "tests/support/family.h"
#include "tests/support/member.h"

namespace {

using kv_img::AlgoMMXException;
using kv_img::ImageRect;
using kv_img::PixelLayout::chromaFirst;
using kv_img::PixelLayout::lumaFirst;
using namespace kv_test;

using ColourLayer = kv_img::AlphaLayerColorBasedAlgorithmInterface<Yuv422>;
using Bytes = std::vector<std::uint8_t>;
using TestYuv = TestImage<kv_img::PixelYUV422>;
using TestMask = TestImage<kv_img::PixelNoColor<unsigned char>>;

class AlphaLayerColorBased : public testing::TestWithParam<int> {
 protected:
  const Member& member_ = Members()[static_cast<std::size_t>(GetParam())];
  const ColourLayer* layer_ =
      member_.Get<ColourLayer>("AlphaLayerColorBased", {kv_img::PixelYUV422::ClassID});

  void SetUp() override { ASSERT_NE(layer_, nullptr); }

  /// By one thread, with an intermediate image of its own unless one is given.
  void Run(const Yuv422& first, const Yuv422& second, Grey8& destination,
           const kv_img::RegionOfSupport& region, std::uint32_t windowSize,
           const SharedMask& intermediate = nullptr) const {
    kv_std::SpinBarrier barrier(1);
    EXPECT_EQ(&layer_->Apply(first, second, destination, region, windowSize, intermediate, barrier, 0),
              &destination);
  }

  /// The raw mask of one row whose pixel pairs differ by these sums of chroma distances, with the byte after
  /// it, which was 99.
  Bytes RawMask(const std::vector<int>& sums, int width) const {
    Yuv422 first(width, 1, Options(chromaFirst));
    Yuv422 second(width, 1, Options(chromaFirst));
    for (std::size_t pair = 0; pair < sums.size(); ++pair) {
      first.Row(0)[4 * pair] = static_cast<std::uint8_t>(std::min(sums[pair], 255));
      second.Row(0)[4 * pair + 2] = static_cast<std::uint8_t>(sums[pair] - std::min(sums[pair], 255));
    }
    const auto intermediate = std::make_shared<Grey8>(width, 1);
    std::fill_n(intermediate->Row(0).data(), width + 1, std::uint8_t{99});
    Grey8 destination(width, 1);
    Run(first, second, destination, ImageRect(first), 1, intermediate);
    const std::uint8_t* mask = intermediate->Row(0).data();
    return Bytes(mask, mask + width + 1);
  }
};

TEST_P(AlphaLayerColorBased, IdenticalImagesAreOpaque) {
  Yuv422 image(23, 5);
  Random random(1);
  for (int row = 0; row < 5; ++row) random.Fill(image.Row(row));
  Grey8 destination(23, 5);
  const auto intermediate = std::make_shared<Grey8>(23, 5);
  Run(image, image, destination, ImageRect(image), 3, intermediate);
  for (int row = 0; row < 5; ++row) {
    EXPECT_TRUE(std::ranges::all_of(intermediate->Row(row), [](int alpha) { return alpha == 255; }));
    EXPECT_TRUE(std::ranges::all_of(destination.Row(row), [](int alpha) { return alpha == 255; }));
  }
}

TEST_P(AlphaLayerColorBased, WholeGroupsAreNeverBelow130) {
  EXPECT_EQ(RawMask({0, 1, 2, 3, 4, 5, 6, 510}, 16),
            (Bytes{255, 255, 254, 254, 247, 247, 228, 228, 191, 191, 130, 130, 130, 130, 130, 130, 99}));
}

TEST_P(AlphaLayerColorBased, TheTailGoesDownTo127) {
  EXPECT_EQ(RawMask({5}, 2), (Bytes{130, 130, 99}));
  EXPECT_EQ(RawMask({6}, 2), (Bytes{127, 127, 99}));
  EXPECT_EQ(RawMask({0, 0, 4}, 6), (Bytes{255, 255, 255, 255, 191, 191, 99}));
  EXPECT_EQ(RawMask({6, 5, 6}, 6), (Bytes{130, 130, 130, 130, 127, 127, 99}));
  EXPECT_EQ(RawMask({510}, 2), (Bytes{127, 127, 99}));
}

TEST_P(AlphaLayerColorBased, AnOddTailWritesItsLastPixelOnce) {
  EXPECT_EQ(RawMask({6}, 1), (Bytes{127, 99}));
  EXPECT_EQ(RawMask({0, 0, 6}, 5), (Bytes{255, 255, 255, 255, 127, 99}));
  EXPECT_EQ(RawMask({0, 0, 1, 6}, 7), (Bytes{255, 255, 255, 255, 254, 254, 127, 99}));
}

TEST_P(AlphaLayerColorBased, AnOddFirstColumnTakesSamplesFromThereOn) {
  // Chroma bytes are at even places; a run from column 1 on pairs the first pair's second with the next
  // first.
  Yuv422 first(8, 1, Options(chromaFirst));
  Yuv422 second(8, 1, Options(chromaFirst));
  first.Row(0)[2] = 2;
  first.Row(0)[4] = 2;
  const auto intermediate = std::make_shared<Grey8>(8, 1);
  Grey8 destination(8, 1);
  Run(first, second, destination, ImageRect(1, 0, 5, 0), 1, intermediate);
  EXPECT_EQ(Bytes(intermediate->Row(0).begin(), intermediate->Row(0).end()),
            (Bytes{0, 191, 191, 255, 255, 255, 0, 0}));
}

TEST_P(AlphaLayerColorBased, ALoneLastPixelReadsTheSampleTwoBytesOn) {
  for (const int layout : {chromaFirst, lumaFirst}) {
    Yuv422 first(5, 1, Options(layout));
    Yuv422 second(5, 1, Options(layout));
    first.Row(0)[layout == chromaFirst ? 10 : 11] = 1;  // after the five pixels, in their last group
    const auto intermediate = std::make_shared<Grey8>(5, 1);
    Grey8 destination(5, 1);
    Run(first, second, destination, ImageRect(first), 1, intermediate);
    EXPECT_EQ(intermediate->Row(0)[4], 254);
  }
}

TEST_P(AlphaLayerColorBased, AnEmptyRegionWritesNothing) {
  const Yuv422 image(8, 4);
  Grey8 destination(8, 4);
  std::ranges::fill(destination.Row(0), 7);
  Run(image, image, destination, ImageRect(), 3);
  EXPECT_TRUE(std::ranges::all_of(destination.Row(0), [](int byte) { return byte == 7; }));
}

TEST_P(AlphaLayerColorBased, WrongSizesAreRefusedBeforeLayouts) {
  const Yuv422 first(8, 4, Options(lumaFirst));
  const std::wstring name = L"AlphaLayerColorBased" + member_.Suffix();
  kv_std::SpinBarrier barrier(1);
  const auto refuse = [&](const Yuv422& second, Grey8& destination, const SharedMask& intermediate, int code,
                          const std::wstring& where) {
    std::ranges::fill(destination.Row(0), 77);
    ExpectError<AlgoMMXException>(
        [&] { layer_->Apply(first, second, destination, ImageRect(first), 3, intermediate, barrier, 0); },
        static_cast<std::uint32_t>(code), where);
    EXPECT_TRUE(std::ranges::all_of(destination.Row(0), [](int byte) { return byte == 77; }));
  };
  Grey8 fitting(8, 4);
  Grey8 wide(9, 4);
  Grey8 high(8, 5);
  const auto small = std::make_shared<Grey8>(8, 3);
  std::ranges::fill(small->Row(0), 77);
  refuse(Yuv422(9, 4, Options(chromaFirst)), fitting, nullptr, 1, name);
  refuse(Yuv422(8, 5, Options(chromaFirst)), fitting, nullptr, 1, name);
  refuse(Yuv422(8, 4, Options(chromaFirst)), wide, nullptr, 1, name);
  refuse(Yuv422(8, 4, Options(chromaFirst)), high, nullptr, 1, name);
  refuse(Yuv422(8, 4, Options(chromaFirst)), fitting, small, 6, name + L"<ImageYUV422>");
  refuse(Yuv422(8, 4, Options(lumaFirst)), fitting, small, 1, name);
  refuse(Yuv422(8, 4, Options(lumaFirst)), fitting, std::make_shared<Grey8>(7, 4), 1, name);
  EXPECT_TRUE(std::ranges::all_of(small->Row(0), [](int byte) { return byte == 77; }));
  EXPECT_EQ(small.use_count(), 1);
}

TEST_P(AlphaLayerColorBased, TheFilterIsTheBestThatAnswersForTheImageType) {
  // Only the portable member does; what it refuses passes through unchanged.
  const Yuv422 image(8, 4);
  Grey8 destination(8, 4);
  const auto intermediate = std::make_shared<Grey8>(8, 4);
  kv_std::SpinBarrier barrier(1);
  ExpectError<AlgoMMXException>(
      [&] { layer_->Apply(image, image, destination, ImageRect(image), 0, intermediate, barrier, 0); }, 4,
      std::wstring(L"AverageFilter") + wideSuffix, L"window size");
  EXPECT_EQ(intermediate.use_count(), 1);
}

TEST_P(AlphaLayerColorBased, AStopBetweenThePhasesEndsEveryThread) {
  Random random(0x4103);
  TestYuv first(random, 40, 30, Placement::Any(random));
  TestYuv second(random, 40, 30, Placement::Any(random));
  for (const int threads : {1, 2, 5, 9}) {
    const auto intermediate = std::make_shared<Grey8>(40, 30);
    Grey8 destination(40, 30);
    const auto codes = CallAndStop(threads, [&](kv_std::SpinBarrier& barrier, std::uint32_t index) {
      layer_->Apply(*first, *second, destination, ImageRect(*first), 3, intermediate, barrier, index);
    });
    EXPECT_EQ(codes, std::vector<std::uint32_t>(codes.size(), 12603));
    EXPECT_EQ(intermediate.use_count(), 1);
    Grey8 expected(40, 30);
    kv_model::ColorRawMask(*first, *second, expected, ImageRect(*first));
    for (int row = 0; row < 30; ++row) {
      EXPECT_TRUE(std::ranges::equal(intermediate->Row(row), expected.Row(row))) << "raw mask of row " << row;
      EXPECT_TRUE(std::ranges::all_of(destination.Row(row), [](int byte) { return byte == 0; }));
    }
    // The images are still usable.
    Run(*first, *second, destination, ImageRect(*first), 1, intermediate);
    for (int row = 0; row < 30; ++row)
      EXPECT_TRUE(std::ranges::equal(destination.Row(row), expected.Row(row)));
  }
}

TEST_P(AlphaLayerColorBased, AStopWithPrivateIntermediatesLeavesNothingBehind) {
  const Yuv422 image(64, 32);
  Grey8 destination(64, 32);
  const auto codes = CallAndStop(4, [&](kv_std::SpinBarrier& barrier, std::uint32_t index) {
    layer_->Apply(image, image, destination, ImageRect(image), 3, nullptr, barrier, index);
  });
  EXPECT_EQ(codes, std::vector<std::uint32_t>(4, 12603));
}

TEST_P(AlphaLayerColorBased, SeveralThreadsWithoutAnIntermediateStillEnd) {
  const Yuv422 image(64, 32);
  Grey8 destination(64, 32);
  for (const auto& thrown : CallOnThreads(4, [&](kv_std::SpinBarrier&barrier, std::uint32_t index) {
         layer_->Apply(image, image, destination, ImageRect(image), 1, nullptr, barrier, index);
       })) {
    EXPECT_EQ(thrown, nullptr);
  }
  // A window of one pixel never looks into another thread's band.
  for (int row = 0; row < 32; ++row) {
    EXPECT_TRUE(std::ranges::all_of(destination.Row(row), [](int alpha) { return alpha == 255; }));
  }
}

/// Two images of which the second is near the first in chroma, so that all alphas occur.
struct NearPair {
  TestYuv first;
  TestYuv second;

  NearPair(Random& random, int width, int height)
      : first(random, width, height, Placement::Any(random),
              Options(random.Pick({chromaFirst, lumaFirst, 4711}))),
        second(random, width, height, Placement::Any(random), Options(first->GetPixelLayout())) {
    if (random.OneIn(4)) return;
    for (int row = 0; row < height; ++row) {
      for (int byte = 0; byte < 2 * width + 2; ++byte) {
        second->GetPixelBuffer().rows[row][byte] =
            static_cast<std::uint8_t>(first->GetPixelBuffer().rows[row][byte] + random.Between(-3, 3));
      }
    }
  }
};

TEST_P(AlphaLayerColorBased, OneThreadEqualsTheModelForEveryWidth) {
  Random random(0x4101);
  for (int width = 1; width <= 130; ++width) {
    for (int round = 0; round < 6; ++round) {
      SCOPED_TRACE(testing::Message() << "width " << width << " round " << round);
      const int height = random.Between(1, 9);
      NearPair images(random, width, height);
      TestYuv firstBefore = images.first;
      TestYuv secondBefore = images.second;
      TestMask intermediate(random, width, height, Placement::Any(random));
      TestMask destination(random, width, height, Placement::Any(random));
      TestMask modelIntermediate = intermediate;
      TestMask model = destination;
      const auto region = RandomRegion(random, ImageRect(*destination));
      const int window = random.Between(1, 9);
      const bool isShared = random.OneIn(2);
      Run(*images.first, *images.second, *destination, *region, static_cast<std::uint32_t>(window),
          isShared ? Lend(intermediate) : nullptr);
      kv_model::ColorRawMask(*images.first, *images.second, *modelIntermediate, *region);
      kv_model::AverageFilter(*modelIntermediate, *model, *region, window);
      ASSERT_EQ(destination.DifferenceFrom(model), "");
      if (isShared) {
        ASSERT_EQ(intermediate.DifferenceFrom(modelIntermediate), "");
      }
      ASSERT_EQ(images.first.DifferenceFrom(firstBefore), "");
      ASSERT_EQ(images.second.DifferenceFrom(secondBefore), "");
    }
  }
}

TEST_P(AlphaLayerColorBased, ThreadsWithASharedIntermediateEqualTheModel) {
  Random random(0x4102);
  for (int round = 0; round < 18; ++round) {
    const int threads = 1 + round % 9;
    SCOPED_TRACE(testing::Message() << "round " << round << ", " << threads << " threads");
    const int width = random.Between(1, 130);
    const int height = random.Between(1, 40);
    NearPair images(random, width, height);
    TestMask intermediate(random, width, height, Placement::Any(random));
    TestMask destination(random, width, height, Placement::Any(random));
    TestMask modelIntermediate = intermediate;
    TestMask model = destination;
    const auto region = RandomRegion(random, ImageRect(*destination));
    const int window = random.Between(1, 9);
    const SharedMask shared = Lend(intermediate);
    for (const auto& thrown : CallOnThreads(threads, [&](kv_std::SpinBarrier&barrier, std::uint32_t index) {
           layer_->Apply(*images.first, *images.second, *destination, *region,
                         static_cast<std::uint32_t>(window), shared, barrier, index);
         })) {
      ASSERT_EQ(thrown, nullptr);
    }
    kv_model::ColorRawMask(*images.first, *images.second, *modelIntermediate, *region);
    kv_model::AverageFilter(*modelIntermediate, *model, *region, window);
    ASSERT_EQ(destination.DifferenceFrom(model), "");
    ASSERT_EQ(intermediate.DifferenceFrom(modelIntermediate), "");
    ASSERT_EQ(shared.use_count(), 1);
  }
}

INSTANTIATE_TEST_SUITE_P(Members, AlphaLayerColorBased, EachMember(), MemberName);

}  // namespace
