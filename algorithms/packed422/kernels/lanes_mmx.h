#pragma once

#include "algorithms/packed422/order.h"
#include "algorithms/simd/mmx.h"

// 64-bit words of packed 4:2:2, for kernel files of the mmx set only.

namespace kv_img {
namespace {

/// The luma of four pixels in 16-bit lanes.
template <PackedOrder order>
__m64 LumaLanes(__m64 pixels) {
  return order == PackedOrder::LumaFirst ? _mm_and_si64(pixels, _mm_set1_pi16(0x00FF))
                                         : _mm_srli_pi16(pixels, 8);
}
/// The chroma: Cb, Cr, Cb, Cr.
template <PackedOrder order>
__m64 ChromaLanes(__m64 pixels) {
  return order == PackedOrder::LumaFirst ? _mm_srli_pi16(pixels, 8)
                                         : _mm_and_si64(pixels, _mm_set1_pi16(0x00FF));
}
/// The pixels with this luma and chroma, bytes in 16-bit lanes.
template <PackedOrder order>
__m64 JoinLanes(__m64 luma, __m64 chroma) {
  return order == PackedOrder::LumaFirst ? _mm_or_si64(luma, _mm_slli_pi16(chroma, 8))
                                         : _mm_or_si64(chroma, _mm_slli_pi16(luma, 8));
}

}  // namespace
}  // namespace kv_img
