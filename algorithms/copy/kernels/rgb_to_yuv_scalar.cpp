#include "algorithms/copy/kernels/rgb_to_yuv.h"

namespace kv_img::copy {
namespace {

/// Converts `pairs` pixel pairs of `pixelBytes` bytes a pixel.
void ConvertPairs(RgbToYuv::Args& args, std::int32_t pairs, int pixelBytes) {
  const RgbToYuvMatrix matrix = args.matrix;
  for (std::int32_t pair = 0; pair < pairs; ++pair) {
    const std::uint8_t* left = args.source;
    const std::uint8_t* right = args.source + pixelBytes;
    const auto weighLeft = [&](const RgbWeights& weights) {
      return Weigh(weights, left[2], left[1], left[0]);
    };
    const auto weighRight = [&](const RgbWeights& weights) {
      return Weigh(weights, right[2], right[1], right[0]);
    };
    std::uint8_t* luma = args.destination + LumaByte(args.order);
    std::uint8_t* chroma = args.destination + ChromaByte(args.order);
    luma[0] = LumaOf(weighLeft(matrix.luma), matrix.lumaOffset);
    luma[2] = LumaOf(weighRight(matrix.luma), matrix.lumaOffset);
    chroma[0] = ChromaOf(weighLeft(matrix.cb), weighRight(matrix.cb), matrix.chromaOffset);
    chroma[2] = ChromaOf(weighLeft(matrix.cr), weighRight(matrix.cr), matrix.chromaOffset);
    args.source += 2 * pixelBytes;
    args.destination += 4;
  }
}

}  // namespace

template <>
void Dib24ToYuv422::Run<Scalar>(Args& args) noexcept {
  ConvertPairs(args, 4 * args.groups, 3);
}

template <>
void Dib32ToYuv422::Run<Scalar>(Args& args) noexcept {
  ConvertPairs(args, 2 * args.groups, 4);
}

template <>
void Dib32ToYuva422::Run<Scalar>(Args& args) noexcept {
  for (std::int32_t pixel = 0; pixel < 4 * args.groups; ++pixel) *args.alpha++ = args.source[4 * pixel + 3];
  ConvertPairs(args, 2 * args.groups, 4);
}

}  // namespace kv_img::copy
