#pragma once

#include <algorithm>
#include <cstdint>
#include <memory>
#include <random>

#include "capi/kv/kv.h"
#include "image/image.h"

namespace kv_test {

/// Where the bytes of a row are on its page.
enum class Placement { EndOfPage, StartOfPage };

/// A frame each of whose rows has pages of its own between pages that nobody may touch: a byte read or written
/// beyond the side of a row that is at the border of its page ends the test by name.
class GuardedFrame {
 public:
  GuardedFrame(int format, int width, int height, Placement placement, bool isBottomUp = false);
  GuardedFrame(const GuardedFrame&) = delete;
  GuardedFrame& operator=(const GuardedFrame&) = delete;
  ~GuardedFrame();

  kv_frame* operator->() { return &view_; }
  kv_frame* Get() { return &view_; }
  const kv_frame* Get() const { return &view_; }
  int Planes() const { return planes_; }
  std::int64_t RowBytes(int plane) const;
  std::uint8_t* Row(int plane, int row) const { return view_.planes[plane] + row * view_.strides[plane]; }
  /// Random bytes in all rows; `largest` makes them smaller than a byte may be.
  void Fill(std::mt19937& random, int largest = 255);
  /// The bytes of another frame of the same format and size.
  void CopyFrom(const GuardedFrame& other);
  bool Equals(const GuardedFrame& other) const;

 private:
  kv_frame view_;
  int planes_ = 0;
  std::uint8_t* memory_[4] = {};
  std::size_t bytes_[4] = {};
};

/// The plane of an image that plane `plane` of a frame corresponds to.
template <class PixelClass>
kv_img::PixelComponent::COMPONENT ComponentOf(int plane) {
  using enum kv_img::PixelComponent::COMPONENT;
  constexpr kv_img::PixelComponent::COMPONENT planar[] = {Luma, Cb, Cr};
  if constexpr (std::is_same_v<PixelClass, kv_img::PixelYUVA422>) return plane == 0 ? Luma : Alpha;
  if constexpr (std::is_same_v<PixelClass, kv_img::PixelYUV411P>) return planar[plane];
  return Luma;
}

inline std::int32_t LayoutOf(int format) {
  const bool isChromaFirst = format == KV_FORMAT_UYVY || format == KV_FORMAT_UYVYA;
  return isChromaFirst ? kv_img::PixelLayout::chromaFirst : kv_img::PixelLayout::lumaFirst;
}

/// An image of the family's own with the bytes and the facts of a frame.
template <class PixelClass>
std::unique_ptr<kv_img::Image<PixelClass>> ImageOf(const GuardedFrame& frame) {
  kv_img::ImageOptions options;
  if (frame.Get()->format <= KV_FORMAT_YUY2A) options.layout = LayoutOf(frame.Get()->format);
  options.properties.fieldParity = static_cast<std::uint8_t>(frame.Get()->row_parity);
  options.properties.fieldOrder = frame.Get()->field_order == KV_FIELDS_BOTTOM_FIRST ? 1 : 0;
  options.rowSlack = 256;
  auto image = std::make_unique<kv_img::Image<PixelClass>>(frame.Get()->width, frame.Get()->height, options);
  for (int plane = 0; plane < frame.Planes(); ++plane) {
    for (int row = 0; row < frame.Get()->height; ++row) {
      std::copy_n(frame.Row(plane, row), frame.RowBytes(plane),
                  image->PlaneRow(ComponentOf<PixelClass>(plane), row).data());
    }
  }
  return image;
}

/// The first row of the frame whose bytes are not the image's; -1: all are.
template <class PixelClass>
int FirstDifference(const GuardedFrame& frame, const kv_img::Image<PixelClass>& image) {
  for (int row = 0; row < frame.Get()->height; ++row) {
    for (int plane = 0; plane < frame.Planes(); ++plane) {
      const std::uint8_t* expected = image.PlaneRow(ComponentOf<PixelClass>(plane), row).data();
      if (!std::equal(expected, expected + frame.RowBytes(plane), frame.Row(plane, row))) return row;
    }
  }
  return -1;
}

/// A context that ends with the test.
struct ContextDeleter {
  void operator()(kv_context* context) const { kv_context_free(context); }
};
using Context = std::unique_ptr<kv_context, ContextDeleter>;
Context MakeContext(int threads = 1, const char* member = nullptr);

struct RegionDeleter {
  void operator()(kv_region* region) const { kv_region_free(region); }
};
using Region = std::unique_ptr<kv_region, RegionDeleter>;
Region Rectangle(int left, int top, int width, int height);

}  // namespace kv_test
