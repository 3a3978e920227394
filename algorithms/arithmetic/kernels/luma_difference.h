#pragma once

#include <cstdint>

#include "algorithms/packed422/order.h"
#include "algorithms/simd/wide_level.h"

namespace kv_img::arithmetic {

constexpr std::uint8_t AbsoluteDifferenceOf(std::uint8_t a, std::uint8_t b) {
  return static_cast<std::uint8_t>(a > b ? a - b : b - a);
}
static_assert(AbsoluteDifferenceOf(3, 250) == 247 && AbsoluteDifferenceOf(255, 0) == 255);

/// Absolute differences of the luma of two packed 4:2:2 rows in the same byte order.
///
/// One group is four pixels: 8 bytes read at `first` and at `second`, 4 written at `destination`. The chroma
/// never influences the result. Any alignment, no overlap; touches exactly these bytes. The kernel leaves the
/// pointers behind what it consumed, the SIMD state clean, and keeps no state.
struct LumaDifferenceArgs {
  std::int32_t groups;
  const std::uint8_t* first;
  const std::uint8_t* second;
  std::uint8_t* destination;
  PackedOrder order;
};

namespace scalar {
void LumaDifference(LumaDifferenceArgs& args) noexcept;
}
namespace mmx {
void LumaDifference(LumaDifferenceArgs& args) noexcept;
}
namespace wide {
template <WideLevel>
void LumaDifference(LumaDifferenceArgs& args) noexcept;
}  // namespace wide

}  // namespace kv_img::arithmetic
