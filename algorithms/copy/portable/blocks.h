#pragma once

#include <cstdint>

namespace kv_img::copy::portable {

/// Rows are converted in blocks of up to this many pixels: a multiple of every format's pixel group.
inline constexpr int blockPixels = 256;

/// Pixels of any YUV or grey format: chroma once per pixel pair; a lone last pixel has its own.
struct YuvBlock {
  std::uint8_t luma[blockPixels];
  std::uint8_t cb[blockPixels / 2];
  std::uint8_t cr[blockPixels / 2];
  std::uint8_t alpha[blockPixels];
};

/// Pixels of any bitmap format.
struct RgbBlock {
  std::uint8_t blue[blockPixels];
  std::uint8_t green[blockPixels];
  std::uint8_t red[blockPixels];
  std::uint8_t alpha[blockPixels];
};

inline constexpr std::uint8_t opaque = 255;
inline constexpr std::uint8_t neutralChroma = 128;

constexpr int PairsOf(int pixels) {
  return (pixels + 1) / 2;
}
constexpr int QuadsOf(int pixels) {
  return (pixels + 3) / 4;
}

}  // namespace kv_img::copy::portable
