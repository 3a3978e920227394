#pragma once

#include <immintrin.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "algorithms/simd/kernel.h"

// The widest register of the level that a kernel file is compiled for, under names that do not depend on it.
// For kernel files of the wide set only: they are compiled once per level, with KV_WIDE_LEVEL set to 0
// (SSE2), 1 (AVX2), 2 (AVX-512) or 3 (VBMI and VNNI too). Everything here has internal linkage, so that no
// function compiled for a wide level can become the copy that others call.

// A file whose kernels wait for memory more than for anything defines KV_HALF_REGISTERS first: 256 bits at
// most are then as good, and better on processors that store 512 bits in two halves.
#if defined(KV_HALF_REGISTERS) && KV_WIDE_LEVEL >= 2
#define KV_REGISTER_LEVEL 1
#else
#define KV_REGISTER_LEVEL KV_WIDE_LEVEL
#endif

#if KV_REGISTER_LEVEL >= 2
#define KV_SIMD(operation) _mm512_##operation
#elif KV_REGISTER_LEVEL == 1
#define KV_SIMD(operation) _mm256_##operation
#else
#define KV_SIMD(operation) _mm_##operation
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
/// Many instructions work in lanes of 16 bytes, side by side.
constexpr int lanes = width / 16;

// Names end in the lanes that they work on: 8, 16, 32 or 64 bits; U is unsigned, S saturates.

KV_INLINE Vector Load(const void* source) {
  Vector vector;
  std::memcpy(&vector, source, sizeof vector);
  return vector;
}
KV_INLINE void Store(void* destination, Vector vector) {
  std::memcpy(destination, &vector, sizeof vector);
}
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

#if KV_REGISTER_LEVEL >= 2
KV_INLINE Vector Zero() {
  return _mm512_setzero_si512();
}
KV_INLINE Vector And(Vector a, Vector b) {
  return _mm512_and_si512(a, b);
}
KV_INLINE Vector AndNot(Vector a, Vector b) {
  return _mm512_andnot_si512(a, b);
}
KV_INLINE Vector Or(Vector a, Vector b) {
  return _mm512_or_si512(a, b);
}
KV_INLINE Vector Xor(Vector a, Vector b) {
  return _mm512_xor_si512(a, b);
}
/// Bits of `b` where `mask` has ones, of `a` elsewhere.
KV_INLINE Vector Select(Vector mask, Vector a, Vector b) {
  return _mm512_ternarylogic_epi32(mask, a, b, 0xAC);
}
#elif KV_REGISTER_LEVEL == 1
KV_INLINE Vector Zero() {
  return _mm256_setzero_si256();
}
KV_INLINE Vector And(Vector a, Vector b) {
  return _mm256_and_si256(a, b);
}
KV_INLINE Vector AndNot(Vector a, Vector b) {
  return _mm256_andnot_si256(a, b);
}
KV_INLINE Vector Or(Vector a, Vector b) {
  return _mm256_or_si256(a, b);
}
KV_INLINE Vector Xor(Vector a, Vector b) {
  return _mm256_xor_si256(a, b);
}
KV_INLINE Vector Select(Vector mask, Vector a, Vector b) {
  return _mm256_or_si256(_mm256_and_si256(mask, b), _mm256_andnot_si256(mask, a));
}
#else
KV_INLINE Vector Zero() {
  return _mm_setzero_si128();
}
KV_INLINE Vector And(Vector a, Vector b) {
  return _mm_and_si128(a, b);
}
KV_INLINE Vector AndNot(Vector a, Vector b) {
  return _mm_andnot_si128(a, b);
}
KV_INLINE Vector Or(Vector a, Vector b) {
  return _mm_or_si128(a, b);
}
KV_INLINE Vector Xor(Vector a, Vector b) {
  return _mm_xor_si128(a, b);
}
KV_INLINE Vector Select(Vector mask, Vector a, Vector b) {
  return _mm_or_si128(_mm_and_si128(mask, b), _mm_andnot_si128(mask, a));
}
#endif

