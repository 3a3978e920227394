// What the door does with masks and grey frames, beside the family's own calls.
#include <gtest/gtest.h>

#include "frame/interfaces/absolute_difference.h"
#include "frame/interfaces/alpha_layer_color_based.h"
#include "frame/interfaces/alpha_layer_prob_mask.h"
#include "frame/interfaces/average.h"
#include "frame/interfaces/average_filter.h"
#include "frame/interfaces/blend_boost.h"
#include "image/image_rect.h"
#include "image/run_region.h"
#include "tests/capi/door_fixture.h"

namespace kv_test {
namespace {

using Packed = kv_img::PixelYUV422;
using Grey = kv_img::PixelNoColor<unsigned char>;
using PackedImage = kv_img::Image<Packed>;
using GreyImage = kv_img::Image<Grey>;

constexpr int height = 7;

/// One run for each row, and the same as a region of the door's.
struct Runs {
  std::vector<int> firsts;
  std::vector<int> lasts;
  int top = 0;

  Runs(std::mt19937& random, int width, int multiple = 1) {
    top = static_cast<int>(random() % 3);
    const int rows = 1 + static_cast<int>(random() % static_cast<unsigned>(height - top));
    for (int row = 0; row < rows; ++row) {
      const int pixels = static_cast<int>(random() % static_cast<unsigned>(width + 1)) / multiple * multiple;
      const int room = width - pixels;
      // Often up to the last column.
      const int first =
          random() % 3 == 0 ? room : static_cast<int>(random() % static_cast<unsigned>(room + 1));
      firsts.push_back(first);
      lasts.push_back(first + pixels - 1);
    }
  }
  kv_img::RunRegion Own() const { return {top, firsts, lasts}; }
  Region OfDoor() const {
    kv_region* region = nullptr;
    EXPECT_EQ(kv_region_runs(top, static_cast<int>(firsts.size()), firsts.data(), lasts.data(), &region),
              KV_OK)
        << kv_last_error();
    return Region(region);
  }
};

class DoorMasks : public testing::Test {
 protected:
  std::mt19937 random{5};
  Context context = MakeContext();
};

TEST_F(DoorMasks, Difference) {
  const auto& operation = Operation<kv_img::AbsoluteDifferenceAlgorithmInterface<PackedImage, GreyImage>>(
      "AbsoluteDifference", {Packed::ClassID, Grey::ClassID});
  ForEachWidth([&](int width, Placement placement, bool isBottomUp) {
    const int format = packedFormats[width / 2 % 2];
    GuardedFrame a(format, width, height, placement, isBottomUp);
    GuardedFrame b(format, width, height, placement);
    GuardedFrame to(KV_FORMAT_GRAY8, width, height, placement, isBottomUp);
    a.Fill(random);
    b.Fill(random);
    to.Fill(random);
    const Runs runs(random, width);
    const auto expected = ImageOf<Grey>(to);
    kv_std::SpinBarrier barrier(1);
    operation.Apply(*ImageOf<Packed>(a), *ImageOf<Packed>(b), *expected, runs.Own(), barrier, 0);
    ASSERT_EQ(kv_difference(context.get(), a.Get(), b.Get(), to.Get(), runs.OfDoor().get(), nullptr), KV_OK)
        << kv_last_error();
    ASSERT_EQ(FirstDifference(to, *expected), -1) << width;
  });
}

TEST_F(DoorMasks, Average) {
  const auto& operation = Operation<kv_img::AverageAlgorithmInterface<GreyImage>>("Average", {Grey::ClassID});
  ForEachWidth([&](int width, Placement placement, bool isBottomUp) {
    GuardedFrame a(KV_FORMAT_GRAY8, width, height, placement, isBottomUp);
    GuardedFrame b(KV_FORMAT_GRAY8, width, height, placement);
    GuardedFrame to(KV_FORMAT_GRAY8, width, height, placement, !isBottomUp);
    a.Fill(random);
    b.Fill(random);
    to.Fill(random);
    const Runs runsA(random, width);
    const Runs runsB(random, width);
    const Runs runs(random, width);
    const auto expected = ImageOf<Grey>(to);
    kv_std::SpinBarrier barrier(1);
    operation.Apply(*ImageOf<Grey>(a), *ImageOf<Grey>(b), *expected, runsA.Own(), runsB.Own(), runs.Own(),
                    barrier, 0);
    ASSERT_EQ(kv_average(context.get(), a.Get(), runsA.OfDoor().get(), b.Get(), runsB.OfDoor().get(),
                         to.Get(), runs.OfDoor().get(), nullptr),
              KV_OK)
        << kv_last_error();
    ASSERT_EQ(FirstDifference(to, *expected), -1) << width;
  });
}

TEST_F(DoorMasks, BoxFilter) {
  const auto& operation =
      Operation<kv_img::AverageFilterAlgorithmInterface<GreyImage>>("AverageFilter", {Grey::ClassID});
  ForEachWidth([&](int width, Placement placement, bool isBottomUp) {
    for (const int window : {1, 3, 4, 5, 31, 255}) {
      GuardedFrame from(KV_FORMAT_GRAY8, width, height, placement, isBottomUp);
      GuardedFrame to(KV_FORMAT_GRAY8, width, height, placement);
      from.Fill(random);
      to.Fill(random);
      const Runs runs(random, width);
      const auto expected = ImageOf<Grey>(to);
      kv_std::SpinBarrier barrier(1);
      operation.Apply(*ImageOf<Grey>(from), *expected, runs.Own(), static_cast<unsigned>(window), barrier, 0);
      ASSERT_EQ(kv_box_filter(context.get(), from.Get(), to.Get(), runs.OfDoor().get(), window, nullptr),
                KV_OK)
          << kv_last_error();
      ASSERT_EQ(FirstDifference(to, *expected), -1) << width << ' ' << window;
    }
  });
}

TEST_F(DoorMasks, LargeWindowsTakeNothingFromAroundARegion) {
  const auto& operation =
      Operation<kv_img::AverageFilterAlgorithmInterface<GreyImage>>("AverageFilter", {Grey::ClassID});
  GuardedFrame from(KV_FORMAT_GRAY8, 40, 400, Placement::EndOfPage);
  GuardedFrame to(KV_FORMAT_GRAY8, 40, 400, Placement::EndOfPage);
  from.Fill(random);
  to.Fill(random);
  for (const int window : {33, 254, 255}) {
    const auto expected = ImageOf<Grey>(to);
    kv_std::SpinBarrier barrier(1);
    operation.Apply(*ImageOf<Grey>(from), *expected, kv_img::ImageRect(5, 190, 30, 193),
                    static_cast<unsigned>(window), barrier, 0);
    // Other pixels around the region, the same in it.
    for (int row = 0; row < 400; ++row) {
      std::uint8_t* const pixels = from.Row(0, row);
      for (int column = 0; column < 40; ++column) {
        if (row < 190 || row > 193 || column < 5 || column > 30) pixels[column] ^= 0xFF;
      }
    }
    ASSERT_EQ(
        kv_box_filter(context.get(), from.Get(), to.Get(), Rectangle(5, 190, 26, 4).get(), window, nullptr),
        KV_OK)
        << kv_last_error();
    ASSERT_EQ(FirstDifference(to, *expected), -1) << window;
  }
}

TEST_F(DoorMasks, BlendAlsoInPlace) {
  const auto& operation =
      Operation<kv_img::BlendBoostAlgorithmInterface<PackedImage>>("BlendBoost", {Packed::ClassID});
  ForEachWidth([&](int width, Placement placement, bool isBottomUp) {
    const int format = packedFormats[width / 2 % 2];
    GuardedFrame b(format, width, height, placement, isBottomUp);
    GuardedFrame a(format, width, height, placement);
    GuardedFrame mask(KV_FORMAT_GRAY8, width, height, placement);
    GuardedFrame to(format, width, height, placement);
    for (GuardedFrame* frame : {&a, &b, &mask, &to}) frame->Fill(random);
    const Runs runs(random, width, 4);
    // In turn: into a frame of its own, over the foreground, over the background.
    GuardedFrame& into = width % 3 == 0 ? to : width % 3 == 1 ? b : a;
    const auto expected = ImageOf<Packed>(into);
    kv_std::SpinBarrier barrier(1);
    operation.Apply(*ImageOf<Packed>(b), *ImageOf<Packed>(a), *ImageOf<Grey>(mask), *expected, runs.Own(),
                    barrier, 0);
    ASSERT_EQ(kv_blend(context.get(), b.Get(), a.Get(), mask.Get(), into.Get(), runs.OfDoor().get(), nullptr),
              KV_OK)
        << kv_last_error();
    ASSERT_EQ(FirstDifference(into, *expected), -1) << width;
  });
}

TEST_F(DoorMasks, AlphaFromColor) {
  const auto& operation = Operation<kv_img::AlphaLayerColorBasedAlgorithmInterface<PackedImage>>(
      "AlphaLayerColorBased", {Packed::ClassID});
  ForEachWidth([&](int width, Placement placement, bool isBottomUp) {
    for (const int window : {1, 3, 6}) {
      const int format = packedFormats[(width / 2 + window) % 2];
      GuardedFrame a(format, width, height, placement, isBottomUp);
      GuardedFrame b(format, width, height, placement);
      GuardedFrame to(KV_FORMAT_GRAY8, width, height, placement);
      a.Fill(random, 6);
      b.Fill(random, 6);
      to.Fill(random);
      const Runs runs(random, width);
      const auto expected = ImageOf<Grey>(to);
      kv_std::SpinBarrier barrier(1);
      operation.Apply(*ImageOf<Packed>(a), *ImageOf<Packed>(b), *expected, runs.Own(),
                      static_cast<unsigned>(window), nullptr, barrier, 0);
      ASSERT_EQ(kv_alpha_from_color(context.get(), a.Get(), b.Get(), to.Get(), runs.OfDoor().get(), window,
                                    nullptr),
                KV_OK)
          << kv_last_error();
      ASSERT_EQ(FirstDifference(to, *expected), -1) << width << ' ' << window;
    }
  });
}

TEST_F(DoorMasks, AlphaFromDifferenceAlsoInPlace) {
  const auto& operation = Operation<kv_img::AlphaLayerProbMaskAlgorithmInterface<GreyImage>>(
      "AlphaLayerProbMask", {Grey::ClassID});
  ForEachWidth([&](int width, Placement placement, bool isBottomUp) {
    GuardedFrame p(KV_FORMAT_GRAY8, width, height, placement, isBottomUp);
    GuardedFrame q(KV_FORMAT_GRAY8, width, height, placement);
    GuardedFrame to(KV_FORMAT_GRAY8, width, height, placement);
    for (GuardedFrame* frame : {&p, &q, &to}) frame->Fill(random);
    const Runs runs(random, width);
    const int gain = width % 4;
    const int window = 1 + width % 5;
    GuardedFrame& into = width % 3 == 0 ? to : width % 3 == 1 ? p : q;
    const auto expected = ImageOf<Grey>(into);
    kv_std::SpinBarrier barrier(1);
    operation.Apply(*ImageOf<Grey>(p), *ImageOf<Grey>(q), *expected, runs.Own(), static_cast<unsigned>(gain),
                    static_cast<unsigned>(window), nullptr, barrier, 0);
    ASSERT_EQ(kv_alpha_from_difference(context.get(), p.Get(), q.Get(), into.Get(), runs.OfDoor().get(), gain,
                                       window, nullptr),
              KV_OK)
        << kv_last_error();
    ASSERT_EQ(FirstDifference(into, *expected), -1) << width;
  });
}

}  // namespace
}  // namespace kv_test
