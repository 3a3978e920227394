#pragma once

#include "algorithms/simd/wide.h"

// Bitmap pixels of three and four bytes in registers, for kernel files of the wide set only.

namespace kv_img {
namespace {

/// Bitmap pixels as 32-bit lanes: blue, green, red and a byte that does not count.
struct TwoVectors {
  Vector first;
  Vector second;
};

/// The even and the odd ones of two registers of 32-bit lanes, two of the first register and two of the
/// second in turn.
KV_INLINE TwoVectors EvenAndOdd(const TwoVectors& lanes) {
#if KV_NEON
  const uint32x4_t first = Lanes32(lanes.first);
  const uint32x4_t second = Lanes32(lanes.second);
  return {From(vuzp1q_u32(first, second)), From(vuzp2q_u32(first, second))};
#elif KV_REGISTER_LEVEL >= 2
  const __m512 first = _mm512_castsi512_ps(lanes.first);
  const __m512 second = _mm512_castsi512_ps(lanes.second);
  return {_mm512_castps_si512(_mm512_shuffle_ps(first, second, 0x88)),
          _mm512_castps_si512(_mm512_shuffle_ps(first, second, 0xDD))};
#elif KV_REGISTER_LEVEL == 1
  const __m256 first = _mm256_castsi256_ps(lanes.first);
  const __m256 second = _mm256_castsi256_ps(lanes.second);
  return {_mm256_castps_si256(_mm256_shuffle_ps(first, second, 0x88)),
          _mm256_castps_si256(_mm256_shuffle_ps(first, second, 0xDD))};
#else
  const __m128 first = _mm_castsi128_ps(lanes.first);
  const __m128 second = _mm_castsi128_ps(lanes.second);
  return {_mm_castps_si128(_mm_shuffle_ps(first, second, 0x88)),
          _mm_castps_si128(_mm_shuffle_ps(first, second, 0xDD))};
#endif
}

/// The pixels before the even ones: the odd ones, each a place later, after that of the first lane of `before`.
KV_INLINE Vector BeforeEven(Vector before, Vector odd) {
#if KV_NEON
  return From(vextq_u32(Lanes32(before), Lanes32(odd), 3));
#elif KV_REGISTER_LEVEL >= 2
  const Vector places = _mm512_setr_epi32(16, 0, 13, 2, 1, 4, 3, 6, 5, 8, 7, 10, 9, 12, 11, 14);
  return _mm512_permutex2var_epi32(odd, places, before);
#elif KV_REGISTER_LEVEL == 1
  const Vector places = _mm256_setr_epi32(0, 0, 5, 2, 1, 4, 3, 6);
  return _mm256_blend_epi32(_mm256_permutevar8x32_epi32(odd, places), before, 1);
#else
  return _mm_castps_si128(_mm_move_ss(_mm_castsi128_ps(_mm_slli_si128(odd, 4)), _mm_castsi128_ps(before)));
#endif
}

#if KV_REGISTER_LEVEL >= 3
/// Where the bytes of 16 pixels are, counted from the first of 48 bytes, and from the seventeenth.
struct Apart {
  alignas(64) std::uint8_t fromStart[64];
  alignas(64) std::uint8_t fromEnd[64];
};
[[maybe_unused]] constexpr Apart apart = [] {
  Apart made{};
  for (int byte = 0; byte < 64; ++byte) {
    // What lands in the fourth byte does not count.
    const int from = byte / 4 * 3 + byte % 4 % 3;
    made.fromStart[byte] = static_cast<std::uint8_t>(from);
    made.fromEnd[byte] = static_cast<std::uint8_t>(from + 16);
  }
  return made;
}();
#endif

/// Two registers of pixels from the 24 * lanes bytes of a step, nothing beyond them read.
KV_INLINE TwoVectors Read24(const std::uint8_t* source) {
#if KV_NEON
  // Places past the register give zeros.
  constexpr uint8x16_t fromStart = {0, 1, 2, 255, 3, 4, 5, 255, 6, 7, 8, 255, 9, 10, 11, 255};
  constexpr uint8x16_t fromEnd = {4, 5, 6, 255, 7, 8, 9, 255, 10, 11, 12, 255, 13, 14, 15, 255};
  return {From(vqtbl1q_u8(vld1q_u8(source), fromStart)), From(vqtbl1q_u8(vld1q_u8(source + 8), fromEnd))};
#elif KV_REGISTER_LEVEL >= 3
  return {_mm512_permutexvar_epi8(Load(apart.fromStart), Load(source)),
          _mm512_permutexvar_epi8(Load(apart.fromEnd), Load(source + 32))};
#elif KV_REGISTER_LEVEL >= 1
  // Four pixels, 12 bytes, to every lane; then their bytes apart.
  const Vector apart = RepeatInLanes(_mm_setr_epi8(0, 1, 2, -1, 3, 4, 5, -1, 6, 7, 8, -1, 9, 10, 11, -1));
#if KV_REGISTER_LEVEL >= 2
  const Vector fromStart = _mm512_setr_epi32(0, 1, 2, 3, 3, 4, 5, 6, 6, 7, 8, 9, 9, 10, 11, 12);
  const Vector fromEnd = _mm512_setr_epi32(4, 5, 6, 7, 7, 8, 9, 10, 10, 11, 12, 13, 13, 14, 15, 15);
  const Vector first = _mm512_permutexvar_epi32(fromStart, Load(source));
  const Vector second = _mm512_permutexvar_epi32(fromEnd, Load(source + 32));
#else
  const Vector fromStart = _mm256_setr_epi32(0, 1, 2, 3, 3, 4, 5, 6);
  const Vector fromEnd = _mm256_setr_epi32(2, 3, 4, 5, 5, 6, 7, 7);
  const Vector first = _mm256_permutevar8x32_epi32(Load(source), fromStart);
  const Vector second = _mm256_permutevar8x32_epi32(Load(source + 16), fromEnd);
#endif
  return {KV_SIMD(shuffle_epi8)(first, apart), KV_SIMD(shuffle_epi8)(second, apart)};
#else
  const auto spread = [](Vector twelveBytes) {
    const Vector pairs = _mm_unpacklo_epi64(twelveBytes, _mm_srli_si128(twelveBytes, 6));
    return Or(And(pairs, _mm_set1_epi64x(0x0000000000FFFFFF)),
              And(ShiftLeft64<8>(pairs), _mm_set1_epi64x(0x00FFFFFF00000000)));
  };
  return {spread(Load(source)), spread(_mm_srli_si128(Load(source + 8), 4))};
#endif
}

KV_INLINE TwoVectors Read32(const std::uint8_t* source) {
  return {Load(source), Load(source + width)};
}

/// The 32-bit lanes of four registers, clamped to 0 to 255, as the bytes of 32-bit lanes, the lowest first.
KV_INLINE Vector Bytes(Vector a, Vector b, Vector c, Vector d) {
  // In every lane of 16 bytes four of a, of b, of c, of d.
  const Vector planes = KV_SIMD(packus_epi16)(KV_SIMD(packs_epi32)(a, b), KV_SIMD(packs_epi32)(c, d));
#if KV_NEON
  constexpr uint8x16_t together = {0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15};
  return From(vqtbl1q_u8(Lanes8(planes), together));
#elif KV_REGISTER_LEVEL >= 1
  return KV_SIMD(shuffle_epi8)(
      planes, RepeatInLanes(_mm_setr_epi8(0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15)));
#else
  const Vector ab = _mm_unpacklo_epi8(planes, _mm_srli_si128(planes, 4));
  const Vector cd = _mm_unpacklo_epi8(_mm_srli_si128(planes, 8), _mm_srli_si128(planes, 12));
  return _mm_unpacklo_epi16(ab, cd);
#endif
}

/// The lanes of two registers in turn.
KV_INLINE TwoVectors InTurn(Vector even, Vector odd) {
  const Vector lower = KV_SIMD(unpacklo_epi32)(even, odd);
  const Vector upper = KV_SIMD(unpackhi_epi32)(even, odd);
#if KV_REGISTER_LEVEL >= 2
  const Vector first = _mm512_setr_epi64(0, 1, 8, 9, 2, 3, 10, 11);
  const Vector second = _mm512_setr_epi64(4, 5, 12, 13, 6, 7, 14, 15);
  return {_mm512_permutex2var_epi64(lower, first, upper), _mm512_permutex2var_epi64(lower, second, upper)};
#elif KV_REGISTER_LEVEL == 1
  return {_mm256_permute2x128_si256(lower, upper, 0x20), _mm256_permute2x128_si256(lower, upper, 0x31)};
#else
  return {lower, upper};
#endif
}

/// Stores the three lower bytes of every 32-bit lane of two registers, 3/2 * width bytes.
KV_INLINE void Store24(std::uint8_t* destination, const TwoVectors& pixels) {
#if KV_NEON
  constexpr uint8x16_t front = {0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, 16, 17, 18, 20};
  constexpr uint8x8_t back = {5, 6, 8, 9, 10, 12, 13, 14};
  const uint8x16_t second = Lanes8(pixels.second);
  vst1q_u8(destination, vqtbl2q_u8({{Lanes8(pixels.first), second}}, front));
  vst1_u8(destination + 16, vqtbl1_u8(second, back));
#elif KV_REGISTER_LEVEL >= 3
  struct Places {
    alignas(64) std::uint8_t at[2][64];
  };
  static constexpr Places places = [] {
    Places made{};
    for (int byte = 0; byte < 96; ++byte)
      made.at[byte / 64][byte % 64] = static_cast<std::uint8_t>(byte / 3 * 4 + byte % 3);
    return made;
  }();
  Store(destination, _mm512_permutex2var_epi8(pixels.first, Load(places.at[0]), pixels.second));
  _mm256_storeu_si256(
      reinterpret_cast<__m256i*>(destination + 64),
      _mm512_castsi512_si256(_mm512_permutex2var_epi8(pixels.first, Load(places.at[1]), pixels.second)));
#elif KV_REGISTER_LEVEL >= 1
  const Vector together =
      RepeatInLanes(_mm_setr_epi8(0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, -1, -1, -1, -1));
  const Vector first = KV_SIMD(shuffle_epi8)(pixels.first, together);
  const Vector second = KV_SIMD(shuffle_epi8)(pixels.second, together);
#if KV_REGISTER_LEVEL >= 2
  const Vector front = _mm512_setr_epi32(0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, 16, 17, 18, 20);
  const Vector back = _mm512_setr_epi32(21, 22, 24, 25, 26, 28, 29, 30, 0, 0, 0, 0, 0, 0, 0, 0);
  Store(destination, _mm512_permutex2var_epi32(first, front, second));
  _mm256_storeu_si256(reinterpret_cast<__m256i*>(destination + 64),
                      _mm512_castsi512_si256(_mm512_permutex2var_epi32(first, back, second)));
#else
  // 24 bytes of each, the last 8 of the first and the first 8 of the second in one register.
  const Vector a = _mm256_permutevar8x32_epi32(first, _mm256_setr_epi32(0, 1, 2, 4, 5, 6, 3, 7));
  const Vector b = _mm256_permutevar8x32_epi32(second, _mm256_setr_epi32(2, 4, 5, 6, 3, 7, 0, 1));
  Store(destination, _mm256_blend_epi32(a, b, 0xC0));
  Store128(destination + 32, _mm256_castsi256_si128(b));
#endif
#else
  const auto together = [](Vector four) {
    const Vector sixes = Or(And(four, _mm_set1_epi64x(0x0000000000FFFFFF)),
                            And(ShiftRight64<8>(four), _mm_set1_epi64x(0x0000FFFFFF000000)));
    return Or(_mm_move_epi64(sixes), _mm_slli_si128(_mm_srli_si128(sixes, 8), 6));
  };
  const Vector first = together(pixels.first);
  const Vector second = together(pixels.second);
  Store(destination, Or(first, _mm_slli_si128(second, 12)));
  _mm_storel_epi64(reinterpret_cast<__m128i*>(destination + 16), _mm_srli_si128(second, 4));
#endif
}

/// Stores two registers of pixels of three or four bytes.
template <int pixelBytes>
KV_INLINE void StorePixels(std::uint8_t* destination, const TwoVectors& pixels) {
  if constexpr (pixelBytes == 3) {
    Store24(destination, pixels);
  } else {
    Store(destination, pixels.first);
    Store(destination + width, pixels.second);
  }
}

template <int pixelBytes>
KV_INLINE TwoVectors ReadPixels(const std::uint8_t* source) {
  return pixelBytes == 3 ? Read24(source) : Read32(source);
}

}  // namespace
}  // namespace kv_img
