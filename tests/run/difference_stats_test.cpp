#include "run/difference_stats.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <random>
#include <vector>

namespace kv_run {
namespace {

DifferenceStats Counted(const std::vector<std::uint8_t>& a, const std::vector<std::uint8_t>& b,
                        std::size_t count, std::size_t step, int threshold) {
  DifferenceStats stats;
  for (std::size_t i = 0; i < count; ++i) {
    const int difference = std::abs(a[i * step] - b[i * step]);
    ++stats.samples;
    stats.sum += static_cast<std::uint64_t>(difference);
    stats.squares += static_cast<std::uint64_t>(difference) * static_cast<std::uint64_t>(difference);
    if (difference > threshold) ++stats.above;
    if (difference > stats.maximum) stats.maximum = difference;
  }
  return stats;
}

TEST(DifferenceStatistics, OfEveryCountAndStep) {
  std::mt19937 random(5);
  std::vector<std::size_t> counts = {4095, 4096, 4097, 9001};
  for (std::size_t count = 0; count < 300; ++count) counts.push_back(count);
  for (const std::size_t count : counts) {
    for (const std::size_t step : {1U, 2U}) {
      std::vector<std::uint8_t> a(count * step + 1);
      std::vector<std::uint8_t> b(a.size());
      for (std::size_t i = 0; i < a.size(); ++i) {
        a[i] = static_cast<std::uint8_t>(random());
        b[i] = static_cast<std::uint8_t>(random());
      }
      const int threshold = static_cast<int>(random() % 256);
      EXPECT_EQ(Measure(a.data(), b.data(), count, step, threshold), Counted(a, b, count, step, threshold));
    }
  }
}

TEST(DifferenceStatistics, LargestDifferencesOfMoreThanOneBlock) {
  const std::vector<std::uint8_t> black(2 * 70000, 0);
  const std::vector<std::uint8_t> white(2 * 70000, 255);
  const DifferenceStats stats = Measure(black.data(), white.data(), 70000, 2, 254);
  EXPECT_EQ(stats.squares, 70000ULL * 65025ULL);
  EXPECT_EQ(stats.above, 70000U);
  EXPECT_EQ(stats.Mean(), 255);
  EXPECT_EQ(stats.Psnr(), 0);
  EXPECT_EQ(Measure(black.data(), white.data(), 70000, 2, 255).above, 0U);
}

TEST(DifferenceStatistics, InNumbers) {
  const std::uint8_t a[] = {10, 20, 30, 40};
  const std::uint8_t b[] = {10, 22, 30, 34};
  const DifferenceStats stats = Measure(a, b, 4, 1, 2);
  EXPECT_EQ(stats.Mean(), 2);
  EXPECT_EQ(stats.maximum, 6);
  EXPECT_EQ(stats.Share(), 0.25);
  // 10 log10(65025 / 10)
  EXPECT_NEAR(stats.Psnr(), 38.1308, 0.0001);
  EXPECT_TRUE(std::isinf(Measure(a, a, 4, 1, 0).Psnr()));
  EXPECT_EQ(DifferenceStats{}.Mean(), 0);
  EXPECT_EQ(DifferenceStats{}.Share(), 0);
}

}  // namespace
}  // namespace kv_run
