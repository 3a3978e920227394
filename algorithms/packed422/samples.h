#pragma once

#include <cstddef>
#include <cstdint>

#include "algorithms/packed422/order.h"
#include "image/pixel.h"
#include "image/pixel_descriptor.h"

namespace kv_img {

/// True for the two layout codes that name an order.
constexpr bool IsKnownOrder(std::int32_t layout) {
  return layout == PixelLayout::chromaFirst || layout == PixelLayout::lumaFirst;
}
/// Every layout code but that of chroma-first means luma-first.
constexpr PackedOrder OrderOf(std::int32_t layout) {
  return layout == PixelLayout::chromaFirst ? PackedOrder::ChromaFirst : PackedOrder::LumaFirst;
}

/// Bytes from the start of a packed 4:2:2 row to pixel `column`.
constexpr std::ptrdiff_t PixelOffset(int column) {
  return 2 * std::ptrdiff_t{column};
}

/// Offsets of the samples of a packed 4:2:2 row in bytes from its start. The pixels 2n and 2n + 1 are a pair:
/// four bytes, with the luma of each pixel, one Cb and one Cr.
class PackedSamples {
 public:
  explicit PackedSamples(const PixelDescriptorYUV& descriptor)
      : luma_(Position(descriptor, PixelComponent::Luma)),
        cb_(Position(descriptor, PixelComponent::Cb)),
        cr_(Position(descriptor, PixelComponent::Cr)) {}

  /// Luma of pixel `column`.
  std::ptrdiff_t Luma(int column) const { return PixelOffset(column) + luma_; }
  /// Chroma of the pair that holds pixel `column`.
  std::ptrdiff_t Cb(int column) const { return PixelOffset(column & ~1) + cb_; }
  std::ptrdiff_t Cr(int column) const { return PixelOffset(column & ~1) + cr_; }

  bool operator==(const PackedSamples&) const = default;

 private:
  static std::ptrdiff_t Position(const PixelDescriptorYUV& descriptor, PixelComponent::COMPONENT component) {
    return descriptor.GetPosition(component) * static_cast<std::ptrdiff_t>(PixelYUV422::ComponentTypeSize);
  }

  std::ptrdiff_t luma_;
  std::ptrdiff_t cb_;
  std::ptrdiff_t cr_;
};

/// Writes `pixels` pixels from separate samples, one Cb and Cr per pair; a lone last pixel has its own.
inline void InterleaveSamples(const std::uint8_t* luma, const std::uint8_t* cb, const std::uint8_t* cr,
                              int pixels, std::uint8_t* row, PackedSamples to) {
  for (int x = 0; x < pixels; ++x) row[to.Luma(x)] = luma[x];
  for (int pair = 0; pair < (pixels + 1) / 2; ++pair) {
    row[to.Cb(2 * pair)] = cb[pair];
    row[to.Cr(2 * pair)] = cr[pair];
  }
}

}  // namespace kv_img
