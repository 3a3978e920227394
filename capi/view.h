#pragma once

#include <algorithm>
#include <memory>
#include <type_traits>

#include "capi/checks.h"
#include "image/image.h"
#include "image/region_of_support.h"

namespace kv_capi {

/// An image of the family over rows of the caller's, without a copy.
///
/// Rows count as stored one by one, so that no copy takes their memory as one block; a row's bytes are its whole
/// pixel groups.
template <class PixelClass>
class View {
 public:
  using Image = kv_img::Image<PixelClass>;

  /// Rows `first` to first + count - 1 of a frame.
  View(const Frame& frame, int first, int count)
      : View(frame.width, count, frame.format->layout,
             static_cast<int>(RowBytes(*frame.format, 0, frame.width))) {
    for (int plane = 0; plane < planeCount; ++plane) Point(frame, plane, first, 0, count);
    SetProperties(frame);
  }
  explicit View(const Frame& frame) : View(frame, 0, frame.height) {}

  /// A frame of which nothing is touched but the rows of a region: windows end where it ends.
  View(const Frame& frame, const kv_img::RegionOfSupport& region)
      : View(frame.width, frame.height, frame.format->layout,
             static_cast<int>(RowBytes(*frame.format, 0, frame.width))) {
    const int first = std::max(region.GetTop(), 0);
    const int last = std::min(region.GetBottom(), frame.height - 1);
    for (int plane = 0; plane < planeCount; ++plane) Point(frame, plane, first, first, last - first + 1);
    SetProperties(frame);
  }

  /// A view whose rows are set afterwards.
  View(int width, int height, std::int32_t layout, int bytesPerRow)
      : rows_(new std::uint8_t*[static_cast<std::size_t>(height) * planeCount]),
        image_(1, 1, kv_img::WrappedRows::Strided(Nowhere(), sizeof(Nowhere_)), OptionsFor(layout)) {
    auto& buffer = image_.GetPixelBuffer();
    buffer.rows = rows_.get();
    buffer.data = Nowhere();
    buffer.width = width;
    buffer.height = height;
    buffer.bytesPerRow = bytesPerRow;
    buffer.totalBytes = 0;
  }

  Image& operator*() { return image_; }
  const Image& operator*() const { return image_; }
  Image* operator->() { return &image_; }

  /// The rows of a plane, to be read or replaced.
  std::uint8_t** PlaneRows(int plane = 0) {
    return rows_.get() + plane * std::ptrdiff_t{image_.GetPixelBuffer().height};
  }

 private:
  static constexpr int planeCount = std::is_same_v<PixelClass, kv_img::PixelYUV411P>   ? 3
                                    : std::is_same_v<PixelClass, kv_img::PixelYUVA422> ? 2
                                                                                       : 1;
  struct Nowhere_ {
    std::uint8_t bytes[64];
  };
  static std::uint8_t* Nowhere() {
    static Nowhere_ nowhere;
    return nowhere.bytes;
  }
  static kv_img::ImageOptions OptionsFor(std::int32_t layout) {
    kv_img::ImageOptions options;
    options.layout = layout;
    options.properties.propertyFlag = 1;
    return options;
  }

  /// Rows of the view from `to` on are those of the frame from `from` on.
  void Point(const Frame& frame, int plane, int from, int to, int count) {
    const std::int64_t stride = frame.view->strides[plane];
    std::uint8_t* const top = frame.Row(plane, from);
    std::uint8_t** rows = PlaneRows(plane) + to;
    for (int row = 0; row < count; ++row) rows[row] = top + row * stride;
  }
  void SetProperties(const Frame& frame) {
    auto& properties = image_.GetPixelBuffer().properties;
    properties.fieldOrder = frame.view->field_order == KV_FIELDS_BOTTOM_FIRST ? 1 : 0;
    properties.fieldParity = static_cast<std::uint8_t>(frame.view->row_parity);
  }

  std::unique_ptr<std::uint8_t*[]> rows_;
  Image image_;
};

using Packed = kv_img::PixelYUV422;
using PackedAlpha = kv_img::PixelYUVA422;
using Planar = kv_img::PixelYUV411P;
using Grey = kv_img::PixelNoColor<unsigned char>;
using Bitmap24 = kv_img::PixelDIB24;
using Bitmap32 = kv_img::PixelDIB32;

}  // namespace kv_capi
