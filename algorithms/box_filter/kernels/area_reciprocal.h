#pragma once

#include <cstdint>

namespace kv_img::box_filter {

/// A factor whose product with a 16-bit sum, its lower 16 + shift bits dropped, is a quotient.
struct Reciprocal {
  std::uint32_t factor;
  int shift;  // behind the upper 16 bits of the product
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
