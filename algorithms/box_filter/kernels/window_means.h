#pragma once

#include <cstdint>

#include "algorithms/simd/wide_level.h"

namespace kv_img::box_filter {

/// Largest window: 255 rows of 255 are the most that a 16-bit column sum holds.
inline constexpr std::uint32_t maxWindowSize = 255;

/// The mean of `count` pixels, at least 1, that add up to `sum`; rounded down.
constexpr std::uint8_t MeanOf(std::uint32_t sum, std::uint32_t count) {
  return static_cast<std::uint8_t>(sum / count);
}
static_assert(MeanOf(35, 9) == 3 && MeanOf(255U * 255U * 255U, 255U * 255U) == 255);

/// The same in single precision, for up to maxWindowSize * maxWindowSize pixels: sums below 2^24 are exact,
/// and a quotient, rounded to a multiple of 2^-16 at most, misses the next whole number by 1 / count, more
/// than the half of that.
constexpr std::uint8_t FloatMeanOf(std::int32_t sum, std::int32_t count) {
  return static_cast<std::uint8_t>(
      static_cast<std::int32_t>(static_cast<float>(sum) / static_cast<float>(count)));
}
static_assert(FloatMeanOf(255 * 65025 - 1, 65025) == 254 && FloatMeanOf(128 * 65024 - 1, 65024) == 127 &&
              FloatMeanOf(35, 9) == 3);

/// Sums before the first and behind the last one of a row that a kernel may read, whatever they hold.
inline constexpr std::int32_t spareSums = 64;

/// Means of square windows that slide along a row of column sums, one column at a time.
///
/// A window is `windowSize` columns, 1 to maxWindowSize, of as many rows each: its mean is the sum of its
/// column sums, none above 255 * windowSize, divided by windowSize * windowSize and rounded down. `first`
/// points to the sum of the first column of the first window, with that of every second column from there on
/// behind it, `second` to the sums of the columns between. One group is eight windows: 8 bytes written at
/// `destination`; g groups read the 8 * g + windowSize - 1 sums of their windows, and on either side of both
/// arrays up to spareSums more; no groups read none. Sums are at their natural alignment; no overlap. The
/// kernel leaves `first`, `second` and `destination` at the window behind the last, the SIMD state clean, and
/// keeps no state.
struct WindowMeansArgs {
  std::int32_t groups;
  const std::uint16_t* first;
  const std::uint16_t* second;
  std::uint8_t* destination;
  std::uint32_t windowSize;
};

namespace scalar {
void WindowMeans(WindowMeansArgs& args) noexcept;
}
namespace mmx {
void WindowMeans(WindowMeansArgs& args) noexcept;
}
namespace wide {
template <WideLevel>
void WindowMeans(WindowMeansArgs& args) noexcept;
}  // namespace wide

}  // namespace kv_img::box_filter
