#include "algorithms/color/kernels/encode.h"
#include "algorithms/color/kernels/rounding.h"

namespace kv_img::color {
namespace {

struct Rgb {
  std::int32_t red;
  std::int32_t green;
  std::int32_t blue;
};

constexpr Rgb Sum(Rgb a, Rgb b) {
  return {a.red + b.red, a.green + b.green, a.blue + b.blue};
}

constexpr std::int32_t Weighted(const RgbSum& weights, Rgb pixel) {
  return weights.red * pixel.red + weights.green * pixel.green + weights.blue * pixel.blue;
}

/// Four times the colours that the chroma of a pair is made of.
constexpr Rgb Downsample(Downsampling downsampling, Rgb before, Rgb left, Rgb right) {
  const Rgb both = Sum(left, right);
  if (downsampling == Downsampling::Triangle) return Sum(Sum(before, left), both);
  return downsampling == Downsampling::Mean ? Sum(both, both) : Sum(Sum(left, left), Sum(left, left));
}

template <int pixelBytes>
void EncodePairs(EncodeArgs& args) {
  const int luma = LumaByte(args.order);
  const auto pixel = [&](const std::uint8_t* from) -> Rgb {
    return args.isRedFirst ? Rgb{from[0], from[1], from[2]} : Rgb{from[2], from[1], from[0]};
  };
  const auto lumaOf = [&](Rgb colours) {
    return Round<15>(Weighted(args.weights.luma, colours) + args.weights.black * 32768);
  };
  const auto chromaOf = [](const RgbSum& weights, Rgb fourfold) {
    return Round<17>(Weighted(weights, fourfold) + 128 * 131072);
  };
  for (std::int32_t pair = 0; pair < args.groups; ++pair) {
    const Rgb left = pixel(args.source);
    const Rgb right = pixel(args.source + pixelBytes);
    const Rgb before = pair == 0 ? left : pixel(args.source - pixelBytes);
    const Rgb fourfold = Downsample(args.downsampling, before, left, right);
    args.destination[luma] = lumaOf(left);
    args.destination[luma + 2] = lumaOf(right);
    args.destination[1 - luma] = chromaOf(args.weights.cb, fourfold);
    args.destination[3 - luma] = chromaOf(args.weights.cr, fourfold);
    args.source += 2 * pixelBytes;
    args.destination += 4;
  }
}

}  // namespace

template <>
void EncodeFrom24::Run<Scalar>(Args& args) noexcept {
  EncodePairs<3>(args);
}

template <>
void EncodeFrom32::Run<Scalar>(Args& args) noexcept {
  EncodePairs<4>(args);
}

}  // namespace kv_img::color
