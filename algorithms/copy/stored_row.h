#pragma once

#include <cstdint>

#include "image/pixel_buffer.h"
#include "image/pixel_descriptor.h"

namespace kv_img::copy {

/// Row `row` of the plane that holds `component`; `planeStart` counts in eighths of the height.
inline std::uint8_t* StoredRow(const PixelBuffer<PixelDescriptorYUV>& buffer,
                               PixelComponent::COMPONENT component, int row) {
  const std::uint32_t planeRow =
      buffer.descriptor.planeStart[component] * static_cast<std::uint32_t>(buffer.height) / 8U;
  return buffer.rows[planeRow + static_cast<std::uint32_t>(row)];
}

}  // namespace kv_img::copy
