#pragma once

#include <bit>

#include "algorithms/box_filter/kernels/box_filter.h"
#include "algorithms/box_filter/kernels/narrow_windows.h"
#include "algorithms/simd/wide.h"

// Windows whose sums need 32-bit lanes, for kernel files of the wide set only.

namespace kv_img::box_filter {
namespace {

// Wider windows have sums of 32 bits, at most 255^3, and so do the running sums that they are differences of.
// Those wrap; their differences are still right.

/// Windows whose running sums are kept at a time.
constexpr std::int32_t windowsAtOnce = 4096;
static_assert(windowsAtOnce % width == 0);

/// Of the lanes up to and with each one.
KV_INLINE Vector RunningSums(Vector sums) {
#if KV_REGISTER_LEVEL >= 2
  const Vector zero = Zero();
  sums = Add32(sums, _mm512_alignr_epi32(sums, zero, 15));
  sums = Add32(sums, _mm512_alignr_epi32(sums, zero, 14));
  sums = Add32(sums, _mm512_alignr_epi32(sums, zero, 12));
  return Add32(sums, _mm512_alignr_epi32(sums, zero, 8));
#elif KV_REGISTER_LEVEL == 1
  sums = Add32(sums, _mm256_slli_si256(sums, 4));
  sums = Add32(sums, _mm256_slli_si256(sums, 8));
  const Vector totals = _mm256_shuffle_epi32(sums, 0xFF);
  return Add32(sums, _mm256_permute2x128_si256(totals, totals, 0x08));
#else
  sums = Add32(sums, _mm_slli_si128(sums, 4));
  return Add32(sums, _mm_slli_si128(sums, 8));
#endif
}
KV_INLINE Vector LastInAllLanes32(Vector a) {
#if KV_REGISTER_LEVEL >= 2
  return _mm512_permutexvar_epi32(Set32(15), a);
#elif KV_REGISTER_LEVEL == 1
  return _mm256_permutevar8x32_epi32(a, Set32(7));
#else
  return _mm_shuffle_epi32(a, 0xFF);
#endif
}

/// Column sums of windows up to this size are no more than a signed lane holds, nor are their differences.
constexpr std::uint32_t mostSigned = 128;
static_assert(255 * mostSigned <= 0x7FFF);

/// Adds the lower, the upper or both halves of 32-bit lanes to sums.
template <bool isSigned>
KV_INLINE Vector AddLower(Vector sums, Vector halves) {
  return isSigned ? MultiplyAddTo32(sums, halves, SetPair16(1, 0)) : Add32(sums, And(halves, Set32(0xFFFF)));
}
template <bool isSigned>
KV_INLINE Vector AddUpper(Vector sums, Vector halves) {
  return isSigned ? MultiplyAddTo32(sums, halves, SetPair16(0, 1)) : Add32(sums, ShiftRight32<16>(halves));
}
template <bool isSigned>
KV_INLINE Vector AddBoth(Vector sums, Vector halves) {
  return isSigned ? MultiplyAddTo32(sums, halves, SetPair16(1, 1))
                  : AddUpper<false>(AddLower<false>(sums, halves), halves);
}
/// Adds the lower or the upper halves of a difference.
template <bool isSigned>
KV_INLINE Vector MoveLower(Vector sums, Vector entering, Vector leaving) {
  return isSigned ? AddLower<true>(sums, Sub16(entering, leaving))
                  : Sub32(AddLower<false>(sums, entering), And(leaving, Set32(0xFFFF)));
}
template <bool isSigned>
KV_INLINE Vector MoveUpper(Vector sums, Vector entering, Vector leaving) {
  return isSigned ? AddUpper<true>(sums, Sub16(entering, leaving))
                  : Sub32(AddUpper<false>(sums, entering), ShiftRight32<16>(leaving));
}

/// The least single-precision number that is not below 1 / area.
constexpr float ReciprocalAbove(std::uint32_t area) {
  const float nearest = 1.0F / static_cast<float>(area);
  return double{nearest} * area >= 1 ? nearest
                                     : std::bit_cast<float>(std::bit_cast<std::uint32_t>(nearest) + 1);
}
// Sums below 2^24 are exact in single precision. A product with a reciprocal that is not too small is not too
// small either; it must miss the next whole number by more than 2^-17, which is what rounding adds below 256.
// The largest sum comes nearest, in windows up to mostMultiplied not near enough. A quotient is rounded to a
// multiple of 2^-16 at most, and misses the next whole number by 1 / area, which is more than the half of
// that.
constexpr std::uint32_t mostMultiplied = 179;
static_assert([] {
  for (std::uint32_t windowSize = mostNarrow + 1; windowSize <= mostMultiplied; ++windowSize) {
    const std::uint32_t area = windowSize * windowSize;
    if (256 - (255.0 * area + area - 1) * ReciprocalAbove(area) < 1.0 / (1 << 17)) return false;
  }
  return true;
}());
static_assert(maxWindowSize * maxWindowSize < 1U << 17);

template <bool multiplies>
class WideMeans {
 public:
  explicit WideMeans(std::uint32_t area)
      : divisor_(KV_SIMD(set1_ps)(multiplies ? ReciprocalAbove(area) : static_cast<float>(area))) {}

