#pragma once

#include <cstdint>

#include "algorithms/simd/wide_level.h"

namespace kv_img::copy {

/// Exchanges the two bytes of every 16-bit word of a 4:2:2 row (luma-first becomes chroma-first and back).
///
/// One group is four pixels: 8 bytes read at `source`, 8 written at `destination`. Any alignment, no overlap;
/// touches exactly groups * 8 bytes of each. The kernel leaves both pointers behind what it consumed, the
/// SIMD state clean, and keeps no state.
struct SwapBytesArgs {
  std::int32_t groups;
  const std::uint8_t* source;
  std::uint8_t* destination;
};

namespace scalar {
void SwapBytes(SwapBytesArgs& args) noexcept;
}
namespace mmx {
void SwapBytes(SwapBytesArgs& args) noexcept;
}
namespace wide {
template <WideLevel>
void SwapBytes(SwapBytesArgs& args) noexcept;
}  // namespace wide

}  // namespace kv_img::copy
