// The parts of a comparison: repeatable random choices, and images that report where they differ.
#include <gtest/gtest.h>

#include <array>

#include "check/region_pairs.h"
#include "check/test_image.h"
#include "tests/kernel_check/checker.h"

namespace {

using namespace kv_check;

TEST(Random, OneSeedGivesTheSameValues) {
  Random a(5);
  Random b(5);
  for (int i = 0; i < 100; ++i) ASSERT_EQ(a.Next(), b.Next());
}

TEST(Random, BytesDecideAsLongAsThereAreAny) {
  const std::array<std::uint8_t, 4> bytes = {7, 1, 2, 9};
  Random random{std::span<const std::uint8_t>(bytes)};
  EXPECT_EQ(random.Between(0, 255), 7);
  EXPECT_EQ(random.Between(10, 1000), 10 + 0x0102 % 991);
  EXPECT_EQ(random.Between(0, 3), 9 % 4);
  Random unchosen(0);
  EXPECT_EQ(random.Next(), unchosen.Next()) << "then those of seed 0 follow";
}

TEST(Random, BytesThatDecideFillPicturesAlike) {
  const std::array<std::uint8_t, 6> bytes = {5, 3, 4, 5, 3, 4};
  Random random{std::span<const std::uint8_t>(bytes)};
  std::array<std::uint8_t, 50> a{};
  std::array<std::uint8_t, 50> b{};
  random.Fill(a);
  random.Fill(b);
  EXPECT_EQ(a, b);
  EXPECT_NE(a.front(), a.back());
}

TEST(TestImage, TellsWhereTheFirstDifferenceLies) {
  Random random(1);
  TestImage<kv_img::PixelYUV422> image(random, 6, 3, Placement::Any(random));
  TestImage copy = image;
  EXPECT_EQ(image.DifferenceFrom(copy), "");
  copy->Row(2)[5] ^= 1;
  EXPECT_NE(image.DifferenceFrom(copy).find("(stored row 2, byte 5; image 6 x 3)"), std::string::npos)
      << image.DifferenceFrom(copy);
  copy->GetProperties().fieldOrder ^= 1;
  EXPECT_EQ(image.DifferenceFrom(copy).find("properties differ"), 0U);
}

TEST(BoldRegion, IsItsRunsButForWhereItLies) {
  const BoldRegion region(Runs(2, {{3, 9}, {-4, 5}}));
  EXPECT_EQ(region.GetLeft(), -4);
  EXPECT_EQ(region.GetRight(), 9);
  EXPECT_EQ(region.GetRight(3), 5);
  EXPECT_TRUE(region.IsInside(kv_img::ImageRect(0, 0, 1, 1)));
  EXPECT_EQ(region.GetRegionType(), 77);
  EXPECT_EQ(region.GetClassID(), 77);
}

TEST(Check, NamesWhatItRan) {
  const KernelCase& kernel = AllKernels().front();
  EXPECT_EQ(Check(kernel, kernel.variants.front(), 3, 2), "");
  EXPECT_EQ(std::string(CurrentKernel()).find(kernel.name), 0U);
}

}  // namespace
