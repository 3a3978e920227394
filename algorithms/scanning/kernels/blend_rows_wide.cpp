#include "algorithms/scanning/kernels/blend_rows.h"
#include "algorithms/simd/wide.h"

namespace kv_img::scanning {
namespace {

using Floats = decltype(KV_SIMD(setzero_ps)());

/// The byte of each 32-bit lane, as a number.
template <int byte>
KV_INLINE Floats NumberAt(Vector bytes) {
  const Vector shifted = ShiftRight32<8 * byte>(bytes);
  return KV_SIMD(cvtepi32_ps)(byte == 3 ? shifted : And(shifted, Set32(0xFF)));
}

/// A sample blended from the rows; the steps and their order are those of the rule.
class Blend {
 public:
  explicit Blend(float fraction)
      : upperWeight_(KV_SIMD(set1_ps)(1.0F - fraction)), lowerWeight_(KV_SIMD(set1_ps)(fraction)) {}

  KV_INLINE Vector Of(Floats upper, Floats lower) const {
    return Rounded(
        KV_SIMD(add_ps)(KV_SIMD(mul_ps)(upper, upperWeight_), KV_SIMD(mul_ps)(lower, lowerWeight_)));
  }
  KV_INLINE Vector Of(Floats upper, Floats upperNext, Floats lower, Floats lowerNext) const {
    const auto half = [](Floats number, Floats weight) {
      return KV_SIMD(mul_ps)(KV_SIMD(mul_ps)(number, weight), KV_SIMD(set1_ps)(0.5F));
    };
    const Floats both = KV_SIMD(add_ps)(half(upper, upperWeight_), half(upperNext, upperWeight_));
    return Rounded(
        KV_SIMD(add_ps)(KV_SIMD(add_ps)(both, half(lower, lowerWeight_)), half(lowerNext, lowerWeight_)));
  }

 private:
  KV_INLINE static Vector Rounded(Floats sum) {
    return KV_SIMD(cvttps_epi32)(KV_SIMD(add_ps)(sum, KV_SIMD(set1_ps)(0.5F)));
  }

  Floats upperWeight_;
  Floats lowerWeight_;
};

template <int byte>
KV_INLINE Vector BlendAt(const Blend& blend, Vector upper, Vector lower) {
  return ShiftLeft32<8 * byte>(blend.Of(NumberAt<byte>(upper), NumberAt<byte>(lower)));
}

template <PackedOrder order>
void BlendShifted(RowBlend::Args& args) {
  constexpr int lumaAt = LumaByte(order);
  constexpr int chromaAt = ChromaByte(order);
  Walk<ShiftedRowBlend::Streams, width / 8>(
      args, [blend = Blend(args.fraction)](const std::uint8_t* upperBytes, const std::uint8_t* lowerBytes,
                                           std::uint8_t* destination) {
        const Vector upper = Load(upperBytes);
        const Vector lower = Load(lowerBytes);
        const Vector upperBefore = Load(upperBytes - 2);
        const Vector lowerBefore = Load(lowerBytes - 2);
        const Vector upperBehind = Load(upperBytes + 2);
        const Vector lowerBehind = Load(lowerBytes + 2);
        const auto chroma = [&]<int byte>() {
          return ShiftLeft32<8 * byte>(blend.Of(NumberAt<byte>(upperBefore), NumberAt<byte>(upperBehind),
                                                NumberAt<byte>(lowerBefore), NumberAt<byte>(lowerBehind)));
        };
        const Vector luma =
            Or(BlendAt<lumaAt>(blend, upper, lower), BlendAt<lumaAt + 2>(blend, upper, lower));
        Store(destination, Or(luma, Or(chroma.template operator()<chromaAt>(),
                                       chroma.template operator()<chromaAt + 2>())));
      });
}

}  // namespace

template <>
void BlendAligned::Run<Wide<level>>(Args& args) noexcept {
  Walk<Streams, width / 8>(
      args, [blend = Blend(args.fraction)](const std::uint8_t* upperBytes, const std::uint8_t* lowerBytes,
                                           std::uint8_t* destination) {
        const Vector upper = Load(upperBytes);
        const Vector lower = Load(lowerBytes);
        Store(destination, Or(Or(BlendAt<0>(blend, upper, lower), BlendAt<1>(blend, upper, lower)),
                              Or(BlendAt<2>(blend, upper, lower), BlendAt<3>(blend, upper, lower))));
      });
}

template <>
void BlendLumaFirstShifted::Run<Wide<level>>(Args& args) noexcept {
  BlendShifted<PackedOrder::LumaFirst>(args);
}

template <>
void BlendChromaFirstShifted::Run<Wide<level>>(Args& args) noexcept {
  BlendShifted<PackedOrder::ChromaFirst>(args);
}

}  // namespace kv_img::scanning
