#include "image/pixel_descriptor.h"

namespace kv_img {

PixelDescriptor::~PixelDescriptor() = default;

std::int32_t PixelDescriptor::GetLayout() const {
  return layout_;
}

PixelDescriptorYUV::PixelDescriptorYUV(std::int32_t layout, YuvArrangement arrangement)
    : PixelDescriptor(layout), arrangement_(arrangement) {
  if (arrangement == YuvArrangement::Planar) {
    planeStart[PixelComponent::Cb] = 8;
    planeStart[PixelComponent::Cr] = 16;
  }
  if (arrangement == YuvArrangement::Packed422Alpha) planeStart[PixelComponent::Alpha] = 8;
}
PixelDescriptorYUV::~PixelDescriptorYUV() = default;

PixelComponent::COMPONENT PixelDescriptorYUV::GetComponent(int index) const {
  using enum PixelComponent::COMPONENT;
  static constexpr PixelComponent::COMPONENT chromaFirst[] = {Cb, Luma, Cr, Luma};
  static constexpr PixelComponent::COMPONENT lumaFirst[] = {Luma, Cb, Luma, Cr};
  static constexpr PixelComponent::COMPONENT planes[] = {Luma, Cb, Cr, Alpha};
  static constexpr PixelComponent::COMPONENT packed411[] = {Cb, Luma, Luma, Cr, Luma, Luma};
  switch (arrangement_) {
    case YuvArrangement::Planar:
      return planes[index & 3];
    case YuvArrangement::Packed411:
      return packed411[index % 6];
    case YuvArrangement::Packed211:
      return chromaFirst[index & 3];
    default:
      return GetLayout() == PixelLayout::chromaFirst ? chromaFirst[index & 3] : lumaFirst[index & 3];
  }
}

int PixelDescriptorYUV::GetPosition(PixelComponent::COMPONENT component) const {
  static constexpr int chromaFirst[] = {0, 1, 2, 0};
  static constexpr int lumaFirst[] = {1, 0, 3, 0};
  static constexpr int packed411[] = {0, 1, 3, 0};
  switch (arrangement_) {
    case YuvArrangement::Planar:
      return 0;
    case YuvArrangement::Packed411:
      return packed411[component & 3];
    case YuvArrangement::Packed211:
      return chromaFirst[component & 3];
    default:
      return GetLayout() == PixelLayout::chromaFirst ? chromaFirst[component & 3] : lumaFirst[component & 3];
  }
}

PixelDescriptorDIB::PixelDescriptorDIB(std::int32_t layout) : PixelDescriptor(layout) {
  layoutFlags = static_cast<std::uint32_t>(layout) & 0xFFU;
}
PixelDescriptorDIB::~PixelDescriptorDIB() = default;

// Said again, so that Windows, too, has the constant in this library for whoever takes its address.
constexpr std::uint32_t PixelDescriptorDIB::secondRowMask;
const unsigned int PixelDescriptorDIB::m_position[2][4] = {{0, 1, 2, 3}, {2, 1, 0, 3}};

}  // namespace kv_img
