#include "algorithms/color/kernels/decode.h"
#include "algorithms/packed422/kernels/lanes_wide.h"
#include "algorithms/simd/bitmap_pixels.h"

namespace kv_img::color {
namespace {

/// Sums of one component in 32-bit lanes, one lane a pair.
struct Colours {
  Vector red;
  Vector green;
  Vector blue;
};

/// Converts with chroma and luma of 2^scaleBits times their value.
template <int scaleBits>
class Converter {
 public:
  explicit Converter(const DecodingWeights& weights)
      : leftLuma_(SetPair16(weights.luma, 0)),
        rightLuma_(SetPair16(0, weights.luma)),
        red_(SetPair16(0, weights.crToRed)),
        green_(SetPair16(weights.cbToGreen, weights.crToGreen)),
        blue_(SetPair16(weights.twoCbToBlue, 0)) {
    const auto offset = [&](std::int32_t chroma) {
      return Set32(static_cast<std::uint32_t>(((1 << 14) / 2 - weights.luma * weights.black - chroma * 128) *
                                              (1 << scaleBits)));
    };
    redOffset_ = offset(weights.crToRed);
    greenOffset_ = offset(weights.cbToGreen + weights.crToGreen);
    blueOffset_ = offset(2 * weights.twoCbToBlue);
  }

  Colours OfChroma(Vector cbCr) const {
    return {MultiplyAddTo32(redOffset_, cbCr, red_), MultiplyAddTo32(greenOffset_, cbCr, green_),
            MultiplyAddTo32(blueOffset_, Add16(cbCr, cbCr), blue_)};
  }
  /// The left or right pixels as 32-bit lanes, opaque.
  Vector Left(Vector luma, const Colours& chroma, bool isRedFirst) const {
    return Pixels(luma, leftLuma_, chroma, isRedFirst);
  }
  Vector Right(Vector luma, const Colours& chroma, bool isRedFirst) const {
    return Pixels(luma, rightLuma_, chroma, isRedFirst);
  }

 private:
  static Vector Pixels(Vector luma, Vector weights, const Colours& chroma, bool isRedFirst) {
    const auto whole = [&](Vector sum) {
      return ShiftRightSigned32<14 + scaleBits>(MultiplyAddTo32(sum, luma, weights));
    };
    const Vector red = whole(chroma.red);
    const Vector blue = whole(chroma.blue);
    return Bytes(isRedFirst ? red : blue, whole(chroma.green), isRedFirst ? blue : red, Set32(255));
  }

  Vector leftLuma_;
  Vector rightLuma_;
  Vector red_;
  Vector green_;
  Vector blue_;
  Vector redOffset_;
  Vector greenOffset_;
  Vector blueOffset_;
};

template <int pixelBytes, PackedOrder order>
void Repeat(DecodeArgs& args) {
  using Streams = StreamList<In<&DecodeArgs::source, 4>, Out<&DecodeArgs::destination, 2 * pixelBytes>>;
  const Converter<0> converter(args.weights);
  const bool isRedFirst = args.isRedFirst;
  Walk<Streams, width / 4>(args, [&](const std::uint8_t* source, std::uint8_t* destination) {
    const Vector packed = Load(source);
    const Vector luma = LumaLanes<order>(packed);
    const Colours chroma = converter.OfChroma(ChromaLanes<order>(packed));
    StorePixels<pixelBytes>(destination, InTurn(converter.Left(luma, chroma, isRedFirst),
                                                converter.Right(luma, chroma, isRedFirst)));
  });
}

template <int pixelBytes, PackedOrder order>
void Left(DecodeArgs& args) {
  using Streams = StreamList<In<&DecodeArgs::source, 4, 0, 4>, Out<&DecodeArgs::destination, 2 * pixelBytes>>;
  const Converter<0> converter(args.weights);
  const Converter<1> twofold(args.weights);
  const bool isRedFirst = args.isRedFirst;
  Walk<Streams, width / 4>(args, [&](const std::uint8_t* source, std::uint8_t* destination) {
    const Vector packed = Load(source);
    const Vector luma = LumaLanes<order>(packed);
    const Vector own = ChromaLanes<order>(packed);
    const Vector next = ChromaLanes<order>(Load(source + 4));
    StorePixels<pixelBytes>(
        destination,
        InTurn(converter.Left(luma, converter.OfChroma(own), isRedFirst),
               twofold.Right(Add16(luma, luma), twofold.OfChroma(Add16(own, next)), isRedFirst)));
  });
}

template <int pixelBytes, PackedOrder order>
void Centre(DecodeArgs& args) {
  using Streams = StreamList<In<&DecodeArgs::source, 4, 4, 4>, Out<&DecodeArgs::destination, 2 * pixelBytes>>;
  const Converter<2> fourfold(args.weights);
  const bool isRedFirst = args.isRedFirst;
  Walk<Streams, width / 4>(args, [&](const std::uint8_t* source, std::uint8_t* destination) {
    const Vector packed = Load(source);
    const Vector luma = ShiftLeft16<2>(LumaLanes<order>(packed));
    const Vector own = ChromaLanes<order>(packed);
    const Vector three = Add16(own, Add16(own, own));
    const Vector before = ChromaLanes<order>(Load(source - 4));
    const Vector next = ChromaLanes<order>(Load(source + 4));
    StorePixels<pixelBytes>(destination,
                            InTurn(fourfold.Left(luma, fourfold.OfChroma(Add16(before, three)), isRedFirst),
                                   fourfold.Right(luma, fourfold.OfChroma(Add16(three, next)), isRedFirst)));
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