/// The lower 16 bits of every 32-bit lane in both halves, and the upper 16 bits.
KV_INLINE Vector RepeatLower16(Vector a) {
#if KV_REGISTER_LEVEL >= 1
  return KV_SIMD(shuffle_epi8)(
      a, RepeatInLanes(_mm_setr_epi8(0, 1, 0, 1, 4, 5, 4, 5, 8, 9, 8, 9, 12, 13, 12, 13)));
#else
  return Or(And(a, Set32(0xFFFF)), ShiftLeft32<16>(a));
#endif
}
KV_INLINE Vector RepeatUpper16(Vector a) {
#if KV_REGISTER_LEVEL >= 1
  return KV_SIMD(shuffle_epi8)(
      a, RepeatInLanes(_mm_setr_epi8(2, 3, 2, 3, 6, 7, 6, 7, 10, 11, 10, 11, 14, 15, 14, 15)));
#else
  return Or(AndNot(Set32(0xFFFF), a), ShiftRight32<16>(a));
#endif
}
KV_INLINE Vector SwapBytes16(Vector a) {
  return Or(ShiftLeft16<8>(a), ShiftRight16<8>(a));
}
KV_INLINE Vector LowerBytes16(Vector a) {
  return And(a, Set16(0xFF));
}
KV_INLINE Vector UpperBytes16(Vector a) {
  return ShiftRight16<8>(a);
}
KV_INLINE Vector Clamp16(Vector a) {
  return Min16(Max16(a, Zero()), Set16(255));
}
KV_INLINE Vector AbsoluteDifferenceU8(Vector a, Vector b) {
  return Or(SubSU8(a, b), SubSU8(b, a));
}
/// (a >> 1) + (b >> 1): without their lowest bits the sum is even, and nothing is left to round up.
KV_INLINE Vector HalvedSumU8(Vector a, Vector b) {
  const Vector even = Set8(0xFE);
  return AverageUpU8(And(a, even), And(b, even));
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
// Ones, and behind them zeros.
alignas(64) constexpr std::uint8_t onesThenZeros[128] = {
    255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255,
    255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255,
    255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255,
    255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255};
/// Ones in the lowest `count` bytes: in none when there are less than one, in all when there are more.
KV_INLINE Vector LowestBytes(std::int32_t count) {
  return Load(onesThenZeros + 64 - (count < 0 ? 0 : count > width ? width : count));
}
KV_INLINE Vector LowestLanes16(std::int32_t count) {
  return LowestBytes(count > width ? width : 2 * count);
}

/// The sum of the 32-bit lanes, wrapped.
KV_INLINE std::uint32_t SumOf32(Vector sums) {
  std::uint32_t lane[width / 4];
  Store(lane, sums);
  std::uint32_t sum = 0;
  for (const std::uint32_t one : lane) sum += one;
  return sum;
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

/// Copies so many bytes at a time, at least as many in all: the last ones once more with some before them.
template <int bytes>
KV_INLINE void CopyInSteps(std::uint8_t* to, const std::uint8_t* from, std::int32_t count) {
  for (std::int32_t done = 0; done < count - bytes; done += bytes) std::memcpy(to + done, from + done, bytes);
  std::memcpy(to + count - bytes, from + count - bytes, bytes);
}
/// Copies up to `most` bytes, a few registers: sooner done than calling for it.
template <int most>
KV_INLINE void CopyFew(std::uint8_t* to, const std::uint8_t* from, std::int32_t count) {
  if constexpr (most >= 16) {
    if (count >= 16) return CopyInSteps<16>(to, from, count);
  }
  if constexpr (most >= 8) {
    if (count >= 8) return CopyInSteps<8>(to, from, count);
  }
  if constexpr (most >= 4) {
    if (count >= 4) return CopyInSteps<4>(to, from, count);
  }
  for (std::int32_t done = 0; done < count; ++done) to[done] = from[done];
}

// What is left of a stream after its last whole step, `groups` groups of `most`, is worked on once more
// together with what is before it. What is written goes through a buffer, so that a stream that is read and
// written in place stays right. When there was no whole step, what is read goes through a buffer too.

/// Where a walk is in a stream that it reads: `perGroup` bytes a group, `before` and `after` bytes around all
/// of them.
template <int perGroup, int before = 0, int after = 0>
struct Reading {
  static constexpr int bytes = perGroup;
  const std::uint8_t*& pointer;

  template <int most>
  struct Rest {
    alignas(64) std::uint8_t buffer[before + most * perGroup + after];
    const std::uint8_t* begin;
    Rest(const Reading& in, std::int32_t groups, bool isAfterSteps) {
      if (isAfterSteps) {
        begin = in.pointer - (most - groups) * perGroup;
      } else {
        std::memset(buffer, 0, sizeof buffer);
        CopyFew<before + most * perGroup + after>(buffer, in.pointer - before,
                                                  before + groups * perGroup + after);
        begin = buffer + before;
      }
    }
    Rest(const Rest&) = delete;
    const std::uint8_t* Begin() const { return begin; }
    void Finish(const Reading& in, std::int32_t groups) const { in.pointer += groups * perGroup; }
  };
};
/// In a stream that it writes.
template <int perGroup>
struct Writing {
  static constexpr int bytes = perGroup;
  std::uint8_t*& pointer;

  template <int most>
  struct Rest {
    alignas(64) std::uint8_t buffer[most * perGroup];
    const std::int32_t skipped;
    Rest(const Writing& /*out*/, std::int32_t groups, bool isAfterSteps)
        : skipped(isAfterSteps ? (most - groups) * perGroup : 0) {}
    std::uint8_t* Begin() { return buffer; }
    void Finish(const Writing& out, std::int32_t groups) const {
      CopyFew<most * perGroup>(out.pointer, buffer + skipped, groups * perGroup);
      out.pointer += groups * perGroup;
    }
  };
};
/// In a stream that it changes in place.
template <int perGroup>
struct Changing {
  static constexpr int bytes = perGroup;
  std::uint8_t*& pointer;

  template <int most>
  struct Rest {
    alignas(64) std::uint8_t buffer[most * perGroup];
    const std::int32_t skipped;
    Rest(const Changing& inOut, std::int32_t groups, bool isAfterSteps)
        : skipped(isAfterSteps ? (most - groups) * perGroup : 0) {
      if (isAfterSteps) {
        std::memcpy(buffer, inOut.pointer - skipped, sizeof buffer);
      } else {
        std::memset(buffer, 0, sizeof buffer);
        CopyFew<most * perGroup>(buffer, inOut.pointer, groups * perGroup);
      }
    }
    std::uint8_t* Begin() { return buffer; }
    void Finish(const Changing& inOut, std::int32_t groups) const {
      CopyFew<most * perGroup>(inOut.pointer, buffer + skipped, groups * perGroup);
      inOut.pointer += groups * perGroup;
    }
  };
};

/// Calls `step` with the pointers of `groupsPerStep` groups at a time, and for what is left over with those
/// of rests, so that a step never touches a byte beyond the groups. Advances the pointers.
template <int groupsPerStep, class Step, class... Places>
KV_INLINE void WalkPlaces(std::int32_t groups, Step step, Places... places) {
  if (groups <= 0) return;
  const bool hasSteps = groups >= groupsPerStep;
  [&](auto*... pointers) {
    for (; groups >= groupsPerStep; groups -= groupsPerStep) {
      step(pointers...);
      ((pointers += groupsPerStep * Places::bytes), ...);
    }
    ((places.pointer = pointers), ...);
  }(places.pointer...);
  if (groups == 0) return;
  [&](auto&&... rests) {
    step(rests.Begin()...);
    (rests.Finish(places, groups), ...);
  }(typename Places::template Rest<groupsPerStep>(places, groups, hasSteps)...);
}

template <auto pointer, int perGroup, int before, int after>
Reading<perGroup, before, after> PlaceIn(In<pointer, perGroup, before, after>);
template <auto pointer, int perGroup>
Writing<perGroup> PlaceIn(Out<pointer, perGroup>);
template <auto pointer, int perGroup>
Changing<perGroup> PlaceIn(InOut<pointer, perGroup>);

template <class Stream>
using PointerIn = std::remove_reference_t<decltype(decltype(PlaceIn(Stream()))::pointer)>;

template <int groupsPerStep, class Args, class Step, class... Streams>
KV_INLINE void WalkStreams(Args& args, Step step, StreamList<Streams...> /*streams*/) {
  [&](PointerIn<Streams>... pointers) {
    WalkPlaces<groupsPerStep>(args.groups, step, decltype(PlaceIn(Streams())){pointers}...);
    ((args.*Streams::pointer =
          reinterpret_cast<std::remove_cvref_t<decltype(args.*Streams::pointer)>>(pointers)),
     ...);
  }(reinterpret_cast<PointerIn<Streams>>(args.*Streams::pointer)...);
}

/// Calls `step` with pointers into the streams of a record, in their order.
template <class Streams, int groupsPerStep, class Args, class Step>
KV_INLINE void Walk(Args& args, Step step) {
  WalkStreams<groupsPerStep>(args, step, Streams());
}

}  // namespace
}  // namespace kv_img
