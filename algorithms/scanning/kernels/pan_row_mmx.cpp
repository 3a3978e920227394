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

template <PackedOrder order>
__m64 Luma(__m64 words) {
  return order == PackedOrder::LumaFirst ? LowSamples(words) : HighSamples(words);
}
template <PackedOrder order>
__m64 Chroma(__m64 words) {
  return order == PackedOrder::LumaFirst ? HighSamples(words) : LowSamples(words);
}

/// Puts the upper bytes of the luma and of the chroma words where the byte order wants them.
template <PackedOrder order>
__m64 Join(__m64 luma, __m64 chroma) {
  const __m64 low = order == PackedOrder::LumaFirst ? luma : chroma;
  const __m64 high = order == PackedOrder::LumaFirst ? chroma : luma;
  return _mm_or_si64(_mm_srli_pi16(low, 8), _mm_slli_pi16(_mm_srli_pi16(high, 8), 8));
}

template <PackedOrder order, bool isShifted, bool isOneRow>
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
    const __m64 luma = _mm_add_pi16(Weigh(Luma<order>(upperHere), Luma<order>(lowerHere), left),
                                    Weigh(Luma<order>(upperNext), Luma<order>(lowerNext), right));
    __m64 chroma;
    if constexpr (isShifted) {
      const __m64 upperBefore = Load64(upper - 2);
      const __m64 lowerBefore = isOneRow ? upperBefore : Load64(lower - 2);
      chroma = _mm_add_pi16(Weigh(Chroma<order>(upperBefore), Chroma<order>(lowerBefore), left),
                            Weigh(Chroma<order>(upperNext), Chroma<order>(lowerNext), right));
    } else {
      chroma = _mm_add_pi16(Chroma<order>(upperHere), Chroma<order>(lowerHere));
    }
    Store64(to, Join<order>(luma, chroma));
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
template <PackedOrder order, bool isShifted>
void Pan(RowPan::Args& args) noexcept {
  if (args.upper == args.lower) {
    PanRows<order, isShifted, true>(args);
  } else {
    PanRows<order, isShifted, false>(args);
  }
}

}  // namespace

template <>
void PanChromaFirst::Run<Mmx>(Args& args) noexcept {
  Pan<PackedOrder::ChromaFirst, false>(args);
}

template <>
void PanChromaFirstShifted::Run<Mmx>(Args& args) noexcept {
  Pan<PackedOrder::ChromaFirst, true>(args);
}

template <>
void PanLumaFirst::Run<Mmx>(Args& args) noexcept {
  Pan<PackedOrder::LumaFirst, false>(args);
}

template <>
void PanLumaFirstShifted::Run<Mmx>(Args& args) noexcept {
  Pan<PackedOrder::LumaFirst, true>(args);
}

}  // namespace kv_img::scanning
