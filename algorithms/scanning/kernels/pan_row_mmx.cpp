#include "algorithms/scanning/kernels/pan_row.h"
#include "algorithms/simd/mmx.h"

namespace kv_img::scanning {
namespace {

// Samples are taken as words of sample * 128, which are positive: there is no multiplication of unsigned
// words here. A weight is doubled in return and goes from 0 to 0x10000. As a signed word a doubled weight of
// 0x8000 or more is 0x10000 too small, and its product the sample word too small, which is then added.
__m64 LowSamples(__m64 words) {
  return _mm_srli_pi16(_mm_slli_pi16(words, 8), 1);
}
__m64 HighSamples(__m64 words) {
  return _mm_slli_pi16(_mm_srli_pi16(words, 8), 7);
}

struct Weight {
  explicit Weight(std::uint16_t weight)
      : doubled(_mm_set1_pi16(static_cast<std::int16_t>(2U * weight))),
        missing(_mm_set1_pi16(weight >= 0x4000 ? -1 : 0)) {}
  __m64 doubled;
  __m64 missing;
};

/// The products of two rows' samples and one weight.
__m64 Weigh(__m64 upper, __m64 lower, const Weight& weight) {
  const __m64 products =
      _mm_add_pi16(_mm_mulhi_pi16(upper, weight.doubled), _mm_mulhi_pi16(lower, weight.doubled));
  return _mm_add_pi16(products, _mm_and_si64(_mm_add_pi16(upper, lower), weight.missing));
}

template <bool isLumaFirst>
__m64 Luma(__m64 words) {
  return isLumaFirst ? LowSamples(words) : HighSamples(words);
}
template <bool isLumaFirst>
__m64 Chroma(__m64 words) {
  return isLumaFirst ? HighSamples(words) : LowSamples(words);
}

/// Puts the upper bytes of the luma and of the chroma words where the byte order wants them.
template <bool isLumaFirst>
__m64 Join(__m64 luma, __m64 chroma) {
  const __m64 low = isLumaFirst ? luma : chroma;
  const __m64 high = isLumaFirst ? chroma : luma;
  return _mm_or_si64(_mm_srli_pi16(low, 8), _mm_slli_pi16(_mm_srli_pi16(high, 8), 8));
}

template <bool isLumaFirst, bool isShifted, bool isOneRow>
void PanRows(RowPan::Args& args) noexcept {
  const std::uint8_t* upper = args.upper;
  const std::uint8_t* lower = args.lower;
  std::uint8_t* to = args.destination;
  const Weight left(args.leftWeight);
  const Weight right(args.rightWeight);
  for (std::int32_t group = 0; group < args.groups; ++group) {
    const __m64 upperHere = Load64(upper);
    const __m64 lowerHere = isOneRow ? upperHere : Load64(lower);
    const __m64 upperNext = Load64(upper + 2);
    const __m64 lowerNext = isOneRow ? upperNext : Load64(lower + 2);
    const __m64 luma = _mm_add_pi16(Weigh(Luma<isLumaFirst>(upperHere), Luma<isLumaFirst>(lowerHere), left),
                                    Weigh(Luma<isLumaFirst>(upperNext), Luma<isLumaFirst>(lowerNext), right));
    __m64 chroma;
    if constexpr (isShifted) {
      const __m64 upperBefore = Load64(upper - 2);
      const __m64 lowerBefore = isOneRow ? upperBefore : Load64(lower - 2);
      chroma = _mm_add_pi16(Weigh(Chroma<isLumaFirst>(upperBefore), Chroma<isLumaFirst>(lowerBefore), left),
                            Weigh(Chroma<isLumaFirst>(upperNext), Chroma<isLumaFirst>(lowerNext), right));
    } else {
      chroma = _mm_add_pi16(Chroma<isLumaFirst>(upperHere), Chroma<isLumaFirst>(lowerHere));
    }
    Store64(to, Join<isLumaFirst>(luma, chroma));
    upper += 8;
    lower += 8;
    to += 8;
  }
  args.upper = upper;
  args.lower = lower;
  args.destination = to;
  _mm_empty();
}

/// A pan without interpolation between rows gives the same row twice: its products are made once.
template <bool isLumaFirst, bool isShifted>
void Pan(RowPan::Args& args) noexcept {
  if (args.upper == args.lower) {
    PanRows<isLumaFirst, isShifted, true>(args);
  } else {
    PanRows<isLumaFirst, isShifted, false>(args);
  }
}

}  // namespace

template <>
void PanChromaFirst::Run<Mmx>(Args& args) noexcept {
  Pan<false, false>(args);
}

template <>
void PanChromaFirstShifted::Run<Mmx>(Args& args) noexcept {
  Pan<false, true>(args);
}

template <>
void PanLumaFirst::Run<Mmx>(Args& args) noexcept {
  Pan<true, false>(args);
}

template <>
void PanLumaFirstShifted::Run<Mmx>(Args& args) noexcept {
  Pan<true, true>(args);
}

}  // namespace kv_img::scanning
