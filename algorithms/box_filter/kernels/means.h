#pragma once

#include <cstdint>

// Means of windows, and how kernels divide.

namespace kv_img::box_filter {

/// Largest window: 255 rows of 255 are the most that a 16-bit column sum holds.
inline constexpr std::uint32_t maxWindowSize = 255;

/// The mean of `count` pixels, at least 1, that add up to `sum`; rounded down.
constexpr std::uint8_t MeanOf(std::uint32_t sum, std::uint32_t count) {
  return static_cast<std::uint8_t>(sum / count);
}
static_assert(MeanOf(35, 9) == 3 && MeanOf(255U * 255U * 255U, 255U * 255U) == 255);

/// MeanOf in single precision, which compilers vectorise, for up to maxWindowSize * maxWindowSize
/// pixels: sums below 2^24 are exact, and a quotient, rounded to a multiple of 2^-16 at most, misses the next
/// whole number by 1 / count, more than half of that.
constexpr std::uint8_t FloatMeanOf(std::int32_t sum, std::int32_t count) {
  return static_cast<std::uint8_t>(
      static_cast<std::int32_t>(static_cast<float>(sum) / static_cast<float>(count)));
}
static_assert(FloatMeanOf(255 * 65025 - 1, 65025) == 254 && FloatMeanOf(128 * 65024 - 1, 65024) == 127 &&
              FloatMeanOf(35, 9) == 3);

/// A factor whose product with a 16-bit sum, its lower 16 + shift bits dropped, is a quotient.
struct Reciprocal {
  std::uint32_t factor;
  int shift;  // after the upper 16 bits of the product
};

/// Divides sums up to 255 * area by the area; the factor is 0 when none below 2^16 does so exactly.
///
/// With m = ceil(2^t / area) and the excess e = m * area - 2^t, sum * m / 2^t is sum / area + sum * e / (area
/// * 2^t). The second term stays below 1 / area, the least by which sum / area misses the next whole number,
/// as long as sum * e < 2^t.
constexpr Reciprocal ReciprocalOf(std::uint32_t area) {
  for (int shift = 0; shift < 8; ++shift) {
    const std::uint32_t power = std::uint32_t{1} << (16 + shift);
    const std::uint32_t factor = (power + area - 1) / area;
    const std::uint64_t excess = std::uint64_t{factor} * area - power;
    if (factor <= 0xFFFF && excess * (255 * area) < power) return {factor, shift};
  }
  return {0, 0};
}

/// Windows whose sums fit 16 bits.
inline constexpr std::uint32_t mostNarrow = 16;
static_assert(255 * mostNarrow * mostNarrow <= 0xFFFF);

}  // namespace kv_img::box_filter
