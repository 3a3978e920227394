#pragma once

#include <cstdint>

#include "algorithms/rounding.h"

// YCbCr and RGB in fixed point. The defaults of both matrices are ITU-R BT.601, studio range: luma 16 to 235,
// chroma 16 to 240 around 128, RGB 0 to 255. Right shifts of negative values round down.

namespace kv_img::copy {

struct Rgb {
  std::uint8_t red;
  std::uint8_t green;
  std::uint8_t blue;

  constexpr bool operator==(const Rgb&) const = default;
};

/// Gains in units of 1/8192, any; offsets 0 to 255.
struct YuvToRgbMatrix {
  std::int16_t luma = 9539;
  std::int16_t crToRed = 13075;
  std::int16_t cbToGreen = -3209;
  std::int16_t crToGreen = -6660;
  std::int16_t cbToBlue = 16525;
  std::int16_t lumaOffset = 16;
  std::int16_t chromaOffset = 128;
};

// What luma gives to every colour, and what the chroma of a pair adds to each.
constexpr int LumaTerm(const YuvToRgbMatrix& matrix, int luma) {
  return (matrix.luma * (luma - matrix.lumaOffset)) >> 13;
}
constexpr int RedTerm(const YuvToRgbMatrix& matrix, int cr) {
  return (matrix.crToRed * (cr - matrix.chromaOffset)) >> 13;
}
constexpr int GreenTerm(const YuvToRgbMatrix& matrix, int cb, int cr) {
  return (matrix.cbToGreen * (cb - matrix.chromaOffset) + matrix.crToGreen * (cr - matrix.chromaOffset)) >>
         13;
}
constexpr int BlueTerm(const YuvToRgbMatrix& matrix, int cb) {
  return (matrix.cbToBlue * (cb - matrix.chromaOffset)) >> 13;
}
static_assert(LumaTerm({}, 235) == 255 && LumaTerm({}, 16) == 0 && LumaTerm({}, 0) == -19);
static_assert(RedTerm({}, 128) == 0 && GreenTerm({}, 128, 128) == 0 && BlueTerm({}, 128) == 0);
static_assert(RedTerm({}, 127) == -2 && GreenTerm({}, 129, 128) == -1 && BlueTerm({}, 127) == -3);

constexpr Rgb RgbOf(const YuvToRgbMatrix& matrix, int luma, int cb, int cr) {
  const int grey = LumaTerm(matrix, luma);
  return {ClampToByte(grey + RedTerm(matrix, cr)), ClampToByte(grey + GreenTerm(matrix, cb, cr)),
          ClampToByte(grey + BlueTerm(matrix, cb))};
}
static_assert(RgbOf({}, 235, 128, 128) == Rgb{255, 255, 255} && RgbOf({}, 16, 128, 128) == Rgb{0, 0, 0});
static_assert(RgbOf({}, 0, 128, 128) == Rgb{0, 0, 0} && RgbOf({}, 255, 128, 255) == Rgb{255, 174, 255});
static_assert(RgbOf({}, 126, 90, 200) == Rgb{242, 84, 51});

/// Weights of one output component in units of 1/32768.
struct RgbWeights {
  std::int16_t red;
  std::int16_t green;
  std::int16_t blue;
};

/// With its weights and offsets no pixel has a component outside 0 to 255, before rounding too, and no weight
/// of luma is negative: there is nothing to clamp.
struct RgbToYuvMatrix {
  RgbWeights luma = {8414, 16519, 3208};
  RgbWeights cb = {-4857, -9535, 14392};
  RgbWeights cr = {14392, -12052, -2341};
  std::uint8_t lumaOffset = 16;
  std::uint8_t chromaOffset = 128;
};

constexpr int Weigh(const RgbWeights& weights, int red, int green, int blue) {
  return (weights.red * red + weights.green * green + weights.blue * blue) >> 15;
}
static_assert(Weigh(RgbToYuvMatrix().cb, 255, 255, 255) == 0 &&
              Weigh(RgbToYuvMatrix().cr, 255, 255, 255) == -1);
static_assert(Weigh(RgbToYuvMatrix().cr, 255, 0, 0) == 111 && Weigh(RgbToYuvMatrix().cb, 255, 0, 0) == -38);

/// Luma of a pixel, from its weighed colours.
constexpr std::uint8_t LumaOf(int weighed, int offset) {
  return static_cast<std::uint8_t>(weighed + offset);
}
static_assert(LumaOf(Weigh(RgbToYuvMatrix().luma, 255, 255, 255), 16) == 234 && LumaOf(0, 16) == 16);

/// Chroma of a pair, from the weighed colours of both pixels.
constexpr std::uint8_t ChromaOf(int first, int second, int offset) {
  return static_cast<std::uint8_t>(((first + second) >> 1) + offset);
}
static_assert(ChromaOf(-1, -1, 128) == 127 && ChromaOf(-1, 0, 128) == 127 && ChromaOf(1, 0, 128) == 128);

}  // namespace kv_img::copy
