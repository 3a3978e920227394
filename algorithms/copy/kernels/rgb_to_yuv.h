#pragma once

#include <cstdint>

#include "algorithms/packed422/order.h"
#include "algorithms/simd/wide_level.h"

namespace kv_img::copy {

/// Weights of one output component in units of 1/32768.
struct RgbWeights {
  std::int16_t red;
  std::int16_t green;
  std::int16_t blue;
};

/// RGB to YCbCr in fixed point; the defaults are ITU-R BT.601, studio range.
///
/// A weighted sum w(R, G, B) is floor((red * R + green * G + blue * B) / 32768) per pixel:
///   Y = luma(R, G, B) + lumaOffset of every pixel,
///   Cb = floor((cb(first pixel) + cb(second pixel)) / 2) + chromaOffset of a pair, Cr likewise.
/// Weights and offsets are such that no pixel has a component outside 0 to 255, before rounding too, and no
/// weight of luma is negative: there is nothing to clamp.
struct RgbToYuvMatrix {
  RgbWeights luma = {8414, 16519, 3208};
  RgbWeights cb = {-4857, -9535, 14392};
  RgbWeights cr = {14392, -12052, -2341};
  std::uint8_t lumaOffset = 16;
  std::uint8_t chromaOffset = 128;
};

/// Converts a bitmap row (blue, green, red, and of 32 bits a fourth byte) to a packed 4:2:2 row.
///
/// One group of Dib24ToYuv422 is eight pixels: 24 bytes read at `source`, 16 written at `destination`. One
/// group of Dib32ToYuv422 is four pixels: 16 bytes read, 8 written; the fourth byte of a pixel has no effect.
/// Any alignment, no overlap; touches exactly that many bytes of each. The kernel leaves the pointers behind
/// what it consumed, the SIMD state clean, and keeps no state.
struct RgbToYuvArgs {
  std::int32_t groups;
  PackedOrder order;
  const std::uint8_t* source;
  std::uint8_t* destination;
  RgbToYuvMatrix matrix = {};
};

/// Dib32ToYuva422 is Dib32ToYuv422 that also copies the fourth byte of every pixel: 4 more bytes written per
/// group, at `alpha`.
struct RgbToYuvaArgs : RgbToYuvArgs {
  std::uint8_t* alpha;
};

namespace scalar {
void Dib24ToYuv422(RgbToYuvArgs& args) noexcept;
void Dib32ToYuv422(RgbToYuvArgs& args) noexcept;
void Dib32ToYuva422(RgbToYuvaArgs& args) noexcept;
}  // namespace scalar
namespace mmx {
void Dib24ToYuv422(RgbToYuvArgs& args) noexcept;
void Dib32ToYuv422(RgbToYuvArgs& args) noexcept;
void Dib32ToYuva422(RgbToYuvaArgs& args) noexcept;
}  // namespace mmx
namespace wide {
template <WideLevel>
void Dib24ToYuv422(RgbToYuvArgs& args) noexcept;
template <WideLevel>
void Dib32ToYuv422(RgbToYuvArgs& args) noexcept;
template <WideLevel>
void Dib32ToYuva422(RgbToYuvaArgs& args) noexcept;
}  // namespace wide

}  // namespace kv_img::copy
