#include "algorithms/arithmetic/kernels/blend_boost.h"
#include "algorithms/packed422/kernels/lanes_wide.h"

namespace kv_img::arithmetic {
namespace {

KV_INLINE Vector Blend(Vector a, Vector b, Vector weight) {
  return Add16(a, ShiftRightSigned16<7>(Multiply16(Sub16(b, a), weight)));
}

template <PackedOrder order>
void BlendRow(BlendBoost::Args& args) {
  Walk<BlendBoost::Streams, width / 8>(args, [](const std::uint8_t* b, const std::uint8_t* a,
                                                const std::uint8_t* mask, std::uint8_t* destination) {
    const Vector pixelsA = Load(a);
    const Vector pixelsB = Load(b);
    const Vector lumaA = LumaLanes<order>(pixelsA);
    const Vector lumaB = LumaLanes<order>(pixelsB);
    const Vector chromaA = ChromaLanes<order>(pixelsA);
    const Vector chromaB = ChromaLanes<order>(pixelsB);
    const Vector boosted = Add16(Widen8To16(mask), Sub16(lumaA, lumaB));
    const Vector weight = ShiftRight16<1>(Clamp16(boosted));
    const Vector luma = Blend(lumaA, lumaB, weight);
    const Vector chroma = Blend(chromaA, chromaB, RepeatLower16(weight));
    Store(destination, JoinLanes<order>(luma, chroma));
  });
}

}  // namespace

template <>
void BlendBoost::Run<Wide<level>>(Args& args) noexcept {
  WithOrder(args.order, [&args]<PackedOrder order>() { BlendRow<order>(args); });
}

}  // namespace kv_img::arithmetic
