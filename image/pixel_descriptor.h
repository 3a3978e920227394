#pragma once

#include <cstdint>

#include "image/export.h"

namespace kv_img {

/// Codes of component orders, as GetLayout and GetPixelLayout give them.
namespace PixelLayout {
inline constexpr std::int32_t chromaFirst = 4097;  ///< Cb Y0 Cr Y1, "UYVY"
inline constexpr std::int32_t lumaFirst = 4098;    ///< Y0 Cb Y1 Cr, "YUY2"
inline constexpr std::int32_t planar = 4099;       ///< luma plane, Cb plane, Cr plane
inline constexpr std::int32_t packed411 = 4100;    ///< Cb Y0 Y1 Cr Y2 Y3
inline constexpr std::int32_t packed211 = 4101;    ///< Cb Y0 Cr Y1, every sample for twice as many pixels
inline constexpr std::int32_t blueFirst = 0x2000;  ///< bitmap: blue, green, red (, alpha)
inline constexpr std::int32_t redFirst = 0x2010;   ///< bitmap: red, green, blue (, alpha)
inline constexpr std::int32_t grey = 0x4000;       ///< one component
}  // namespace PixelLayout

struct PixelComponent {
  enum COMPONENT : int { Cb = 0, Luma = 1, Cr = 2, Alpha = 3 };
};

/// The order of the components in a pixel or pixel group, embedded in the pixel buffer.
class KV_IMAGE_API PixelDescriptor {
 public:
  explicit PixelDescriptor(std::int32_t layout) : layout_(layout) {}
  PixelDescriptor(const PixelDescriptor&) = default;
  PixelDescriptor& operator=(const PixelDescriptor&) = default;
  virtual ~PixelDescriptor();
  virtual std::int32_t GetLayout() const;

  /// First row of each component's plane, in eighths of the image's height: row y of plane P is stored row
  /// (planeStart[P] * height) / 8 + y.
  std::uint32_t planeStart[4] = {0, 0, 0, 0};
  /// Of a bitmap: any of the bits 0xF0 selects the second row of PixelDescriptorDIB::m_position.
  std::uint32_t layoutFlags = 0;

 private:
  std::int32_t layout_;
};

/// How the samples of a YUV class are arranged in memory.
enum class YuvArrangement {
  Packed422,       ///< two pixels in four bytes
  Packed422Alpha,  ///< the same, and a plane of alpha rows after the colour rows
  Planar,          ///< luma rows, Cb rows, Cr rows
  Packed411,       ///< four pixels in six bytes
  Packed211        ///< four pixels in four bytes
};

/// Component order of the YUV classes.
class KV_IMAGE_API PixelDescriptorYUV : public PixelDescriptor {
 public:
  explicit PixelDescriptorYUV(std::int32_t layout, YuvArrangement arrangement = YuvArrangement::Packed422);
  PixelDescriptorYUV(const PixelDescriptorYUV&) = default;
  PixelDescriptorYUV& operator=(const PixelDescriptorYUV&) = default;
  ~PixelDescriptorYUV() override;

  /// The component stored at `index` of a pixel group; of a planar image the component of plane `index`.
  PixelComponent::COMPONENT GetComponent(int index) const;
  /// Index of the component's first sample in its group. Packed 4:2:2: code 4097 gives Cb 0, luma 1, Cr 2,
  /// every other code luma 0, Cb 1, Cr 3. A component that has a plane of its own is at 0.
  int GetPosition(PixelComponent::COMPONENT component) const;

 private:
  YuvArrangement arrangement_;
};

/// Component order of the bitmap classes.
class KV_IMAGE_API PixelDescriptorDIB : public PixelDescriptor {
 public:
  explicit PixelDescriptorDIB(std::int32_t layout);
  PixelDescriptorDIB(const PixelDescriptorDIB&) = default;
  PixelDescriptorDIB& operator=(const PixelDescriptorDIB&) = default;
  ~PixelDescriptorDIB() override;

  /// The bits of `layoutFlags` that select the second row of m_position.
  static constexpr std::uint32_t secondRowMask = 0xF0;
  /// Byte position of blue, green, red and alpha; first row blue-first, second row red-first.
  static const unsigned int m_position[2][4];

  /// The row of m_position that applies.
  const unsigned int* Positions() const { return m_position[(layoutFlags & secondRowMask) != 0 ? 1 : 0]; }
};

}  // namespace kv_img
