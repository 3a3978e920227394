#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "algorithms/featurefind/kernels/block_sad.h"
#include "algorithms/featurefind/kernels/luma_bytes.h"
#include "algorithms/kernel_sets.h"
#include "algorithms/packed422/samples.h"
#include "image/image.h"

namespace kv_img::featurefind {

/// Reads the samples that a search compares, one byte per pixel. Specialised for the formats:
/// - constructed from the pixel buffer;
/// - `Read(row, column, count, destination)` reads `count` pixels and nothing past them.
template <class Set, class ImageType>
class SampleReader;

/// Luma of packed 4:2:2.
template <class Set>
class SampleReader<Set, Image<PixelYUV422>> {
 public:
  using Buffer = Image<PixelYUV422>::Buffer;

  explicit SampleReader(const Buffer& buffer)
      : rows_(buffer.rows), order_(OrderOf(buffer.descriptor.GetLayout())) {}

  void Read(int row, int column, int count, std::uint8_t* destination) const {
    const std::uint8_t* source = rows_[row] + PixelOffset(column);
    LumaBytes::Args args{count / 8, source, destination, order_};
    Set::template Run<LumaBytes>(args);
    if (count % 8 == 0) return;
    if (count > 8) {
      // The last eight pixels, some of them again.
      args = {1, source + PixelOffset(count - 8), destination + count - 8, order_};
      Set::template Run<LumaBytes>(args);
      return;
    }
    for (int pixel = 0; pixel < count; ++pixel)
      destination[pixel] = source[PixelOffset(pixel) + LumaByte(order_)];
  }

 private:
  std::uint8_t* const* rows_;
  PackedOrder order_;
};

/// Green of bitmaps.
template <class Set, class PixelClass>
class SampleReader<Set, Image<PixelClass>> {
 public:
  using Buffer = typename Image<PixelClass>::Buffer;

  explicit SampleReader(const Buffer& buffer)
      : rows_(buffer.rows),
        position_(buffer.descriptor.Positions()[1]),
        pixelBytes_(PixelClass::NbrOfBitsPerPixel / 8) {}

  void Read(int row, int column, int count, std::uint8_t* destination) const {
    const std::uint8_t* from = rows_[row] + pixelBytes_ * column + position_;
    for (int pixel = 0; pixel < count; ++pixel) destination[pixel] = from[pixelBytes_ * pixel];
  }

 private:
  std::uint8_t* const* rows_;
  std::ptrdiff_t position_;
  std::ptrdiff_t pixelBytes_;
};

/// The samples of a rectangle of an image, read once for all the positions that compare them.
///
/// Each row is padded, so that kernels may read whole registers at any column.
class SampleBlock {
 public:
  /// No samples.
  SampleBlock() = default;
  /// `width` columns from `left` and `height` rows from `top`, all inside the image.
  template <class Reader>
  SampleBlock(const Reader& reader, int left, int top, int width, int height)
      : stride_(width + spareColumns),
        bytes_(static_cast<std::size_t>(stride_) * static_cast<std::size_t>(height)) {
    for (int row = 0; row < height; ++row) reader.Read(top + row, left, width, bytes_.data() + row * stride_);
  }

  /// The sample at a column and row of the block.
  const std::uint8_t* At(std::ptrdiff_t column, std::ptrdiff_t row) const {
    return bytes_.data() + row * stride_ + column;
  }
  std::ptrdiff_t Stride() const { return stride_; }

 private:
  std::ptrdiff_t stride_ = 0;
  std::vector<std::uint8_t> bytes_;
};

}  // namespace kv_img::featurefind
