#pragma once

#include <cstdint>

#include "algorithms/simd/wide_level.h"

namespace kv_img::copy {

/// Interleaves a luma row and two chroma rows into a packed 4:2:2 row: Y0 Cb0 Y1 Cr0 Y2 Cb1 … (luma-first) or
/// Cb0 Y0 Cr0 Y1 Cb1 Y2 … (chroma-first).
///
/// One group is eight pixels: 8 bytes read at `luma`, 4 at `cb`, 4 at `cr`, 16 written at `destination`. Any
/// alignment, no overlap of destination and sources; touches exactly that many bytes of each. The kernel
/// leaves all four pointers behind what it consumed, the SIMD state clean, and keeps no state.
struct InterleaveArgs {
  std::int32_t groups;
  const std::uint8_t* luma;
  const std::uint8_t* cb;
  const std::uint8_t* cr;
  std::uint8_t* destination;
};

namespace scalar {
void InterleaveLumaFirst(InterleaveArgs& args) noexcept;
void InterleaveChromaFirst(InterleaveArgs& args) noexcept;
}  // namespace scalar
namespace mmx {
void InterleaveLumaFirst(InterleaveArgs& args) noexcept;
void InterleaveChromaFirst(InterleaveArgs& args) noexcept;
}  // namespace mmx
namespace wide {
template <WideLevel>
void InterleaveLumaFirst(InterleaveArgs& args) noexcept;
template <WideLevel>
void InterleaveChromaFirst(InterleaveArgs& args) noexcept;
}  // namespace wide

}  // namespace kv_img::copy
