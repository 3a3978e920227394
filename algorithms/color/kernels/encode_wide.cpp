#include <cstring>

#include "algorithms/color/kernels/encode.h"
#include "algorithms/simd/bitmap_pixels.h"

namespace kv_img::color {
namespace {

/// Colours of 32-bit lanes: blue and red, or red and blue, in 16-bit lanes, and green in the lower half of
/// 32-bit lanes whose upper half does not count.
struct Colours {
  Vector outer;
  Vector green;

  explicit Colours(Vector pixels) : outer(LowerBytes16(pixels)), green(UpperBytes16(pixels)) {}
  Colours(Vector outerSum, Vector greenSum) : outer(outerSum), green(greenSum) {}
};

KV_INLINE Colours Sum(const Colours& a, const Colours& b) {
  return {Add16(a.outer, b.outer), Add16(a.green, b.green)};
}

/// One component of colours that are 2^scaleBits times their value.
class Component {
 public:
  Component(const RgbSum& weights, bool isRedFirst, std::int32_t offset, int scaleBits)
      : outer_(isRedFirst ? SetPair16(weights.red, weights.blue) : SetPair16(weights.blue, weights.red)),
        green_(SetPair16(weights.green, 0)),
        offset_(Set32(static_cast<std::uint32_t>((2 * offset + 1) << (14 + scaleBits)))) {}

  template <int scaleBits>
  Vector Of(const Colours& colours) const {
    return ShiftRightSigned32<15 + scaleBits>(
        MultiplyAddTo32(MultiplyAddTo32(offset_, colours.outer, outer_), colours.green, green_));
  }

 private:
  Vector outer_;
  Vector green_;
  Vector offset_;
};

/// `chromaBits`: chroma is made of 2^chromaBits times the colours.
template <int pixelBytes, int chromaBits, class Mix>
KV_INLINE void EncodeMixed(EncodeArgs& args, Mix mix) {
  using Streams = StreamList<In<&EncodeArgs::source, 2 * pixelBytes>, Out<&EncodeArgs::destination, 4>>;
  const Component y(args.weights.luma, args.isRedFirst, args.weights.black, 0);
  const Component cb(args.weights.cb, args.isRedFirst, 128, chromaBits);
  const Component cr(args.weights.cr, args.isRedFirst, 128, chromaBits);
  const PackedOrder order = args.order;
  WalkRow<Streams, width / 4>(args, [&](RowEnds ends, const std::uint8_t* source, std::uint8_t* destination) {
    const TwoVectors pixels = EvenAndOdd(ReadPixels<pixelBytes>(source));
    const Colours even(pixels.first);
    const Colours odd(pixels.second);
    const Colours mixed = mix(ends.isFirst ? source : source - pixelBytes, even, odd, pixels.second);
    const Vector left = y.Of<0>(even);
    const Vector right = y.Of<0>(odd);
    const Vector u = cb.Of<chromaBits>(mixed);
    const Vector v = cr.Of<chromaBits>(mixed);
    Store(destination,
          OrderOfPack(order == PackedOrder::LumaFirst ? Bytes(left, u, right, v) : Bytes(u, left, v, right)));
  });
}

template <int pixelBytes>
void EncodePairs(EncodeArgs& args) {
  switch (args.downsampling) {
    case Downsampling::Mean:
      return EncodeMixed<pixelBytes, 1>(
          args, [](const std::uint8_t* /*before*/, const Colours& even, const Colours& odd,
                   Vector /*oddPixels*/) { return Sum(even, odd); });
    case Downsampling::Triangle:
      return EncodeMixed<pixelBytes, 2>(
          args, [](const std::uint8_t* before, const Colours& even, const Colours& odd, Vector oddPixels) {
            // Of three bytes the fourth is the first of the next pixel, and does not count.
            std::uint32_t pixel;
            std::memcpy(&pixel, before, sizeof pixel);
            return Sum(Sum(Colours(BeforeEven(Set32(pixel), oddPixels)), even), Sum(even, odd));
          });
    default:
      return EncodeMixed<pixelBytes, 0>(
          args, [](const std::uint8_t* /*before*/, const Colours& even, const Colours& /*odd*/,
                   Vector /*oddPixels*/) { return even; });
  }
}

}  // namespace

template <>
void EncodeFrom24::Run<Wide<level>>(Args& args) noexcept {
  EncodePairs<3>(args);
}

template <>
void EncodeFrom32::Run<Wide<level>>(Args& args) noexcept {
  EncodePairs<4>(args);
}

}  // namespace kv_img::color
