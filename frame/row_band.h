#pragma once

#include <cstdint>

#include "frame/platform/platform.h"
#include "frame/spin_barrier.h"
#include "image/region_of_support.h"

namespace kv_img {

/// The rows of one thread, inclusive; empty when last < first.
struct RowBand {
  std::int32_t first;
  std::int32_t last;
};

/// 32-bit arithmetic that wraps, as every thread count and host must find the same bands.
constexpr std::int32_t WrappingMultiply(std::int32_t a, std::int32_t b) {
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(a) * static_cast<std::uint32_t>(b));
}

/// Rows of a region: 0 when bottom < top.
constexpr std::int32_t RowCount(std::int32_t top, std::int32_t bottom) {
  return bottom < top ? 0
                      : static_cast<std::int32_t>(static_cast<std::uint32_t>(bottom) -
                                                  static_cast<std::uint32_t>(top) + 1U);
}

/// The band of thread `index` of `threads` (at least 1) when rows top to bottom are shared out: with R rows,
/// first = top + R * index / threads and last = top + R * (index + 1) / threads - 1, divisions truncating.
/// The bands cover every row exactly once.
constexpr RowBand BandOf(std::int32_t top, std::int32_t bottom, std::int32_t threads, std::uint32_t index) {
  const std::int32_t rows = RowCount(top, bottom);
  const auto i = static_cast<std::int32_t>(index);
  const auto next = static_cast<std::int32_t>(index + 1U);
  return {top + WrappingMultiply(rows, i) / threads, top + WrappingMultiply(rows, next) / threads - 1};
}
static_assert(BandOf(0, 9, 4, 1).first == 2 && BandOf(0, 9, 4, 1).last == 4);
static_assert(BandOf(5, 4, 3, 2).last < BandOf(5, 4, 3, 2).first);

/// The band of the thread that calls an operation. Leaves the SIMD state clean: when the band is empty no
/// kernel does.
inline RowBand TakeBand(std::int32_t top, std::int32_t bottom, std::int32_t threads, std::uint32_t index) {
  kv_platform::ClearSimdState();
  return BandOf(top, bottom, threads, index);
}

/// The same for the rows of a region.
inline RowBand BandOf(const RegionOfSupport& region, const kv_std::SpinBarrier& barrier,
                      std::uint32_t index) {
  return TakeBand(region.GetTop(), region.GetBottom(), barrier.GetThreadCount(), index);
}

}  // namespace kv_img
