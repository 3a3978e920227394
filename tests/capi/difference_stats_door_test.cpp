// kv_difference_stats beside plain sums.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "tests/capi/door_fixture.h"

namespace kv_test {
namespace {

TEST(DoorStatistics, OfEveryFormatAndThreads) {
  std::mt19937 random(8);
  const Context context = MakeContext(3);
  for (const int format :
       {KV_FORMAT_UYVY, KV_FORMAT_YUY2, KV_FORMAT_YUV411P, KV_FORMAT_I422, KV_FORMAT_GRAY8}) {
    const auto measure = [&](int width, Placement placement, bool isBottomUp) {
      // The larger ones are worth all threads.
      const int height = width > 130 ? 100 : 1 + width % 7;
      GuardedFrame a(format, width, height, placement, isBottomUp);
      GuardedFrame b(format, width, height, placement);
      a.Fill(random);
      b.Fill(random);
      const int left = static_cast<int>(random() % static_cast<unsigned>(std::min(width, 130)));
      const Region region = Rectangle(left, 0, width - left, height);
      std::int64_t sum = 0;
      std::int64_t squares = 0;
      std::int64_t above = 0;
      int maximum = 0;
      for (int y = 0; y < height; ++y) {
        for (int x = left; x < width; ++x) {
          const int at = format == KV_FORMAT_UYVY ? 2 * x + 1 : format == KV_FORMAT_YUY2 ? 2 * x : x;
          const int difference = std::abs(a.Row(0, y)[at] - b.Row(0, y)[at]);
          sum += difference;
          squares += difference * difference;
          above += difference > 99 ? 1 : 0;
          maximum = std::max(maximum, difference);
        }
      }
      kv_stats stats;
      kv_stats_init(&stats);
      ASSERT_EQ(kv_difference_stats(context.get(), a.Get(), b.Get(), region.get(), 99, &stats, nullptr),
                KV_OK)
          << kv_last_error();
      const double samples = (width - left) * height;
      ASSERT_EQ(stats.samples, static_cast<std::int64_t>(samples));
      ASSERT_EQ(stats.maximum, maximum);
      ASSERT_EQ(stats.mean, static_cast<double>(sum) / samples);
      ASSERT_EQ(stats.share, static_cast<double>(above) / samples);
      if (squares == 0) return;
      ASSERT_NEAR(stats.psnr, 10 * std::log10(65025 * samples / static_cast<double>(squares)), 1e-9);
    };
    ForEachWidth(measure);
    for (const int width : {2000, 3001}) measure(width, Placement::EndOfPage, false);
  }
}

TEST(DoorStatistics, EqualFramesHaveInfinitePsnr) {
  const Context context = MakeContext();
  GuardedFrame a(KV_FORMAT_YUY2, 12, 3, Placement::EndOfPage);
  kv_stats stats;
  kv_stats_init(&stats);
  ASSERT_EQ(kv_difference_stats(context.get(), a.Get(), a.Get(), nullptr, 0, &stats, nullptr), KV_OK);
  EXPECT_TRUE(std::isinf(stats.psnr));
  EXPECT_EQ(stats.mean, 0);
}

}  // namespace
}  // namespace kv_test
