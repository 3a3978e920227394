#pragma once

#if defined(__aarch64__)
// The 128-bit intrinsics of x86-64, and its types, written in those of Advanced SIMD. What comes out poorly that
// way is written again, beside the function of the other levels, after the test for KV_NEON.
#define SIMDE_ENABLE_NATIVE_ALIASES
#include <simde/x86/sse2.h>
#define KV_NEON 1
#define KV_REGISTER_CONSTRAINT "w"
#else
#include <immintrin.h>
#define KV_NEON 0
#define KV_REGISTER_CONSTRAINT "v"
#endif

#include <cstdint>
#include <cstring>

#include "algorithms/simd/wide_level.h"

// A file whose kernels wait for memory more than for anything defines KV_HALF_REGISTERS first: 256 bits at
// most are then as good, and better on processors that store 512 bits in two halves.
#if defined(KV_HALF_REGISTERS) && KV_WIDE_LEVEL >= 2
#define KV_REGISTER_LEVEL 1
#else
#define KV_REGISTER_LEVEL KV_WIDE_LEVEL
#endif

#if KV_REGISTER_LEVEL >= 2
#define KV_SIMD(operation) _mm512_##operation
#define KV_SIMD_BITS(operation) _mm512_##operation##_si512
#elif KV_REGISTER_LEVEL == 1
#define KV_SIMD(operation) _mm256_##operation
#define KV_SIMD_BITS(operation) _mm256_##operation##_si256
#else
#define KV_SIMD(operation) _mm_##operation
#define KV_SIMD_BITS(operation) _mm_##operation##_si128
#endif

#define KV_INLINE [[maybe_unused, gnu::always_inline]] inline

namespace kv_img {
namespace {

constexpr auto level = static_cast<WideLevel>(KV_WIDE_LEVEL);

#if KV_REGISTER_LEVEL >= 2
using Vector = __m512i;
#elif KV_REGISTER_LEVEL == 1
using Vector = __m256i;
#else
using Vector = __m128i;
#endif

/// Bytes of a register.
constexpr int width = static_cast<int>(sizeof(Vector));

// In all files of the wide set, names end in the lanes that they work on: 8, 16, 32 or 64 bits; U is
// unsigned, S saturates. Many instructions work in lanes of 16 bytes.

KV_INLINE Vector Load(const void* source) {
  Vector vector;
  std::memcpy(&vector, source, sizeof vector);
  return vector;
}
/// Keeps a vector in a register: the compiler neither loads nor computes it again for a later use.
KV_INLINE void KeepInRegister(Vector& vector) {
  asm("" : "+" KV_REGISTER_CONSTRAINT(vector));
}
KV_INLINE void Store(void* destination, Vector vector) {
  std::memcpy(destination, &vector, sizeof vector);
}
#if KV_NEON
// A register as Advanced SIMD sees its lanes, and back.
KV_INLINE uint8x16_t Lanes8(Vector a) {
  return vreinterpretq_u8_s64(a);
}
KV_INLINE uint16x8_t Lanes16(Vector a) {
  return vreinterpretq_u16_s64(a);
}
KV_INLINE int16x8_t LanesS16(Vector a) {
  return vreinterpretq_s16_s64(a);
}
KV_INLINE uint32x4_t Lanes32(Vector a) {
  return vreinterpretq_u32_s64(a);
}
KV_INLINE Vector From(uint8x16_t a) {
  return vreinterpretq_s64_u8(a);
}
KV_INLINE Vector From(uint16x8_t a) {
  return vreinterpretq_s64_u16(a);
}
KV_INLINE Vector From(int16x8_t a) {
  return vreinterpretq_s64_s16(a);
}
KV_INLINE Vector From(uint32x4_t a) {
  return vreinterpretq_s64_u32(a);
}
#endif

KV_INLINE __m128i Load128(const void* source) {
  return _mm_loadu_si128(static_cast<const __m128i*>(source));
}
KV_INLINE void Store128(void* destination, __m128i vector) {
  _mm_storeu_si128(static_cast<__m128i*>(destination), vector);
}

KV_INLINE Vector Set8(int value) {
  return KV_SIMD(set1_epi8)(static_cast<char>(value));
}
KV_INLINE Vector Set16(int value) {
  return KV_SIMD(set1_epi16)(static_cast<short>(value));
}
KV_INLINE Vector Set32(std::uint32_t value) {
  return KV_SIMD(set1_epi32)(static_cast<int>(value));
}
KV_INLINE Vector Set64(std::uint64_t value) {
  const auto lane = static_cast<long long>(value);
#if KV_REGISTER_LEVEL >= 2
  return _mm512_set1_epi64(lane);
#else
  return KV_SIMD(set1_epi64x)(lane);
#endif
}
/// Two 16-bit values in turn, the lower first.
KV_INLINE Vector SetPair16(int lower, int upper) {
  return Set32(static_cast<std::uint16_t>(lower) | std::uint32_t{static_cast<std::uint16_t>(upper)} << 16);
}

KV_INLINE void StoreLowerHalf(void* destination, Vector vector) {
#if KV_REGISTER_LEVEL >= 2
  _mm256_storeu_si256(static_cast<__m256i*>(destination), _mm512_castsi512_si256(vector));
#elif KV_REGISTER_LEVEL == 1
  Store128(destination, _mm256_castsi256_si128(vector));
#else
  _mm_storel_epi64(static_cast<__m128i*>(destination), vector);
#endif
}

}  // namespace
}  // namespace kv_img
