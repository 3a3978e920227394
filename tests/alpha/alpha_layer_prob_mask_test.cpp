#include "frame/interfaces/alpha_layer_prob_mask.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <optional>

#include "check/models/alpha_layer_model.h"
#include "tests/alpha/layer_test.h"
#include "tests/support/expect_error.h"
#include "tests/support/family.h"
#include "tests/support/member.h"

namespace {

using kv_img::AlgoMMXException;
using kv_img::ImageRect;
using namespace kv_test;

using MaskLayer = kv_img::AlphaLayerProbMaskAlgorithmInterface<Grey8>;
using Bytes = std::vector<std::uint8_t>;
using TestMask = TestImage<kv_img::PixelNoColor<unsigned char>>;

class AlphaLayerProbMask : public testing::TestWithParam<int> {
 protected:
  const Member& member_ = Members()[static_cast<std::size_t>(GetParam())];
  const MaskLayer* layer_ =
      member_.Get<MaskLayer>("AlphaLayerProbMask", {kv_img::PixelNoColor<unsigned char>::ClassID});

  void SetUp() override { ASSERT_NE(layer_, nullptr); }

  /// One thread's call, with gain when there is one.
  void Call(const Grey8& p, const Grey8& q, Grey8& destination, const kv_img::RegionOfSupport& region,
            std::optional<std::uint32_t> gain, std::uint32_t windowSize, const SharedMask& intermediate,
            kv_std::SpinBarrier& barrier, std::uint32_t index) const {
    Grey8& result =
        gain ? layer_->Apply(p, q, destination, region, *gain, windowSize, intermediate, barrier, index)
             : layer_->Apply(p, q, destination, region, windowSize, intermediate, barrier, index);
    EXPECT_EQ(&result, &destination);
  }

