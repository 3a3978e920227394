#pragma once

#include <cstdint>

#include "image/video_image_properties.h"

namespace kv_img {

/// The memory of an image and how to read it.
///
/// Pixel x of row y starts at rows[y] + (NbrOfBitsPerPixel / 8) * x; a component of a packed pixel is
/// position * ComponentTypeSize bytes further on. Of planar classes `rows` holds the rows of every plane (see
/// PixelDescriptor::planeStart).
template <class Descriptor>
struct PixelBuffer {
  /// Row start addresses, row 0 first.
  std::uint8_t** rows;
  /// The lowest address of the pixel memory.
  std::uint8_t* data;
  Descriptor descriptor;
  /// Pixels per row and rows of one plane.
  std::int32_t width;
  std::int32_t height;
  VideoImageProperties properties;
  /// Bytes of one stored row. If rows are contiguous, this is their stride.
  std::int32_t bytesPerRow;
  /// How the rows are stored: same-layout copies take images with equal flags as one block.
  std::uint8_t storageFlag;
  /// Bytes of the whole pixel memory, spare bytes after the last row not counted.
  std::uint64_t totalBytes;
};

}  // namespace kv_img
