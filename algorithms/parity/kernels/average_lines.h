#pragma once

#include <cstdint>

#include "algorithms/simd/wide_level.h"

namespace kv_img::parity {

/// Mean of two bytes, each halved first: one less than (a + b) >> 1 when both are odd.
constexpr std::uint8_t HalvedAverage(std::uint8_t a, std::uint8_t b) {
  return static_cast<std::uint8_t>((a >> 1) + (b >> 1));
}
static_assert(HalvedAverage(3, 5) == 3 && HalvedAverage(3, 4) == 3 && HalvedAverage(255, 255) == 254);

/// The halved average of two lines of a 4:2:2 image, byte by byte.
///
/// One group is four pixels: 8 bytes read at `upper` and at `lower`, 8 written at `destination`. Any
/// alignment; the lines may be the same, the destination overlaps neither. Touches exactly groups * 8 bytes
/// of each. The kernel leaves all pointers behind what it consumed, the SIMD state clean, and keeps no state.
struct AverageLinesArgs {
  std::int32_t groups;
  const std::uint8_t* upper;
  const std::uint8_t* lower;
  std::uint8_t* destination;
};

namespace scalar {
void AverageLines(AverageLinesArgs& args) noexcept;
/// The two bytes of every 16-bit word change places on the way.
void AverageLinesSwapped(AverageLinesArgs& args) noexcept;
}  // namespace scalar
namespace mmx {
void AverageLines(AverageLinesArgs& args) noexcept;
void AverageLinesSwapped(AverageLinesArgs& args) noexcept;
}  // namespace mmx
namespace wide {
template <WideLevel>
void AverageLines(AverageLinesArgs& args) noexcept;
template <WideLevel>
void AverageLinesSwapped(AverageLinesArgs& args) noexcept;
}  // namespace wide

}  // namespace kv_img::parity
