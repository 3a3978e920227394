#include "algorithms/copy/kernels/dib_word.h"
#include "algorithms/copy/kernels/yuv_to_rgb.h"

namespace kv_img::copy {
namespace {

/// Converts `count` pixels; `store(pixel, destination)` writes one and returns the place of the next.
template <class Store>
void ConvertPixels(YuvToRgb::Args& args, std::int32_t count, Store store) {
  const YuvToRgbMatrix matrix = args.matrix;
  const std::uint8_t* luma = args.source + LumaByte(args.order);
  const std::uint8_t* chroma = args.source + ChromaByte(args.order);
  std::uint8_t* to = args.destination;
  for (std::int32_t pair = 0; pair < count / 2; ++pair) {
    const Rgb left = RgbOf(matrix, luma[0], chroma[0], chroma[2]);
    const Rgb right = RgbOf(matrix, luma[2], chroma[0], chroma[2]);
    to = store(right, store(left, to));
    luma += 4;
    chroma += 4;
  }
  args.source += 2 * count;
  args.destination = to;
}

std::uint8_t* StoreWord(std::uint16_t word, std::uint8_t* destination) {
  destination[0] = static_cast<std::uint8_t>(word);
  destination[1] = static_cast<std::uint8_t>(word >> 8);
  return destination + 2;
}

}  // namespace

template <>
void Yuv422ToDib15::Run<Scalar>(Args& args) noexcept {
  ConvertPixels(args, 4 * args.groups, [](Rgb pixel, std::uint8_t* destination) {
    return StoreWord(Dib15Word(pixel.red, pixel.green, pixel.blue), destination);
  });
}

template <>
void Yuv422ToDib16::Run<Scalar>(Args& args) noexcept {
  ConvertPixels(args, 4 * args.groups, [](Rgb pixel, std::uint8_t* destination) {
    return StoreWord(Dib16Word(pixel.red, pixel.green, pixel.blue), destination);
  });
}

template <>
void Yuv422ToDib24::Run<Scalar>(Args& args) noexcept {
  ConvertPixels(args, 8 * args.groups, [](Rgb pixel, std::uint8_t* destination) {
    destination[0] = pixel.blue;
    destination[1] = pixel.green;
    destination[2] = pixel.red;
    return destination + 3;
  });
}

}  // namespace kv_img::copy
