#pragma once

#include "algorithms/simd/wide_registers.h"

// Operations on every lane by itself.

namespace kv_img {
namespace {

KV_INLINE Vector Add16(Vector a, Vector b) {
  return KV_SIMD(add_epi16)(a, b);
}
KV_INLINE Vector Add32(Vector a, Vector b) {
  return KV_SIMD(add_epi32)(a, b);
}
KV_INLINE Vector Sub16(Vector a, Vector b) {
  return KV_SIMD(sub_epi16)(a, b);
}
KV_INLINE Vector Sub32(Vector a, Vector b) {
  return KV_SIMD(sub_epi32)(a, b);
}
KV_INLINE Vector SubS8(Vector a, Vector b) {
  return KV_SIMD(subs_epi8)(a, b);
}
KV_INLINE Vector SubSU8(Vector a, Vector b) {
  return KV_SIMD(subs_epu8)(a, b);
}
KV_INLINE Vector Min16(Vector a, Vector b) {
  return KV_SIMD(min_epi16)(a, b);
}
KV_INLINE Vector Max16(Vector a, Vector b) {
  return KV_SIMD(max_epi16)(a, b);
}
KV_INLINE Vector Multiply16(Vector a, Vector b) {
  return KV_SIMD(mullo_epi16)(a, b);
}
KV_INLINE Vector MultiplyHigh16(Vector a, Vector b) {
  return KV_SIMD(mulhi_epi16)(a, b);
}
KV_INLINE Vector MultiplyHighU16(Vector a, Vector b) {
  return KV_SIMD(mulhi_epu16)(a, b);
}
/// Products of 16-bit lanes, added in pairs to 32 bits.
KV_INLINE Vector MultiplyAdd16(Vector a, Vector b) {
  return KV_SIMD(madd_epi16)(a, b);
}
/// The same, added to 32-bit sums.
KV_INLINE Vector MultiplyAddTo32(Vector sums, Vector a, Vector b) {
#if KV_REGISTER_LEVEL >= 3
  return _mm512_dpwssd_epi32(sums, a, b);
#else
  return Add32(sums, MultiplyAdd16(a, b));
#endif
}
/// The upper halves of the products of 8 * a and `gains`, for a from -4096 to 4095.
KV_INLINE Vector MultiplyEightfoldHigh16(Vector a, Vector gains) {
#if KV_NEON
  // Upper halves of doubled products are one instruction, of others three.
  return From(vqdmulhq_s16(vshlq_n_s16(LanesS16(a), 2), LanesS16(gains)));
#else
  return MultiplyHigh16(KV_SIMD(slli_epi16)(a, 3), gains);
#endif
}
/// (a + b + 1) / 2
KV_INLINE Vector AverageUpU8(Vector a, Vector b) {
  return KV_SIMD(avg_epu8)(a, b);
}
/// Sums of the absolute differences of eight bytes each, in 64-bit lanes.
KV_INLINE Vector SumDifferences(Vector a, Vector b) {
  return KV_SIMD(sad_epu8)(a, b);
}

template <int bits>
KV_INLINE Vector ShiftLeft16(Vector a) {
  return KV_SIMD(slli_epi16)(a, bits);
}
template <int bits>
KV_INLINE Vector ShiftRight16(Vector a) {
  return KV_SIMD(srli_epi16)(a, bits);
}
template <int bits>
KV_INLINE Vector ShiftRightSigned16(Vector a) {
  return KV_SIMD(srai_epi16)(a, bits);
}
template <int bits>
KV_INLINE Vector ShiftLeft32(Vector a) {
  return KV_SIMD(slli_epi32)(a, bits);
}
template <int bits>
KV_INLINE Vector ShiftRight32(Vector a) {
  return KV_SIMD(srli_epi32)(a, bits);
}
template <int bits>
KV_INLINE Vector ShiftRightSigned32(Vector a) {
  return KV_SIMD(srai_epi32)(a, bits);
}
template <int bits>
KV_INLINE Vector ShiftLeft64(Vector a) {
  return KV_SIMD(slli_epi64)(a, bits);
}
template <int bits>
KV_INLINE Vector ShiftRight64(Vector a) {
  return KV_SIMD(srli_epi64)(a, bits);
}

KV_INLINE Vector Zero() {
  return KV_SIMD_BITS(setzero)();
}
KV_INLINE Vector And(Vector a, Vector b) {
  return KV_SIMD_BITS(and)(a, b);
}
KV_INLINE Vector AndNot(Vector a, Vector b) {
  return KV_SIMD_BITS(andnot)(a, b);
}
KV_INLINE Vector Or(Vector a, Vector b) {
  return KV_SIMD_BITS(or)(a, b);
}
KV_INLINE Vector Xor(Vector a, Vector b) {
  return KV_SIMD_BITS(xor)(a, b);
}
/// Bits of `b` where `mask` has ones, of `a` elsewhere.
KV_INLINE Vector Select(Vector mask, Vector a, Vector b) {
#if KV_NEON
  return From(vbslq_u8(Lanes8(mask), Lanes8(b), Lanes8(a)));
#elif KV_REGISTER_LEVEL >= 2
  return _mm512_ternarylogic_epi32(mask, a, b, 0xAC);
#else
  return Or(And(mask, b), AndNot(mask, a));
#endif
}

KV_INLINE Vector Clamp16(Vector a) {
  return Min16(Max16(a, Zero()), Set16(255));
}
KV_INLINE Vector AbsoluteDifferenceU8(Vector a, Vector b) {
#if KV_NEON
  return From(vabdq_u8(Lanes8(a), Lanes8(b)));
#else
  return Or(SubSU8(a, b), SubSU8(b, a));
#endif
}
/// (a >> 1) + (b >> 1): without their lowest bits the sum is even, and nothing is left to round up.
KV_INLINE Vector HalvedSumU8(Vector a, Vector b) {
#if KV_NEON
  return From(vsraq_n_u8(vshrq_n_u8(Lanes8(a), 1), Lanes8(b), 1));
#else
  const Vector even = Set8(0xFE);
  return AverageUpU8(And(a, even), And(b, even));
#endif
}

/// The sum of the 32-bit lanes, wrapped.
KV_INLINE std::uint32_t SumOf32(Vector sums) {
#if KV_NEON
  return vaddvq_u32(Lanes32(sums));
#else
  std::uint32_t lane[width / 4];
  Store(lane, sums);
  std::uint32_t sum = 0;
  for (const std::uint32_t one : lane) sum += one;
  return sum;
#endif
}

}  // namespace
}  // namespace kv_img
