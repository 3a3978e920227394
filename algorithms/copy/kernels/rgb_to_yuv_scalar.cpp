#include "algorithms/copy/kernels/rgb_to_yuv.h"

namespace kv_img::copy {
namespace {

/// floor of the weighted sum
constexpr int Weigh(const RgbWeights& weights, int red, int green, int blue) {
  return (weights.red * red + weights.green * green + weights.blue * blue) >> 15;
}

constexpr std::uint8_t Luma(int weighed, int offset) {
  return static_cast<std::uint8_t>(weighed + offset);
}

constexpr std::uint8_t Chroma(int first, int second, int offset) {
  return static_cast<std::uint8_t>(((first + second) >> 1) + offset);
}

constexpr RgbToYuvMatrix bt601;
static_assert(Luma(Weigh(bt601.luma, 255, 255, 255), 16) == 234 &&
              Luma(Weigh(bt601.luma, 0, 0, 0), 16) == 16);
static_assert(Weigh(bt601.cb, 255, 255, 255) == 0 && Weigh(bt601.cr, 255, 255, 255) == -1);
static_assert(Weigh(bt601.cr, 255, 0, 0) == 111 && Weigh(bt601.cb, 255, 0, 0) == -38);
static_assert(Chroma(-1, -1, 128) == 127 && Chroma(-1, 0, 128) == 127 && Chroma(1, 0, 128) == 128);

/// Converts `pairs` pixel pairs of `pixelBytes` bytes a pixel.
void ConvertPairs(RgbToYuv::Args& args, std::int32_t pairs, int pixelBytes) {
  const RgbToYuvMatrix& matrix = args.matrix;
  const bool isLumaFirst = args.order == PackedOrder::LumaFirst;
  for (std::int32_t pair = 0; pair < pairs; ++pair) {
    const std::uint8_t* left = args.source;
    const std::uint8_t* right = args.source + pixelBytes;
    const auto weighLeft = [&](const RgbWeights& weights) {
      return Weigh(weights, left[2], left[1], left[0]);
    };
    const auto weighRight = [&](const RgbWeights& weights) {
      return Weigh(weights, right[2], right[1], right[0]);
    };
    std::uint8_t* luma = args.destination + (isLumaFirst ? 0 : 1);
    std::uint8_t* chroma = args.destination + (isLumaFirst ? 1 : 0);
    luma[0] = Luma(weighLeft(matrix.luma), matrix.lumaOffset);
    luma[2] = Luma(weighRight(matrix.luma), matrix.lumaOffset);
    chroma[0] = Chroma(weighLeft(matrix.cb), weighRight(matrix.cb), matrix.chromaOffset);
    chroma[2] = Chroma(weighLeft(matrix.cr), weighRight(matrix.cr), matrix.chromaOffset);
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
