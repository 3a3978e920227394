#include "algorithms/copy/kernels/dib_word.h"
#include "algorithms/copy/kernels/yuv_to_rgb.h"

namespace kv_img::copy {
namespace {

struct Rgb {
  std::uint8_t red;
  std::uint8_t green;
  std::uint8_t blue;

  constexpr bool operator==(const Rgb&) const = default;
};

constexpr std::uint8_t Clamp(int value) {
  return static_cast<std::uint8_t>(value < 0 ? 0 : value > 255 ? 255 : value);
}

/// floor(product / 8192)
constexpr int Scale(int product) {
  return product >> 13;
}

constexpr Rgb Convert(const YuvToRgbMatrix& matrix, int luma, int cb, int cr) {
  const int l = Scale(matrix.luma * (luma - matrix.lumaOffset));
  const int u = cb - matrix.chromaOffset;
  const int v = cr - matrix.chromaOffset;
  return {Clamp(l + Scale(matrix.crToRed * v)), Clamp(l + Scale(matrix.cbToGreen * u + matrix.crToGreen * v)),
          Clamp(l + Scale(matrix.cbToBlue * u))};
}
static_assert(Scale(-1) == -1 && Scale(9539 * -16) == -19 && Scale(9539 * 219) == 255);
static_assert(Convert({}, 235, 128, 128) == Rgb{255, 255, 255} && Convert({}, 16, 128, 128) == Rgb{0, 0, 0});
static_assert(Convert({}, 0, 128, 128) == Rgb{0, 0, 0} && Convert({}, 255, 128, 255) == Rgb{255, 174, 255});
static_assert(Convert({}, 126, 90, 200) == Rgb{242, 84, 51});

/// Converts `count` pixels; `store(pixel, destination)` writes one and returns the place of the next.
template <class Store>
void ConvertPixels(YuvToRgb::Args& args, std::int32_t count, Store store) {
  const bool isLumaFirst = args.order == PackedOrder::LumaFirst;
  for (std::int32_t pair = 0; pair < count / 2; ++pair) {
    const std::uint8_t* luma = args.source + (isLumaFirst ? 0 : 1);
    const std::uint8_t* chroma = args.source + (isLumaFirst ? 1 : 0);
    const Rgb left = Convert(args.matrix, luma[0], chroma[0], chroma[2]);
    const Rgb right = Convert(args.matrix, luma[2], chroma[0], chroma[2]);
    args.destination = store(left, args.destination);
    args.destination = store(right, args.destination);
    args.source += 4;
  }
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
