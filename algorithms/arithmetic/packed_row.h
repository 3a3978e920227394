#pragma once

#include <cstdint>

#include "image/image.h"

namespace kv_img::arithmetic {

/// Bytes from one pixel of a packed 4:2:2 row to the next.
inline std::int32_t BytesPerPixel() {
  return static_cast<std::int32_t>(PixelYUV422::NbrOfBitsPerPixel / 8);
}

/// The byte of a packed 4:2:2 image that holds `component` of pixel `column`, or of its pair.
inline std::uint8_t* ComponentAt(const Image<PixelYUV422>::Buffer& buffer, std::int32_t row,
                                 std::int32_t column, PixelComponent::COMPONENT component) {
  return buffer.rows[row] + std::ptrdiff_t{column} * BytesPerPixel() +
         buffer.descriptor.GetPosition(component);
}

/// The first byte of pixel `column`.
inline std::uint8_t* PixelAt(const Image<PixelYUV422>::Buffer& buffer, std::int32_t row,
                             std::int32_t column) {
  return ComponentAt(buffer, row, column, buffer.descriptor.GetComponent(0));
}

/// The byte of every two-byte pixel that holds the luma: 1 behind the chroma, 0 before it.
inline std::int32_t LumaByte(const Image<PixelYUV422>::Buffer& buffer) {
  return buffer.descriptor.GetLayout() == PixelLayout::chromaFirst ? 1 : 0;
}

}  // namespace kv_img::arithmetic
