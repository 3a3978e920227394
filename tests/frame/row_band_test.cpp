#include "frame/row_band.h"

#include <gtest/gtest.h>

#include <vector>

#include "image/image_rect.h"

namespace {

using kv_img::BandOf;
using kv_img::RowBand;

TEST(RowBand, TenRowsOnFourThreads) {
  const int firsts[] = {7, 9, 12, 14};
  const int lasts[] = {8, 11, 13, 16};
  for (std::uint32_t i = 0; i < 4; ++i) {
    const RowBand band = BandOf(7, 16, 4, i);
    EXPECT_EQ(band.first, firsts[i]);
    EXPECT_EQ(band.last, lasts[i]);
  }
}

TEST(RowBand, NoRowsGiveEveryThreadAnEmptyBand) {
  for (std::uint32_t i = 0; i < 5; ++i) {
    for (const int bottom : {2, -3, -2147483647}) {
      const RowBand band = BandOf(3, bottom, 5, i);
      EXPECT_LT(band.last, band.first);
    }
  }
}

TEST(RowBand, FewerRowsThanThreadsLeaveSomeBandsEmpty) {
  int empty = 0;
  for (std::uint32_t i = 0; i < 7; ++i) {
    const RowBand band = BandOf(0, 2, 7, i);
    if (band.last < band.first) ++empty;
  }
  EXPECT_EQ(empty, 4);
}

TEST(RowBand, OneThreadTakesAll) {
  const RowBand band = BandOf(-4, 11, 1, 0);
  EXPECT_EQ(band.first, -4);
  EXPECT_EQ(band.last, 11);
}

TEST(RowBand, CoversEveryRowExactlyOnce) {
  for (int top = -20; top <= 20; top += 5) {
    for (int rows = 0; rows <= 40; ++rows) {
      for (int threads = 1; threads <= 45; ++threads) {
        std::vector<int> visits(static_cast<std::size_t>(rows));
        for (std::uint32_t i = 0; i < static_cast<std::uint32_t>(threads); ++i) {
          const RowBand band = BandOf(top, top + rows - 1, threads, i);
          for (int row = band.first; row <= band.last; ++row) ++visits[static_cast<std::size_t>(row - top)];
        }
        for (const int count : visits) ASSERT_EQ(count, 1);
      }
    }
  }
}

TEST(RowBand, TakesRegionAndBarrier) {
  const kv_std::SpinBarrier barrier(2);
  const RowBand band = BandOf(kv_img::ImageRect(0, 5, 3, 9), barrier, 1);
  EXPECT_EQ(band.first, 7);
  EXPECT_EQ(band.last, 9);
}

TEST(RowBand, ProductsWrapAt32Bits) {
  // 2^30 rows times 4 is 2^32, which wraps to 0.
  const RowBand band = BandOf(0, (1 << 30) - 1, 5, 4);
  EXPECT_EQ(band.first, 0);
}

}  // namespace
