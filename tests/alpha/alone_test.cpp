// A process in which no member answers the look-up of the averaging filter: kv_algoMMX alone in its folder.
#include <gtest/gtest.h>

#include <algorithm>

#include "frame/interfaces/alpha_layer_color_based.h"
#include "frame/interfaces/alpha_layer_prob_mask.h"
#include "frame/platform/platform.h"
#include "tests/alpha/layer_test.h"
#include "tests/support/expect_error.h"
#include "tests/support/loaded_module.h"
#include "tests/support/member.h"

namespace {

using kv_img::AlgoException;
using kv_img::ImageRect;
using namespace kv_test;

const Member& Alone() {
  static const Member member("kv_algoMMX");
  return member;
}

TEST(AloneInItsFolder, IsHowItWasFound) {
  const kv_platform::LoadedModule mmx = kv_platform::LoadModule(L"kv_algoMMX");
  ASSERT_NE(mmx.handle, nullptr) << mmx.problem;
  EXPECT_EQ(mmx.file.parent_path().filename(), "alone");
  EXPECT_FALSE(std::filesystem::exists(mmx.file.parent_path() / (std::string("kv_algoC") + moduleExtension)));
  kv_platform::UnloadModule(mmx.handle);
}

TEST(AloneInItsFolder, TheColourLayerThrowsInEveryThreadAfterTheRawMask) {
  const auto* layer = Alone().Get<kv_img::AlphaLayerColorBasedAlgorithmInterface<Yuv422>>(
      "AlphaLayerColorBased", {kv_img::PixelYUV422::ClassID});
  ASSERT_NE(layer, nullptr);
  const Yuv422 image(16, 8);
  Grey8 destination(16, 8);
  const auto intermediate = std::make_shared<Grey8>(16, 8);
  for (const auto& thrown : CallOnThreads(3, [&](kv_std::SpinBarrier&barrier, std::uint32_t index) {
         layer->Apply(image, image, destination, ImageRect(image), 3, intermediate, barrier, index);
       })) {
    ASSERT_NE(thrown, nullptr);
    ExpectError<AlgoException>([&] { std::rethrow_exception(thrown); }, 1, L"AverageFilter");
  }
  EXPECT_EQ(intermediate.use_count(), 1);
  for (int row = 0; row < 8; ++row) {
    EXPECT_TRUE(std::ranges::all_of(intermediate->Row(row), [](int alpha) { return alpha == 255; }));
    EXPECT_TRUE(std::ranges::all_of(destination.Row(row), [](int byte) { return byte == 0; }));
  }
}

TEST(AloneInItsFolder, TheProbabilityLayerThrowsAfterTheRawMask) {
  const auto* layer = Alone().Get<kv_img::AlphaLayerProbMaskAlgorithmInterface<Grey8>>(
      "AlphaLayerProbMask", {kv_img::PixelNoColor<unsigned char>::ClassID});
  ASSERT_NE(layer, nullptr);
  const Grey8 image(16, 8);
  Grey8 destination(16, 8);
  const auto intermediate = std::make_shared<Grey8>(16, 8);
  kv_std::SpinBarrier barrier(1);
  ExpectError<AlgoException>(
      [&] { layer->Apply(image, image, destination, ImageRect(image), 3, intermediate, barrier, 0); }, 1,
      L"AverageFilter");
  ExpectError<AlgoException>(
      [&] { layer->Apply(image, image, destination, ImageRect(image), 2, 3, nullptr, barrier, 0); }, 1,
      L"AverageFilter");
  EXPECT_EQ(intermediate.use_count(), 1);
  for (int row = 0; row < 8; ++row) {
    EXPECT_TRUE(std::ranges::all_of(intermediate->Row(row), [](int alpha) { return alpha == 128; }));
    EXPECT_TRUE(std::ranges::all_of(destination.Row(row), [](int byte) { return byte == 0; }));
  }
}

}  // namespace
