#pragma once

#include "algorithms/simd/wide_arithmetic.h"

// Shuffles, conversions between lane widths, and masks of the lowest bytes.

namespace kv_img {
namespace {

/// The same sixteen bytes in every lane.
KV_INLINE Vector RepeatInLanes(__m128i lane) {
#if KV_REGISTER_LEVEL >= 2
  return _mm512_broadcast_i32x4(lane);
#elif KV_REGISTER_LEVEL == 1
  return _mm256_broadcastsi128_si256(lane);
#else
  return lane;
#endif
}

/// The lower 16 bits of every 32-bit lane in both halves, and the upper 16 bits.
KV_INLINE Vector RepeatLower16(Vector a) {
#if KV_NEON
  return From(vtrn1q_u16(Lanes16(a), Lanes16(a)));
#elif KV_REGISTER_LEVEL >= 1
  return KV_SIMD(shuffle_epi8)(
      a, RepeatInLanes(_mm_setr_epi8(0, 1, 0, 1, 4, 5, 4, 5, 8, 9, 8, 9, 12, 13, 12, 13)));
#else
  return Or(And(a, Set32(0xFFFF)), ShiftLeft32<16>(a));
#endif
}
KV_INLINE Vector RepeatUpper16(Vector a) {
#if KV_NEON
  return From(vtrn2q_u16(Lanes16(a), Lanes16(a)));
#elif KV_REGISTER_LEVEL >= 1
  return KV_SIMD(shuffle_epi8)(
      a, RepeatInLanes(_mm_setr_epi8(2, 3, 2, 3, 6, 7, 6, 7, 10, 11, 10, 11, 14, 15, 14, 15)));
#else
  return Or(AndNot(Set32(0xFFFF), a), ShiftRight32<16>(a));
#endif
}
KV_INLINE Vector SwapBytes16(Vector a) {
#if KV_NEON
  return From(vrev16q_u8(Lanes8(a)));
#elif KV_REGISTER_LEVEL >= 1
  return KV_SIMD(shuffle_epi8)(
      a, RepeatInLanes(_mm_setr_epi8(1, 0, 3, 2, 5, 4, 7, 6, 9, 8, 11, 10, 13, 12, 15, 14)));
#else
  return Or(ShiftLeft16<8>(a), ShiftRight16<8>(a));
#endif
}
/// Every 32-bit lane but one taken from the lane above it; the highest stays.
KV_INLINE Vector NextLanes32(Vector a) {
#if KV_NEON
  return From(vextq_u32(Lanes32(a), vdupq_laneq_u32(Lanes32(a), 3), 1));
#elif KV_REGISTER_LEVEL >= 2
  return _mm512_permutexvar_epi32(_mm512_setr_epi32(1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 15),
                                  a);
#elif KV_REGISTER_LEVEL == 1
  return _mm256_permutevar8x32_epi32(a, _mm256_setr_epi32(1, 2, 3, 4, 5, 6, 7, 7));
#else
  return _mm_shuffle_epi32(a, _MM_SHUFFLE(3, 3, 2, 1));
#endif
}
/// Every 32-bit lane but one taken from the lane below it; the lowest stays.
KV_INLINE Vector PreviousLanes32(Vector a) {
#if KV_NEON
  return From(vextq_u32(vdupq_laneq_u32(Lanes32(a), 0), Lanes32(a), 3));
#elif KV_REGISTER_LEVEL >= 2
  return _mm512_permutexvar_epi32(_mm512_setr_epi32(0, 0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14), a);
#elif KV_REGISTER_LEVEL == 1
  return _mm256_permutevar8x32_epi32(a, _mm256_setr_epi32(0, 0, 1, 2, 3, 4, 5, 6));
#else
  return _mm_shuffle_epi32(a, _MM_SHUFFLE(2, 1, 0, 0));
#endif
}
KV_INLINE Vector LowerBytes16(Vector a) {
  return And(a, Set16(0xFF));
}
KV_INLINE Vector UpperBytes16(Vector a) {
  return ShiftRight16<8>(a);
}
// Widening of consecutive elements, in order; half or a quarter of a register is read.
KV_INLINE Vector Widen8To16(const void* source) {
#if KV_REGISTER_LEVEL >= 2
  return _mm512_cvtepu8_epi16(_mm256_loadu_si256(static_cast<const __m256i*>(source)));
#elif KV_REGISTER_LEVEL == 1
  return _mm256_cvtepu8_epi16(Load128(source));
#else
  return _mm_unpacklo_epi8(_mm_loadl_epi64(static_cast<const __m128i*>(source)), Zero());
#endif
}
KV_INLINE Vector Widen8To32(const void* source) {
#if KV_REGISTER_LEVEL >= 2
  return _mm512_cvtepu8_epi32(Load128(source));
#elif KV_REGISTER_LEVEL == 1
  return _mm256_cvtepu8_epi32(_mm_loadl_epi64(static_cast<const __m128i*>(source)));
#else
  std::int32_t four = 0;
  std::memcpy(&four, source, sizeof four);
  return _mm_unpacklo_epi16(_mm_unpacklo_epi8(_mm_cvtsi32_si128(four), Zero()), Zero());
#endif
}
KV_INLINE Vector Widen16To32(const void* source) {
#if KV_REGISTER_LEVEL >= 2
  return _mm512_cvtepu16_epi32(_mm256_loadu_si256(static_cast<const __m256i*>(source)));
#elif KV_REGISTER_LEVEL == 1
  return _mm256_cvtepu16_epi32(Load128(source));
#else
  return _mm_unpacklo_epi16(_mm_loadl_epi64(static_cast<const __m128i*>(source)), Zero());
#endif
}

/// Brings the 64-bit lanes of a pack of two registers into order.
KV_INLINE Vector OrderOfPack(Vector packed) {
#if KV_REGISTER_LEVEL >= 2
  return _mm512_permutexvar_epi64(_mm512_setr_epi64(0, 2, 4, 6, 1, 3, 5, 7), packed);
#elif KV_REGISTER_LEVEL == 1
  return _mm256_permute4x64_epi64(packed, 0xD8);
#else
  return packed;
#endif
}
/// 16-bit lanes of two registers as bytes in order, clamped to 0 to 255.
KV_INLINE Vector Narrow16To8(Vector first, Vector second) {
  return OrderOfPack(KV_SIMD(packus_epi16)(first, second));
}
/// 32-bit lanes of two registers as 16 bits in order, saturated.
KV_INLINE Vector Narrow32To16(Vector first, Vector second) {
  return OrderOfPack(KV_SIMD(packs_epi32)(first, second));
}
// Ones, then zeros.
alignas(64) constexpr std::uint8_t onesThenZeros[128] = {
    255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255,
    255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255,
    255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255,
    255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255};
/// Ones in the lowest `count` bytes: none for a negative count, all for one beyond the width.
KV_INLINE Vector LowestBytes(std::int32_t count) {
  return Load(onesThenZeros + 64 - (count < 0 ? 0 : count > width ? width : count));
}
KV_INLINE Vector LowestLanes16(std::int32_t count) {
  return LowestBytes(count > width ? width : 2 * count);
}

}  // namespace
}  // namespace kv_img