  /// The raw mask of two rows, with the byte after it, which was 99.
  Bytes RawMask(const Bytes& p, const Bytes& q, std::optional<std::uint32_t> gain = {}) const {
    const int width = static_cast<int>(p.size());
    Grey8 first(width, 1);
    Grey8 second(width, 1);
    std::ranges::copy(p, first.Row(0).begin());
    std::ranges::copy(q, second.Row(0).begin());
    const auto intermediate = std::make_shared<Grey8>(width, 1);
    std::fill_n(intermediate->Row(0).data(), width + 1, std::uint8_t{99});
    Grey8 destination(width, 1);
    kv_std::SpinBarrier barrier(1);
    Call(first, second, destination, ImageRect(first), gain, 1, intermediate, barrier, 0);
    const std::uint8_t* mask = intermediate->Row(0).data();
    return Bytes(mask, mask + width + 1);
  }
};

TEST_P(AlphaLayerProbMask, EqualImagesGive128) {
  const Bytes bytes = {0, 1, 127, 128, 255, 3, 200};
  const Bytes expected = {128, 128, 128, 128, 128, 128, 128, 99};
  EXPECT_EQ(RawMask(bytes, bytes), expected);
  EXPECT_EQ(RawMask(bytes, bytes, 1), expected);
  EXPECT_EQ(RawMask(bytes, bytes, 1000), expected);
}

TEST_P(AlphaLayerProbMask, DifferencesAreSaturatedInKernelAndTail) {
  // Four pixels of a group, then the same in the tail.
  EXPECT_EQ(RawMask({127, 0, 0, 255, 127, 0, 0}, {0, 128, 200, 0, 0, 128, 200}),
            (Bytes{255, 0, 0, 255, 255, 0, 0, 99}));
  EXPECT_EQ(RawMask({100, 100, 100, 100}, {99, 101, 228, 227}), (Bytes{129, 127, 0, 1, 99}));
}

TEST_P(AlphaLayerProbMask, FivePixelsFollowOneFormula) {
  EXPECT_EQ(RawMask({10, 20, 30, 40, 50}, {50, 40, 30, 20, 10}), (Bytes{88, 108, 128, 148, 168, 99}));
}

TEST_P(AlphaLayerProbMask, GainZeroGives128) {
  EXPECT_EQ(RawMask({0, 255, 7}, {255, 0, 9}, 0), (Bytes{128, 128, 128, 99}));
}

TEST_P(AlphaLayerProbMask, GainTwoSaturates) {
  EXPECT_EQ(RawMask({64, 0, 63, 0, 10}, {0, 64, 0, 65, 0}, 2), (Bytes{255, 0, 254, 0, 148, 99}));
}

TEST_P(AlphaLayerProbMask, GainWrapsIn32Bits) {
  // 2 * 0x80000000 is 0; 1 * 0x80000000 is the smallest number; 1 * 0x7FFFFFFF + 128 wraps below 0.
  EXPECT_EQ(RawMask({2, 1, 3}, {0, 0, 3}, 0x80000000U), (Bytes{128, 0, 128, 99}));
  EXPECT_EQ(RawMask({1, 0}, {0, 1}, 0x7FFFFFFFU), (Bytes{0, 0, 99}));
  EXPECT_EQ(RawMask({1, 0}, {0, 1}, 0xFFFFFFFFU), (Bytes{127, 129, 99}));
}

TEST_P(AlphaLayerProbMask, WrongSizesAreRefused) {
  const Grey8 p(8, 4);
  const std::wstring name = L"AlphaLayerProbMask" + member_.Suffix();
  kv_std::SpinBarrier barrier(1);
  const auto refuse = [&](const Grey8& q, Grey8& destination, const SharedMask& intermediate) {
    for (const std::optional<std::uint32_t> gain : {std::optional<std::uint32_t>(), std::optional(2U)}) {
      std::ranges::fill(destination.Row(0), 77);
      ExpectError<AlgoMMXException>(
          [&] { Call(p, q, destination, ImageRect(p), gain, 3, intermediate, barrier, 0); }, 1, name);
      EXPECT_TRUE(std::ranges::all_of(destination.Row(0), [](int byte) { return byte == 77; }));
    }
  };
  Grey8 fitting(8, 4);
  Grey8 wide(9, 4);
  Grey8 high(8, 5);
  refuse(Grey8(9, 4), fitting, nullptr);
  refuse(Grey8(8, 5), fitting, nullptr);
  refuse(Grey8(8, 4), wide, nullptr);
  refuse(Grey8(8, 4), high, nullptr);
  const auto small = std::make_shared<Grey8>(8, 3);
  std::ranges::fill(small->Row(0), 77);
  refuse(Grey8(8, 4), fitting, small);
  refuse(Grey8(8, 4), fitting, std::make_shared<Grey8>(9, 4));
  EXPECT_TRUE(std::ranges::all_of(small->Row(0), [](int byte) { return byte == 77; }));
  EXPECT_EQ(small.use_count(), 1);
}

TEST_P(AlphaLayerProbMask, TheFilterIsTheBestThatAnswersForTheImageType) {
  const Grey8 image(8, 4);
  Grey8 destination(8, 4);
  const auto intermediate = std::make_shared<Grey8>(8, 4);
  kv_std::SpinBarrier barrier(1);
  ExpectError<AlgoMMXException>(
      [&] { Call(image, image, destination, ImageRect(image), {}, 0, intermediate, barrier, 0); }, 4,
      std::wstring(L"AverageFilter") + wideSuffix, L"window size");
  EXPECT_EQ(intermediate.use_count(), 1);
}

TEST_P(AlphaLayerProbMask, AStopBetweenThePhasesEndsEveryThread) {
  Random random(0x4203);
  TestMask p(random, 40, 30, Placement::Any(random));
  TestMask q(random, 40, 30, Placement::Any(random));
  for (const int threads : {1, 2, 5, 9}) {
    const auto intermediate = std::make_shared<Grey8>(40, 30);
    Grey8 destination(40, 30);
    const auto codes = CallAndStop(threads, [&](kv_std::SpinBarrier& barrier, std::uint32_t index) {
      Call(*p, *q, destination, ImageRect(*p), {}, 3, intermediate, barrier, index);
    });
    EXPECT_EQ(codes, std::vector<std::uint32_t>(codes.size(), 12603));
    EXPECT_EQ(intermediate.use_count(), 1);
    Grey8 expected(40, 30);
    kv_model::ProbRawMask(*p, *q, expected, ImageRect(*p));
    for (int row = 0; row < 30; ++row) {
      EXPECT_TRUE(std::ranges::equal(intermediate->Row(row), expected.Row(row))) << "raw mask of row " << row;
      EXPECT_TRUE(std::ranges::all_of(destination.Row(row), [](int byte) { return byte == 0; }));
    }
    kv_std::SpinBarrier barrier(1);
    Call(*p, *q, destination, ImageRect(*p), {}, 1, intermediate, barrier, 0);
    for (int row = 0; row < 30; ++row)
      EXPECT_TRUE(std::ranges::equal(destination.Row(row), expected.Row(row)));
  }
}

TEST_P(AlphaLayerProbMask, AStopWithPrivateIntermediatesLeavesNothingBehind) {
  const Grey8 image(64, 32);
  Grey8 destination(64, 32);
  const auto codes = CallAndStop(4, [&](kv_std::SpinBarrier& barrier, std::uint32_t index) {
    Call(image, image, destination, ImageRect(image), 3, 3, nullptr, barrier, index);
  });
  EXPECT_EQ(codes, std::vector<std::uint32_t>(4, 12603));
}

TEST_P(AlphaLayerProbMask, OneThreadEqualsTheModelForEveryWidth) {
  Random random(0x4201);
  for (int width = 1; width <= 130; ++width) {
    for (int round = 0; round < 6; ++round) {
      SCOPED_TRACE(testing::Message() << "width " << width << " round " << round);
      const int height = random.Between(1, 9);
      TestMask p(random, width, height, Placement::Any(random));
      TestMask q(random, width, height, Placement::Any(random));
      TestMask pBefore = p;
      TestMask qBefore = q;
      TestMask intermediate(random, width, height, Placement::Any(random));
      TestMask destination(random, width, height, Placement::Any(random));
      TestMask modelIntermediate = intermediate;
      TestMask model = destination;
      const auto region = RandomRegion(random, ImageRect(*destination));
      const int window = random.Between(1, 9);
      std::optional<std::uint32_t> gain;
      if (random.OneIn(2))
        gain = random.Pick({0U, 1U, 2U, 5U, 0x80000001U, static_cast<std::uint32_t>(random.Next())});
      const bool isShared = random.OneIn(2);
      kv_std::SpinBarrier barrier(1);
      Call(*p, *q, *destination, *region, gain, static_cast<std::uint32_t>(window),
           isShared ? Lend(intermediate) : nullptr, barrier, 0);
      kv_model::ProbRawMask(*p, *q, *modelIntermediate, *region, gain.value_or(1));
      kv_model::AverageFilter(*modelIntermediate, *model, *region, window);
      ASSERT_EQ(destination.DifferenceFrom(model), "");
      if (isShared) {
        ASSERT_EQ(intermediate.DifferenceFrom(modelIntermediate), "");
      }
      ASSERT_EQ(p.DifferenceFrom(pBefore), "");
      ASSERT_EQ(q.DifferenceFrom(qBefore), "");
    }
  }
}

TEST_P(AlphaLayerProbMask, ThreadsWithASharedIntermediateEqualTheModel) {
  Random random(0x4202);
  for (int round = 0; round < 18; ++round) {
    const int threads = 1 + round % 9;
    SCOPED_TRACE(testing::Message() << "round " << round << ", " << threads << " threads");
    const int width = random.Between(1, 130);
    const int height = random.Between(1, 40);
    TestMask p(random, width, height, Placement::Any(random));
    TestMask q(random, width, height, Placement::Any(random));
    TestMask intermediate(random, width, height, Placement::Any(random));
    TestMask destination(random, width, height, Placement::Any(random));
    TestMask modelIntermediate = intermediate;
    TestMask model = destination;
    const auto region = RandomRegion(random, ImageRect(*destination));
    const int window = random.Between(1, 9);
    std::optional<std::uint32_t> gain;
    if (random.OneIn(2)) gain = static_cast<std::uint32_t>(random.Between(0, 9));
    const SharedMask shared = Lend(intermediate);
    for (const auto& thrown : CallOnThreads(threads, [&](kv_std::SpinBarrier&barrier, std::uint32_t index) {
           Call(*p, *q, *destination, *region, gain, static_cast<std::uint32_t>(window), shared, barrier,
                index);
         })) {
      ASSERT_EQ(thrown, nullptr);
    }
    kv_model::ProbRawMask(*p, *q, *modelIntermediate, *region, gain.value_or(1));
    kv_model::AverageFilter(*modelIntermediate, *model, *region, window);
    ASSERT_EQ(destination.DifferenceFrom(model), "");
    ASSERT_EQ(intermediate.DifferenceFrom(modelIntermediate), "");
    ASSERT_EQ(shared.use_count(), 1);
  }
}

INSTANTIATE_TEST_SUITE_P(Members, AlphaLayerProbMask, EachMember(), MemberName);

}  // namespace
