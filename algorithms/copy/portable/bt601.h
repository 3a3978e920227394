#pragma once

#include <algorithm>
#include <cstdint>

#include "algorithms/copy/kernels/rgb_to_yuv.h"
#include "algorithms/copy/kernels/yuv_to_rgb.h"
#include "algorithms/copy/portable/blocks.h"

// The fixed-point conversions of the kernels, block by block: studio-range YCbCr of ITU-R BT.601 (luma 16 to
// 235, chroma 16 to 240 around 128) against RGB of 0 to 255. Right shifts of negative values round down.
namespace kv_img::copy::portable {

inline constexpr YuvToRgbMatrix toRgb;
inline constexpr RgbToYuvMatrix toYuv;

constexpr std::uint8_t Saturate(int value) {
  return static_cast<std::uint8_t>(std::clamp(value, 0, 255));
}

// What luma gives to every colour, and what the chroma of a pair adds to each.
constexpr int LumaTerm(int y) {
  return (toRgb.luma * (y - toRgb.lumaOffset)) >> 13;
}
constexpr int RedTerm(int cr) {
  return (toRgb.crToRed * (cr - toRgb.chromaOffset)) >> 13;
}
constexpr int GreenTerm(int cb, int cr) {
  return (toRgb.cbToGreen * (cb - toRgb.chromaOffset) + toRgb.crToGreen * (cr - toRgb.chromaOffset)) >> 13;
}
constexpr int BlueTerm(int cb) {
  return (toRgb.cbToBlue * (cb - toRgb.chromaOffset)) >> 13;
}
static_assert(LumaTerm(235) == 255 && LumaTerm(16) == 0 && LumaTerm(0) == -19);
static_assert(RedTerm(128) == 0 && GreenTerm(128, 128) == 0 && BlueTerm(128) == 0 && BlueTerm(127) == -3);

constexpr int Weigh(const RgbWeights& weights, int red, int green, int blue) {
  return (weights.red * red + weights.green * green + weights.blue * blue) >> 15;
}
constexpr std::uint8_t LumaOf(int red, int green, int blue) {
  return Saturate(Saturate(Weigh(toYuv.luma, red, green, blue)) + toYuv.lumaOffset);
}
constexpr std::uint8_t PairChroma(int weighed1, int weighed2) {
  return Saturate(((weighed1 + weighed2) >> 1) + toYuv.chromaOffset);
}
static_assert(LumaOf(255, 255, 255) == 234 && LumaOf(0, 0, 0) == 16);
static_assert(Weigh(toYuv.cb, 255, 0, 0) == -38 && Weigh(toYuv.cr, 255, 0, 0) == 111);
static_assert(Weigh(toYuv.cr, 255, 255, 255) == -1 && PairChroma(-1, 0) == 127);

/// The colours; alpha is left.
inline void ToRgb(const YuvBlock& from, int pixels, RgbBlock& to) {
  // Sums of a luma and a chroma term fit 16 bits, and simple loops over them suit every compiler.
  std::int16_t luma[blockPixels];
  std::int16_t chroma[blockPixels];
  for (int i = 0; i < pixels; ++i) luma[i] = static_cast<std::int16_t>(LumaTerm(from.luma[i]));
  const auto addTo = [&](std::uint8_t* colour, auto termOf) {
    for (int pair = 0; pair < PairsOf(pixels); ++pair) {
      const auto term = static_cast<std::int16_t>(termOf(from.cb[pair], from.cr[pair]));
      chroma[2 * pair] = term;
      chroma[2 * pair + 1] = term;
    }
    for (int i = 0; i < pixels; ++i) {
      const auto sum = static_cast<std::int16_t>(luma[i] + chroma[i]);
      colour[i] = static_cast<std::uint8_t>(std::clamp<std::int16_t>(sum, 0, 255));
    }
  };
  addTo(to.blue, [](int cb, int) { return BlueTerm(cb); });
  addTo(to.green, [](int cb, int cr) { return GreenTerm(cb, cr); });
  addTo(to.red, [](int, int cr) { return RedTerm(cr); });
}

/// The luma alone.
inline void ToLuma(const RgbBlock& from, int pixels, YuvBlock& to) {
  for (int i = 0; i < pixels; ++i) to.luma[i] = LumaOf(from.red[i], from.green[i], from.blue[i]);
}

/// The chroma alone; a lone last pixel is a pair with itself.
inline void ToChroma(const RgbBlock& from, int pixels, YuvBlock& to) {
  const auto cb = [&](int i) { return Weigh(toYuv.cb, from.red[i], from.green[i], from.blue[i]); };
  const auto cr = [&](int i) { return Weigh(toYuv.cr, from.red[i], from.green[i], from.blue[i]); };
  for (int pair = 0; pair < PairsOf(pixels); ++pair) {
    const int first = 2 * pair;
    const int second = std::min(first + 1, pixels - 1);
    to.cb[pair] = PairChroma(cb(first), cb(second));
    to.cr[pair] = PairChroma(cr(first), cr(second));
  }
}

}  // namespace kv_img::copy::portable