  /// A mean in the lowest byte of each lane. The second byte is zero.
  KV_INLINE Vector Of(Vector sums) const {
    const auto exact = KV_SIMD(cvtepi32_ps)(sums);
#if KV_REGISTER_LEVEL >= 2
    // In what is added, one is the lowest bit.
    if constexpr (multiplies) {
      return _mm512_castps_si512(_mm512_fmadd_round_ps(exact, divisor_, _mm512_set1_ps(1 << 23),
                                                       _MM_FROUND_TO_NEG_INF | _MM_FROUND_NO_EXC));
    }
#endif
    if constexpr (multiplies) return KV_SIMD(cvttps_epi32)(KV_SIMD(mul_ps)(exact, divisor_));
    return KV_SIMD(cvttps_epi32)(KV_SIMD(div_ps)(exact, divisor_));
  }

 private:
  decltype(KV_SIMD(setzero_ps)()) divisor_;
};

/// Windows of 4 * n + rest columns.
template <bool isSigned, int rest, class Means>
void SlideWide(const WindowMeans::Args& args, const Means& means) {
  const auto windowSize = static_cast<std::int32_t>(args.windowSize);
  const std::int32_t quads = windowSize / 4;
  alignas(64) std::uint32_t running[1 + (windowsAtOnce + maxWindowSize) / 4 + 64];
  for (std::int32_t done = 0; done < 8 * args.groups; done += windowsAtOnce) {
    const std::int32_t left = 8 * args.groups - done;
    const std::int32_t count = left < windowsAtOnce ? left : windowsAtOnce;
    const std::uint16_t* first = args.first + done / 2;
    const std::uint16_t* second = args.second + done / 2;

    // The sums of the quads before each one.
    running[0] = 0;
    Vector before = Zero();
    for (std::int32_t quad = 0; quad <= (count + windowSize) / 4; quad += width / 4) {
      const Vector four =
          AddBoth<isSigned>(AddBoth<isSigned>(Zero(), Load(first + 2 * quad)), Load(second + 2 * quad));
      before = Add32(before, RunningSums(four));
      Store(running + 1 + quad, before);
      before = LastInAllLanes32(before);
    }

    const auto nothing = [](std::int32_t /*window*/) {};
    ForEachStep(count, args.destination + done, nothing, [&](std::int32_t window, std::uint8_t* destination) {
      const std::int32_t quad = window / 4;
      const std::uint16_t* leavingFirst = first + 2 * quad;
      const std::uint16_t* leavingSecond = second + 2 * quad;
      const std::uint16_t* afterFirst = leavingFirst + 2 * quads;
      const std::uint16_t* afterSecond = leavingSecond + 2 * quads;
      Vector sums = Sub32(Load(running + quad + quads), Load(running + quad));
      if constexpr (rest == 1) sums = AddLower<isSigned>(sums, Load(afterFirst));
      if constexpr (rest == 2) {
        sums = AddLower<isSigned>(AddLower<isSigned>(sums, Load(afterFirst)), Load(afterSecond));
      }
      if constexpr (rest == 3) {
        sums = AddLower<isSigned>(AddBoth<isSigned>(sums, Load(afterFirst)), Load(afterSecond));
      }
      // The columns that enter the windows at the second, third and fourth column of each quad.
      const Vector entering = Load(rest % 2 == 0 ? afterFirst + rest / 2 : afterSecond + rest / 2);
      const Vector enteringNext = Load(rest % 2 == 0 ? afterSecond + rest / 2 : afterFirst + rest / 2 + 1);
      const Vector leaving = Load(leavingFirst);
      Vector result = means.Of(sums);
      sums = MoveLower<isSigned>(sums, entering, leaving);
      const Vector secondMeans = ShiftLeft32<8>(means.Of(sums));
      sums = MoveLower<isSigned>(sums, enteringNext, Load(leavingSecond));
      const Vector thirdMeans = ShiftLeft32<16>(means.Of(sums));
      sums = MoveUpper<isSigned>(sums, entering, leaving);
      const Vector fourthMeans = ShiftLeft32<24>(means.Of(sums));
      result = And(result, Set32(0xFF));
      Store(destination, Or(Or(result, secondMeans), Or(thirdMeans, fourthMeans)));
    });
  }
}

template <bool isSigned, class Means>
void SlideWide(const WindowMeans::Args& args, const Means& means) {
  switch (args.windowSize % 4) {
    case 0:
      return SlideWide<isSigned, 0>(args, means);
    case 1:
      return SlideWide<isSigned, 1>(args, means);
    case 2:
      return SlideWide<isSigned, 2>(args, means);
    default:
      return SlideWide<isSigned, 3>(args, means);
  }
}

}  // namespace
}  // namespace kv_img::box_filter
