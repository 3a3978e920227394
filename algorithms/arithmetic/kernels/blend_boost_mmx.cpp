#include "algorithms/arithmetic/kernels/blend_boost.h"
#include "algorithms/packed422/kernels/lanes_mmx.h"

namespace kv_img::arithmetic {
namespace {

// Weights of four pixels. Halving before the clamp to 0..127 gives the same as after a clamp to 0..255; the
// clamp is a saturating step up by 0x7F80 and down again.
__m64 BoostedWeights(__m64 mask, __m64 lumaA, __m64 lumaB) {
  const __m64 step = _mm_set1_pi16(0x7F80);
  const __m64 half = _mm_srai_pi16(_mm_sub_pi16(_mm_add_pi16(mask, lumaA), lumaB), 1);
  return _mm_subs_pu16(_mm_adds_pi16(half, step), step);
}

// The weight of each pair's first pixel for both its chroma bytes.
__m64 ChromaWeights(__m64 weights) {
  const __m64 first = _mm_and_si64(weights, _mm_set1_pi32(0x0000FFFF));
  return _mm_or_si64(first, _mm_slli_pi32(first, 16));
}

__m64 Blend(__m64 a, __m64 b, __m64 weights) {
  return _mm_add_pi16(a, _mm_srai_pi16(_mm_mullo_pi16(_mm_sub_pi16(b, a), weights), 7));
}

// A group: `b` and `a` in memory order, the four mask values as 16-bit lanes.
template <PackedOrder order>
__m64 BlendGroup(__m64 b, __m64 a, __m64 mask) {
  const __m64 lumaA = LumaLanes<order>(a);
  const __m64 lumaB = LumaLanes<order>(b);
  const __m64 chromaA = ChromaLanes<order>(a);
  const __m64 chromaB = ChromaLanes<order>(b);
  const __m64 weights = BoostedWeights(mask, lumaA, lumaB);
  const __m64 luma = Blend(lumaA, lumaB, weights);
  const __m64 chroma = Blend(chromaA, chromaB, ChromaWeights(weights));
  return JoinLanes<order>(luma, chroma);
}

template <PackedOrder order>
void BlendRow(BlendBoost::Args& args) {
  BlendBoost::Args at = args;  // no store can reach a local copy, so its pointers stay in registers
  const __m64 zero = _mm_setzero_si64();
  for (std::int32_t group = 0; group < at.groups; ++group) {
    const __m64 mask = _mm_unpacklo_pi8(Load32(at.mask), zero);
    Store64(at.destination, BlendGroup<order>(Load64(at.b), Load64(at.a), mask));
    at.b += 8;
    at.a += 8;
    at.mask += 4;
    at.destination += 8;
  }
  args = at;
  _mm_empty();
}

}  // namespace

template <>
void BlendBoost::Run<Mmx>(Args& args) noexcept {
  WithOrder(args.order, [&args]<PackedOrder order>() { BlendRow<order>(args); });
}

}  // namespace kv_img::arithmetic
