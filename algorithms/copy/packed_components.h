#pragma once

#include <cstddef>
#include <cstdint>

#include "algorithms/copy/kernels/packed_order.h"
#include "image/pixel_descriptor.h"

namespace kv_img::copy {

/// Every code but that of chroma-first means luma-first.
inline PackedOrder OrderOf(const PixelDescriptorYUV& descriptor) {
  return descriptor.GetLayout() == PixelLayout::chromaFirst ? PackedOrder::ChromaFirst
                                                            : PackedOrder::LumaFirst;
}

/// True for the two codes that name an order.
inline bool IsKnownOrder(const PixelDescriptorYUV& descriptor) {
  const std::int32_t layout = descriptor.GetLayout();
  return layout == PixelLayout::chromaFirst || layout == PixelLayout::lumaFirst;
}

/// The first sample of each component of a packed 4:2:2 row. Luma lies every 2 bytes, Cb and Cr every 4.
template <class Byte>
struct PackedComponents {
  Byte* luma;
  Byte* cb;
  Byte* cr;
};

template <class PixelClass, class Byte>
PackedComponents<Byte> PackedComponentsOf(Byte* row, const PixelDescriptorYUV& descriptor) {
  const auto componentBytes = static_cast<std::ptrdiff_t>(PixelClass::ComponentTypeSize);
  return {row + descriptor.GetPosition(PixelComponent::Luma) * componentBytes,
          row + descriptor.GetPosition(PixelComponent::Cb) * componentBytes,
          row + descriptor.GetPosition(PixelComponent::Cr) * componentBytes};
}

}  // namespace kv_img::copy
