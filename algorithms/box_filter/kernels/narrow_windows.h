#pragma once

#include "algorithms/box_filter/kernels/means.h"
#include "algorithms/simd/wide.h"

// Windows whose sums fit 16-bit lanes, for kernel files of the wide set only.

namespace kv_img::box_filter {
namespace {

/// Calls `step(window, destination)` for `width` windows at a time, and `start(window)` before the first of a
/// sequence. The last windows are done together with some before them or, if there are too few, with
/// windows that are not written.
template <class Start, class Step>
KV_INLINE void ForEachStep(std::int32_t windows, std::uint8_t* destination, Start start, Step step) {
  alignas(64) std::uint8_t few[width];
  const bool areFew = windows < width;
  std::uint8_t* means = areFew ? few : destination;
  const std::int32_t last = areFew ? 0 : windows - width;
  // One call site each, so that a step's state stays in registers.
  for (std::int32_t window = 0;; window = last) {
    start(window);
    for (; window <= last; window += width) step(window, means + window);
    if (window == last + width) break;
  }
  if (areFew) std::memcpy(destination, few, static_cast<std::size_t>(windows));
}

#if KV_REGISTER_LEVEL >= 2
/// Numbers of 16-bit lanes, one after another.
struct Places {
  alignas(64) std::int16_t lane[32];
};
template <int start>
constexpr Places lanesFrom = [] {
  Places places = {};
  for (int lane = 0; lane < 32; ++lane) places.lane[lane] = static_cast<std::int16_t>(start + lane);
  return places;
}();
#endif

/// 16-bit lanes of `current` moved up by `count`; the last lanes of `before` fill the gap.
template <int count>
KV_INLINE Vector MoveUp(Vector current, Vector before) {
  if constexpr (count == 0) {
    return current;
  } else {
#if KV_REGISTER_LEVEL >= 2
    if constexpr (count % 2 == 0) {
      return _mm512_alignr_epi32(current, before, 16 - count / 2);
    } else {
      return _mm512_permutex2var_epi16(before, Load(lanesFrom<32 - count>.lane), current);
    }
#elif KV_REGISTER_LEVEL == 1
    const Vector between = _mm256_permute2x128_si256(before, current, 0x21);
    if constexpr (count == 8) return between;
    return _mm256_alignr_epi8(current, between, 16 - 2 * count);
#else
    if constexpr (count == 8) return before;
    return _mm_or_si128(_mm_slli_si128(current, 2 * count), _mm_srli_si128(before, 16 - 2 * count));
#endif
  }
}

/// Means of the windows that end at the columns of pairs, one register of pairs after another.
template <int windowSize>
class NarrowWindows {
 public:
  /// Takes the pairs before the first one to be returned.
  KV_INLINE void Start(Vector lower, Vector upper) { Sum(lower, upper); }

  /// The means of the windows that end at the lower and at the upper columns, in turn.
  KV_INLINE Vector Next(Vector lower, Vector upper) {
    const Vector upperBefore = upper_;
    const Vector sumBefore = sum_;
    Sum(lower, upper);
    const Vector leaving = MoveUp<pairs>(upper, upperBefore);
    if constexpr (windowSize % 2 != 0) {
      return Divide(Add16(MoveUp<1>(sum_, sumBefore), lower), Add16(sum_, leaving));
    } else {
      return Divide(Add16(Sub16(sum_, upper), leaving), sum_);
    }
  }

 private:
  static constexpr int pairs = windowSize / 2;

  /// Sums the pairs of a window, by doubling.
  KV_INLINE void Sum(Vector lower, Vector upper) {
    const Vector one = Add16(lower, upper);
    const Vector two = Add16(one, MoveUp<1>(one, one_));
    const Vector four = Add16(two, MoveUp<2>(two, two_));
    if constexpr (pairs == 0) sum_ = Zero();
    if constexpr (pairs == 1) sum_ = one;
    if constexpr (pairs == 2) sum_ = two;
    if constexpr (pairs == 3) sum_ = Add16(two, MoveUp<2>(one, one_));
    if constexpr (pairs == 4) sum_ = four;
    if constexpr (pairs == 5) sum_ = Add16(four, MoveUp<4>(one, one_));
    if constexpr (pairs == 6) sum_ = Add16(four, MoveUp<4>(two, two_));
    if constexpr (pairs == 7) sum_ = Sub16(Add16(four, MoveUp<3>(four, four_)), MoveUp<3>(one, one_));
    if constexpr (pairs == 8) sum_ = Add16(four, MoveUp<4>(four, four_));
    one_ = one;
    two_ = two;
    four_ = four;
    upper_ = upper;
  }

  /// Means as bytes: of the first sums at even places, of the second at odd ones.
  KV_INLINE static Vector Divide(Vector first, Vector second) {
    constexpr int evenShift = windowSize % 2 == 0 ? 2 : 0;
    constexpr std::uint32_t area = windowSize * windowSize >> evenShift;
    if constexpr (evenShift != 0) {
      first = ShiftRight16<evenShift>(first);
      second = ShiftRight16<evenShift>(second);
    }
    if constexpr (area == 1) {
      return Or(first, ShiftLeft16<8>(second));
    } else {
      constexpr Reciprocal reciprocal = ReciprocalOf(area);
      static_assert(reciprocal.factor != 0);
      const Vector factor = Set16(static_cast<std::int16_t>(reciprocal.factor));
      first = MultiplyHighU16(first, factor);
      second = MultiplyHighU16(second, factor);
      if constexpr (reciprocal.shift == 0) return Or(first, ShiftLeft16<8>(second));
      return Select(Set16(0xFF), ShiftLeft16<8 - reciprocal.shift>(second),
                    ShiftRight16<reciprocal.shift>(first));
    }
  }

  // Of the register before.
  Vector one_;
  Vector two_;
  Vector four_;
  Vector upper_;
  Vector sum_;
};

}  // namespace
}  // namespace kv_img::box_filter
