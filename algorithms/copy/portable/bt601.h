#pragma once

#include <algorithm>
#include <cstdint>

#include "algorithms/copy/kernels/color_matrix.h"
#include "algorithms/copy/portable/blocks.h"

// The fixed-point conversions of the kernels, block by block.
namespace kv_img::copy::portable {

inline constexpr YuvToRgbMatrix toRgb;
inline constexpr RgbToYuvMatrix toYuv;

/// The colours, without alpha.
inline void ToRgb(const YuvBlock& from, int pixels, RgbBlock& to) {
  // Sums of a luma and a chroma term fit 16 bits, and every compiler vectorises simple loops over them.
  std::int16_t luma[blockPixels];
  std::int16_t chroma[blockPixels];
  for (int i = 0; i < pixels; ++i) luma[i] = static_cast<std::int16_t>(LumaTerm(toRgb, from.luma[i]));
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
  addTo(to.blue, [](int cb, int) { return BlueTerm(toRgb, cb); });
  addTo(to.green, [](int cb, int cr) { return GreenTerm(toRgb, cb, cr); });
  addTo(to.red, [](int, int cr) { return RedTerm(toRgb, cr); });
}

/// Luma only.
inline void ToLuma(const RgbBlock& from, int pixels, YuvBlock& to) {
  for (int i = 0; i < pixels; ++i) {
    to.luma[i] = LumaOf(Weigh(toYuv.luma, from.red[i], from.green[i], from.blue[i]), toYuv.lumaOffset);
  }
}

/// Chroma only; a lone last pixel is a pair with itself.
inline void ToChroma(const RgbBlock& from, int pixels, YuvBlock& to) {
  const auto cb = [&](int i) { return Weigh(toYuv.cb, from.red[i], from.green[i], from.blue[i]); };
  const auto cr = [&](int i) { return Weigh(toYuv.cr, from.red[i], from.green[i], from.blue[i]); };
  for (int pair = 0; pair < PairsOf(pixels); ++pair) {
    const int first = 2 * pair;
    const int second = std::min(first + 1, pixels - 1);
    to.cb[pair] = ChromaOf(cb(first), cb(second), toYuv.chromaOffset);
    to.cr[pair] = ChromaOf(cr(first), cr(second), toYuv.chromaOffset);
  }
}

}  // namespace kv_img::copy::portable
