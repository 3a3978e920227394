#include "algorithms/arithmetic/kernels/blend_boost.h"
#include "algorithms/packed422/kernels/lanes_wide.h"

namespace kv_img::arithmetic {
namespace {

#if KV_REGISTER_LEVEL >= 1

/// The luma's weight in a luma byte, that of the pair's first pixel in both chroma bytes.
template <PackedOrder order>
KV_INLINE Vector SpreadWeights(Vector weights) {
  return KV_SIMD(shuffle_epi8)(
      weights, order == PackedOrder::LumaFirst
                   ? RepeatInLanes(_mm_setr_epi8(0, 0, 2, 0, 4, 4, 6, 4, 8, 8, 10, 8, 12, 12, 14, 12))
                   : RepeatInLanes(_mm_setr_epi8(1, 1, 1, 3, 5, 5, 5, 7, 9, 9, 9, 11, 13, 13, 13, 15)));
}

/// The result is (a * (128 - weight) + b * weight) / 128, rounded down, and there is one instruction for products of
/// unsigned and signed bytes that are added in pairs. 128 fits no signed byte, so both weights are negative.
template <PackedOrder order>
KV_INLINE Vector BlendPixels(Vector a, Vector b, const std::uint8_t* mask) {
  const Vector lower = Widen8To16(mask);
  const Vector weights = order == PackedOrder::LumaFirst ? lower : ShiftLeft16<8>(lower);
  // At least one of the differences is 0.
  const Vector boosted = SubSU8(KV_SIMD(adds_epu8)(weights, SubSU8(a, b)), SubSU8(b, a));
  // 128 + weight, which is weight - 128 in a signed byte.
  const Vector weightA = AverageUpU8(SpreadWeights<order>(boosted), Set8(0xFF));
  const Vector weightB = KV_SIMD(sub_epi8)(Set8(0x80), weightA);
  const auto blend = [](Vector pixels, Vector weightPairs) {
    return MultiplyHigh16(KV_SIMD(maddubs_epi16)(pixels, weightPairs), Set16(-0x10000 / 128));
  };
  return KV_SIMD(packus_epi16)(blend(KV_SIMD(unpacklo_epi8)(a, b), KV_SIMD(unpacklo_epi8)(weightA, weightB)),
                               blend(KV_SIMD(unpackhi_epi8)(a, b), KV_SIMD(unpackhi_epi8)(weightA, weightB)));
}

#else

KV_INLINE Vector Blend(Vector a, Vector b, Vector weight) {
  return Add16(a, ShiftRightSigned16<7>(Multiply16(Sub16(b, a), weight)));
}

template <PackedOrder order>
KV_INLINE Vector BlendPixels(Vector a, Vector b, const std::uint8_t* mask) {
  const Vector lumaA = LumaLanes<order>(a);
  const Vector lumaB = LumaLanes<order>(b);
  const Vector boosted = Add16(Widen8To16(mask), Sub16(lumaA, lumaB));
  const Vector weight = ShiftRight16<1>(Clamp16(boosted));
  const Vector luma = Blend(lumaA, lumaB, weight);
  const Vector chroma = Blend(ChromaLanes<order>(a), ChromaLanes<order>(b), RepeatLower16(weight));
  return JoinLanes<order>(luma, chroma);
}

#endif

template <PackedOrder order>
void BlendRow(BlendBoost::Args& args) {
  Walk<BlendBoost::Streams, width / 8>(args, [](const std::uint8_t* b, const std::uint8_t* a,
                                                const std::uint8_t* mask, std::uint8_t* destination) {
    Store(destination, BlendPixels<order>(Load(a), Load(b), mask));
  });
}

}  // namespace

template <>
void BlendBoost::Run<Wide<level>>(Args& args) noexcept {
  WithOrder(args.order, [&args]<PackedOrder order>() { BlendRow<order>(args); });
}

}  // namespace kv_img::arithmetic
