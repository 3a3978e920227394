#pragma once

#include "algorithms/packed422/order.h"
#include "algorithms/simd/wide.h"

// Registers of packed 4:2:2, for kernel files of the wide set only.

namespace kv_img {
namespace {

/// The luma of a register of pixels in 16-bit lanes.
template <PackedOrder order>
KV_INLINE Vector LumaLanes(Vector pixels) {
  return order == PackedOrder::LumaFirst ? LowerBytes16(pixels) : UpperBytes16(pixels);
}
/// The chroma: Cb and Cr in turn.
template <PackedOrder order>
KV_INLINE Vector ChromaLanes(Vector pixels) {
  return order == PackedOrder::LumaFirst ? UpperBytes16(pixels) : LowerBytes16(pixels);
}
/// The pairs after those of a register, and before them: at the end of a row its last or first pair again.
KV_INLINE Vector NextPairs(Vector pixels, const std::uint8_t* source, bool isLast) {
  return isLast ? NextLanes32(pixels) : Load(source + 4);
}
KV_INLINE Vector PreviousPairs(Vector pixels, const std::uint8_t* source, bool isFirst) {
  return isFirst ? PreviousLanes32(pixels) : Load(source - 4);
}
/// The pixels with this luma and chroma, bytes in 16-bit lanes.
template <PackedOrder order>
KV_INLINE Vector JoinLanes(Vector luma, Vector chroma) {
#if KV_NEON
  const Vector lower = order == PackedOrder::LumaFirst ? luma : chroma;
  const Vector upper = order == PackedOrder::LumaFirst ? chroma : luma;
  return From(vsliq_n_u16(Lanes16(lower), Lanes16(upper), 8));
#else
  return order == PackedOrder::LumaFirst ? Or(luma, ShiftLeft16<8>(chroma))
                                         : Or(ShiftLeft16<8>(luma), chroma);
#endif
}

}  // namespace
}  // namespace kv_img
