#pragma once

#include <cstddef>

#include "image/pixel_descriptor.h"

namespace kv_img::copy {

/// Columns of the position table of bitmap components.
enum class BitmapComponent { Blue, Green, Red, Alpha };

/// Bytes from the start of a pixel to one of its components.
template <class PixelClass>
std::ptrdiff_t OffsetOf(BitmapComponent component, const PixelDescriptorDIB& descriptor) {
  return std::ptrdiff_t{descriptor.Positions()[static_cast<int>(component)]} *
         static_cast<std::ptrdiff_t>(PixelClass::ComponentTypeSize);
}

}  // namespace kv_img::copy
