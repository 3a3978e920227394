#include "algorithms/color/kernels/decode.h"
#include "algorithms/color/kernels/rounding.h"

namespace kv_img::color {
namespace {

struct Rgb {
  std::uint8_t red;
  std::uint8_t green;
  std::uint8_t blue;
};

/// `cb` and `cr` are four times the pixel's chroma.
constexpr Rgb Decode(const DecodingWeights& weights, std::int32_t luma, std::int32_t cb, std::int32_t cr) {
  const std::int32_t grey = weights.luma * 4 * (luma - weights.black);
  const std::int32_t u = cb - 512;
  const std::int32_t v = cr - 512;
  return {Round<16>(grey + weights.crToRed * v),
          Round<16>(grey + weights.cbToGreen * u + weights.crToGreen * v),
          Round<16>(grey + weights.twoCbToBlue * 2 * u)};
}

template <int pixelBytes>
void DecodePairs(DecodeArgs& args) {
  const int luma = LumaByte(args.order);
  const int cb = 1 - luma;
  const int cr = cb + 2;
  const auto store = [&](Rgb pixel) {
    args.destination[0] = args.isRedFirst ? pixel.red : pixel.blue;
    args.destination[1] = pixel.green;
    args.destination[2] = args.isRedFirst ? pixel.blue : pixel.red;
    if constexpr (pixelBytes == 4) args.destination[3] = 255;
    args.destination += pixelBytes;
  };
  for (std::int32_t pair = 0; pair < args.groups; ++pair) {
    const std::uint8_t* own = args.source;
    const std::uint8_t* before = pair == 0 ? own : own - 4;
    const std::uint8_t* next = pair + 1 == args.groups ? own : own + 4;
    const PixelChroma u = Upsample(args.upsampling, before[cb], own[cb], next[cb]);
    const PixelChroma v = Upsample(args.upsampling, before[cr], own[cr], next[cr]);
    store(Decode(args.weights, own[luma], u.left, v.left));
    store(Decode(args.weights, own[luma + 2], u.right, v.right));
    args.source += 4;
  }
}

}  // namespace

template <>
void DecodeTo24::Run<Scalar>(Args& args) noexcept {
  DecodePairs<3>(args);
}

template <>
void DecodeTo32::Run<Scalar>(Args& args) noexcept {
  DecodePairs<4>(args);
}

}  // namespace kv_img::color
