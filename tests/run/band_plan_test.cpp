// How calls are divided: by what they write, and how long that takes.

#include "run/band_plan.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>

#include "image/image_rect.h"

namespace {

using kv_img::ImageRect;
using kv_run::BandPlan;
using kv_run::CallExtent;
using kv_run::ExtentOf;
using kv_run::WorkerPool;

TEST(BandPlans, SmallCallsGetFewerThreads) {
  const WorkerPool pool(4);
  // Of one nanosecond a pixel: a thread for every 20 us.
  EXPECT_EQ(BandPlan(pool, {}, {100, 100}, 1).threads, 1);
  EXPECT_EQ(BandPlan(pool, {}, {399, 100}, 1).threads, 1);
  EXPECT_EQ(BandPlan(pool, {}, {400, 100}, 1).threads, 2);
  EXPECT_EQ(BandPlan(pool, {}, {600, 100}, 1).threads, 3);
  EXPECT_EQ(BandPlan(pool, {}, {1080, 1920}, 1).threads, 4);
  EXPECT_EQ(BandPlan(pool, {.threads = 2}, {1080, 1920}, 1).threads, 2);
  EXPECT_EQ(BandPlan(pool, {.threads = 8}, {1080, 1920}, 1).threads, 4) << "no more than the pool has";
  EXPECT_EQ(BandPlan(pool, {}, {3, 100000}, 1).threads, 3) << "a row for each";
  const kv_run::PoolOptions eager{.threads = 4, .executor = {}, .grain = std::chrono::nanoseconds(0)};
  EXPECT_EQ(BandPlan(WorkerPool(eager), {}, {8, 8}, 0.01).threads, 4);
}

TEST(BandPlans, BandsOfMoreThanAFifthOfAMillisecondAreDivided) {
  const WorkerPool pool(4);
  EXPECT_EQ(BandPlan(pool, {}, {400, 100}, 1).bands, 2) << "20 us for each of two threads";
  EXPECT_EQ(BandPlan(pool, {}, {800, 1000}, 1).bands, 4) << "200 us for each";
  EXPECT_EQ(BandPlan(pool, {}, {801, 1000}, 1).bands, 16) << "a little more";
  EXPECT_EQ(BandPlan(pool, {.threads = 1}, {801, 1000}, 1).bands, 1) << "one thread leaves nothing to others";
}

TEST(BandPlans, RegionsSayWhatIsWrittenBeforeImagesDo) {
  using Grey = kv_img::Image<kv_img::PixelNoColor<unsigned char>>;
  const Grey image(30, 20);
  const ImageRect first(0, 0, 8, 6);
  const ImageRect last(2, 1, 12, 5);
  const auto expectExtent = [](const CallExtent& extent, std::int32_t rows, std::uint32_t columns) {
    EXPECT_EQ(extent.rows, rows);
    EXPECT_EQ(extent.columns, columns);
  };
  expectExtent(ExtentOf(Grey(7, 9), image), 20, 30);
  expectExtent(ExtentOf(image, first, image, last), 5, 11);
  expectExtent(ExtentOf(last, image, 3), 5, 11);
}

TEST(BandPlans, LongCallsAreSliced) {
  const WorkerPool pool(1);
  EXPECT_EQ(BandPlan(pool, {}, {1000, 1000}, 1).bands, 1);
  EXPECT_EQ(BandPlan(pool, {}, {1000, 1000}, 100).bands, 21) << "100 ms";
  EXPECT_EQ(BandPlan(pool, {}, {10, 100000}, 1000).bands, 10) << "no less than a row";
  EXPECT_EQ(BandPlan(pool, {}, {0, 0}, 1).bands, 1);
  EXPECT_EQ(BandPlan(pool, {}, {1 << 20, 1 << 20}, 1000).bands, 2046) << "bands are found in 32 bits";
}

}  // namespace
