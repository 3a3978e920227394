#include "algorithms/color/kernels/decode.h"
#include "algorithms/packed422/kernels/lanes_wide.h"
#include "algorithms/simd/bitmap_pixels.h"

namespace kv_img::color {
namespace {

/// One component each in 32-bit lanes, one lane a pair.
struct Colours {
  Vector red;
  Vector green;
  Vector blue;
};

/// Sums in units of 1/2^14, halves added. Blue takes twice its weight times chroma, so that it is even and its
/// half is exact: where chroma is the sum of two samples, blue needs no more bits than with one.
class Converter {
 public:
  explicit Converter(const DecodingWeights& weights)
      : weights_(weights),
        leftLuma_(SetPair16(weights.luma, 0)),
        rightLuma_(SetPair16(0, weights.luma)),
        red_(SetPair16(0, weights.crToRed)),
        green_(SetPair16(weights.cbToGreen, weights.crToGreen)),
        blue_(SetPair16(weights.twoCbToBlue, 0)) {}

  Vector LeftLuma(Vector luma) const { return MultiplyAdd16(luma, leftLuma_); }
  Vector RightLuma(Vector luma) const { return MultiplyAdd16(luma, rightLuma_); }

  /// What luma adds nothing to: the halves, and what black and neutral chroma take away.
  Colours Offsets(int redGreenScale, int blueScale) const {
    return {Offset(weights_.crToRed, redGreenScale),
            Offset(weights_.cbToGreen + weights_.crToGreen, redGreenScale),
            Offset(2 * weights_.twoCbToBlue, blueScale)};
  }
  /// The sums without luma.
  Colours OfChroma(const Colours& offsets, Vector redGreenChroma, Vector blueChroma) const {
    return {MultiplyAddTo32(offsets.red, redGreenChroma, red_),
            MultiplyAddTo32(offsets.green, redGreenChroma, green_),
            MultiplyAddTo32(offsets.blue, blueChroma, blue_)};
  }

 private:
  Vector Offset(std::int32_t chroma, int scale) const {
    return Set32(
        static_cast<std::uint32_t>(((1 << 14) / 2 - weights_.luma * weights_.black - chroma * 128) * scale));
  }

  const DecodingWeights& weights_;
  Vector leftLuma_;
  Vector rightLuma_;
  Vector red_;
  Vector green_;
  Vector blue_;
};

/// Pixels in 32-bit lanes, opaque, from luma and the sums without it.
template <int redGreenBits, int blueBits>
KV_INLINE Vector Pixels(Vector redGreenLuma, Vector blueLuma, const Colours& chroma, bool isRedFirst) {
  const Vector red = ShiftRightSigned32<redGreenBits>(Add32(chroma.red, redGreenLuma));
  const Vector green = ShiftRightSigned32<redGreenBits>(Add32(chroma.green, redGreenLuma));
  const Vector blue = ShiftRightSigned32<blueBits>(Add32(chroma.blue, blueLuma));
  return Bytes(isRedFirst ? red : blue, green, isRedFirst ? blue : red, Set32(255));
}

template <int pixelBytes, PackedOrder order>
void Repeat(DecodeArgs& args) {
  using Streams = StreamList<In<&DecodeArgs::source, 4>, Out<&DecodeArgs::destination, 2 * pixelBytes>>;
  const Converter converter(args.weights);
  const Colours offsets = converter.Offsets(1, 1);
  const bool isRedFirst = args.isRedFirst;
  WalkRow<Streams, width / 4>(
      args, [&](RowEnds /*ends*/, const std::uint8_t* source, std::uint8_t* destination) {
        const Vector packed = Load(source);
        const Vector luma = LumaLanes<order>(packed);
        const Vector own = ChromaLanes<order>(packed);
        const Colours chroma = converter.OfChroma(offsets, own, Add16(own, own));
        const Vector left = converter.LeftLuma(luma);
        const Vector right = converter.RightLuma(luma);
        StorePixels<pixelBytes>(destination, InTurn(Pixels<14, 14>(left, left, chroma, isRedFirst),
                                                    Pixels<14, 14>(right, right, chroma, isRedFirst)));
      });
}

template <int pixelBytes, PackedOrder order>
void Left(DecodeArgs& args) {
  using Streams = StreamList<In<&DecodeArgs::source, 4>, Out<&DecodeArgs::destination, 2 * pixelBytes>>;
  const Converter converter(args.weights);
  const Colours offsets = converter.Offsets(1, 1);
  const Colours twofold = converter.Offsets(2, 1);
  const bool isRedFirst = args.isRedFirst;
  WalkRow<Streams, width / 4>(args, [&](RowEnds ends, const std::uint8_t* source, std::uint8_t* destination) {
    const Vector packed = Load(source);
    const Vector luma = LumaLanes<order>(packed);
    const Vector own = ChromaLanes<order>(packed);
    const Vector both = Add16(own, ChromaLanes<order>(NextPairs(packed, source, ends.isLast)));
    const Vector left = converter.LeftLuma(luma);
    const Vector right = converter.RightLuma(luma);
    StorePixels<pixelBytes>(
        destination,
        InTurn(
            Pixels<14, 14>(left, left, converter.OfChroma(offsets, own, Add16(own, own)), isRedFirst),
            Pixels<15, 14>(Add32(right, right), right, converter.OfChroma(twofold, both, both), isRedFirst)));
  });
}

template <int pixelBytes, PackedOrder order>
void Centre(DecodeArgs& args) {
  using Streams = StreamList<In<&DecodeArgs::source, 4>, Out<&DecodeArgs::destination, 2 * pixelBytes>>;
  const Converter converter(args.weights);
  const Colours fourfold = converter.Offsets(4, 2);
  const bool isRedFirst = args.isRedFirst;
  WalkRow<Streams, width / 4>(args, [&](RowEnds ends, const std::uint8_t* source, std::uint8_t* destination) {
    const Vector packed = Load(source);
    const Vector luma = LumaLanes<order>(packed);
    const Vector twice = Add16(luma, luma);
    const Vector own = ChromaLanes<order>(packed);
    const Vector three = Add16(own, Add16(own, own));
    const Vector before = Add16(ChromaLanes<order>(PreviousPairs(packed, source, ends.isFirst)), three);
    const Vector next = Add16(three, ChromaLanes<order>(NextPairs(packed, source, ends.isLast)));
    const Vector left = converter.LeftLuma(twice);
    const Vector right = converter.RightLuma(twice);
    StorePixels<pixelBytes>(destination,
                            InTurn(Pixels<16, 15>(Add32(left, left), left,
                                                  converter.OfChroma(fourfold, before, before), isRedFirst),
                                   Pixels<16, 15>(Add32(right, right), right,
                                                  converter.OfChroma(fourfold, next, next), isRedFirst)));
  });
}

template <int pixelBytes, PackedOrder order>
void DecodeInOrder(DecodeArgs& args) {
  if (args.upsampling == Upsampling::Left) return Left<pixelBytes, order>(args);
  if (args.upsampling == Upsampling::Centre) return Centre<pixelBytes, order>(args);
  Repeat<pixelBytes, order>(args);
}

template <int pixelBytes>
void DecodePairs(DecodeArgs& args) {
  WithOrder(args.order, [&]<PackedOrder order>() { DecodeInOrder<pixelBytes, order>(args); });
}

}  // namespace

template <>
void DecodeTo24::Run<Wide<level>>(Args& args) noexcept {
  DecodePairs<3>(args);
}

template <>
void DecodeTo32::Run<Wide<level>>(Args& args) noexcept {
  DecodePairs<4>(args);
}

}  // namespace kv_img::color
