#pragma once

#include <cstdint>

#include "algorithms/packed422/order.h"
#include "algorithms/simd/wide_level.h"

namespace kv_img::copy {

/// YCbCr to RGB in fixed point; gains in units of 1/8192. The defaults are ITU-R BT.601, studio range.
///
/// With L = floor(luma * (Y - lumaOffset) / 8192), u = Cb - chromaOffset and v = Cr - chromaOffset:
///   R = clamp(L + floor(crToRed * v / 8192))
///   G = clamp(L + floor((cbToGreen * u + crToGreen * v) / 8192))
///   B = clamp(L + floor(cbToBlue * u / 8192)),
/// each clamped to 0 to 255. Any gains; offsets 0 to 255.
struct YuvToRgbMatrix {
  std::int16_t luma = 9539;
  std::int16_t crToRed = 13075;
  std::int16_t cbToGreen = -3209;
  std::int16_t crToGreen = -6660;
  std::int16_t cbToBlue = 16525;
  std::int16_t lumaOffset = 16;
  std::int16_t chromaOffset = 128;
};

/// Converts a packed 4:2:2 row to a bitmap row. Both pixels of a pair take the pair's chroma.
///
/// One group of Yuv422ToDib24 is eight pixels: 16 bytes read at `source`, 24 written at `destination` (blue,
/// green, red). One group of Yuv422ToDib15 and Yuv422ToDib16 is four pixels: 8 bytes read, 8 written
/// (little-endian words). Any alignment, no overlap; touches exactly that many bytes of each. The kernel
/// leaves both pointers behind what it consumed, the SIMD state clean, and keeps no state.
struct YuvToRgbArgs {
  std::int32_t groups;
  PackedOrder order;
  const std::uint8_t* source;
  std::uint8_t* destination;
  YuvToRgbMatrix matrix = {};
};

namespace scalar {
void Yuv422ToDib15(YuvToRgbArgs& args) noexcept;
void Yuv422ToDib16(YuvToRgbArgs& args) noexcept;
void Yuv422ToDib24(YuvToRgbArgs& args) noexcept;
}  // namespace scalar
namespace mmx {
void Yuv422ToDib15(YuvToRgbArgs& args) noexcept;
void Yuv422ToDib16(YuvToRgbArgs& args) noexcept;
void Yuv422ToDib24(YuvToRgbArgs& args) noexcept;
}  // namespace mmx
namespace wide {
template <WideLevel>
void Yuv422ToDib15(YuvToRgbArgs& args) noexcept;
template <WideLevel>
void Yuv422ToDib16(YuvToRgbArgs& args) noexcept;
template <WideLevel>
void Yuv422ToDib24(YuvToRgbArgs& args) noexcept;
}  // namespace wide

}  // namespace kv_img::copy
