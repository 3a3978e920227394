#pragma once

#include "algorithms/box_filter/kernels/area_reciprocal.h"
#include "algorithms/simd/mmx.h"

// Means of windows in 16-bit lanes, for kernel files of the mmx set only.

namespace kv_img::box_filter::mmx {
namespace {

/// The upper half of unsigned products; what 64-bit registers have is that of signed ones, which is smaller
/// by either factor where the other one is above 0x7FFF.
template <std::uint32_t factor, std::uint32_t largest>
__m64 MultiplyHigh(__m64 sums) {
  const __m64 factors = _mm_set1_pi16(static_cast<std::int16_t>(factor));
  __m64 product = _mm_mulhi_pi16(sums, factors);
  if constexpr (factor > 0x7FFF) product = _mm_add_pi16(product, sums);
  if constexpr (largest > 0x7FFF) {
    product = _mm_add_pi16(product, _mm_and_si64(_mm_srai_pi16(sums, 15), factors));
  }
  return product;
}

/// Means of four windows of windowSize columns, up to mostNarrow.
template <int windowSize>
__m64 Divide(__m64 sums) {
  // Areas of even windows are divided by 4 first, and so are the sums.
  constexpr int evenShift = windowSize % 2 == 0 ? 2 : 0;
  constexpr std::uint32_t area = windowSize * windowSize >> evenShift;
  if constexpr (evenShift != 0) sums = _mm_srli_pi16(sums, evenShift);
  if constexpr (area == 1) {
    return sums;
  } else {
    constexpr Reciprocal reciprocal = ReciprocalOf(area);
    static_assert(reciprocal.factor != 0);
    return _mm_srli_pi16(MultiplyHigh<reciprocal.factor, 255 * area>(sums), reciprocal.shift);
  }
}

/// Eight means: those of the first sums at even places, of the second at odd ones.
template <int windowSize>
__m64 MeansInTurn(__m64 first, __m64 second) {
  return _mm_or_si64(Divide<windowSize>(first), _mm_slli_pi16(Divide<windowSize>(second), 8));
}

}  // namespace
}  // namespace kv_img::box_filter::mmx
