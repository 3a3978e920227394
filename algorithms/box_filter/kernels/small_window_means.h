#pragma once

#include <cstdint>

#include "algorithms/simd/wide_level.h"

namespace kv_img::box_filter {

/// Windows up to this size are added up straight from their rows: that costs less than to keep column sums.
inline constexpr std::uint32_t mostSmall = 4;

/// Means of square windows that slide along as many rows of pixels, one column at a time.
///
/// A window is `windowSize` columns, 1 to mostSmall, of as many rows: its mean is the sum of its pixels
/// divided by windowSize * windowSize and rounded down. The first windowSize of `rows` point to the first
/// column of the first window. One group is eight windows: 8 bytes written at `destination`; g groups read 8
/// * g + windowSize
/// - 1 bytes of each row, no groups read none. Rows may be the same; none overlaps the destination. The
/// kernel leaves `rows` and `destination` at the window behind the last, the SIMD state clean, and keeps no
/// state.
struct SmallWindowMeansArgs {
  std::int32_t groups;
  const std::uint8_t* rows[mostSmall];
  std::uint8_t* destination;
  std::uint32_t windowSize;
};

namespace scalar {
void SmallWindowMeans(SmallWindowMeansArgs& args) noexcept;
}
namespace mmx {
void SmallWindowMeans(SmallWindowMeansArgs& args) noexcept;
}
namespace wide {
template <WideLevel>
void SmallWindowMeans(SmallWindowMeansArgs& args) noexcept;
}

}  // namespace kv_img::box_filter
