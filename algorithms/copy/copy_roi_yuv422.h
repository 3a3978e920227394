#pragma once

#include <cstring>

#include "algorithms/copy/copy_roi.h"
#include "algorithms/copy/kernels/regroup_pairs.h"
#include "algorithms/copy/kernels/swap_bytes.h"
#include "algorithms/packed422/samples.h"

namespace kv_img::copy {

/// Region of packed 4:2:2 to packed 4:2:2, in the same byte order or from one to the other.
template <class Set>
class RoiCopier<Set, Image<PixelYUV422>, Image<PixelYUV422>> {
 public:
  using ImageType = Image<PixelYUV422>;

  RoiCopier(const ImageType& source, ImageType& destination, const RoiPair& regions)
      : source_(source.GetPixelBuffer()),
        destination_(destination.GetPixelBuffer()),
        regions_(regions),
        isSameLayout_(destination.GetPixelLayout() == source.GetPixelLayout()) {}

  void Copy(std::int32_t threads, std::uint32_t index) const {
    if (isSameLayout_ && IsBlock()) {
      CopyBlock(threads, index);
      return;
    }
    ForEachRoiSpan({regions_.source, source_.width, source_.height},
                   {regions_.destination, destination_.width, destination_.height},
                   FieldParityShift(source_.properties, destination_.properties), threads, index,
                   [this](const RoiSpan& span) { CopySpan(span); });
  }

 private:
  using Buffer = ImageType::Buffer;

  static bool HasFullWidth(const RegionOfSupport& region, const Buffer& buffer) {
    return region.GetLeft() == 0 && region.GetRight() == buffer.width - 1;
  }

  /// Whether the regions are whole rows in the same memory layout. The shape of the destination region is not
  /// checked.
  bool IsBlock() const {
    return source_.properties == destination_.properties && regions_.source.IsRectangular() &&
           HasFullWidth(regions_.source, source_) && HasFullWidth(regions_.destination, destination_) &&
           (source_.properties.propertyFlag == 0 || source_.properties.propertyMode == 2) &&
           source_.storageFlag == destination_.storageFlag;
  }

  /// Every thread copies the size of the whole region from its own start, so all but the first copy past the
  /// region's end: several threads need spare bytes after the last row.
  void CopyBlock(std::int32_t threads, std::uint32_t index) const {
    const std::int32_t size =
        WrappingMultiply(static_cast<std::int32_t>(regions_.source.GetHeight()), source_.bytesPerRow);
    if (size <= 0) return;
    const auto startOf = [&](const Buffer& buffer, const RegionOfSupport& region) {
      const std::int64_t bytes =
          std::int64_t{buffer.bytesPerRow} * RowCount(region.GetTop(), region.GetBottom());
      return buffer.rows[region.GetTop()] +
             static_cast<std::uint64_t>(bytes) * index / static_cast<std::uint64_t>(threads);
    };
    std::memcpy(startOf(destination_, regions_.destination), startOf(source_, regions_.source),
                static_cast<std::size_t>(size));
  }

  void CopySpan(const RoiSpan& span) const {
    const auto& [sourceFirst, sourceLast, destinationFirst] = span.columns;
    const int pixels = sourceLast - sourceFirst + 1;
    if (((sourceFirst ^ destinationFirst) & 1) != 0) {
      // Columns of different parity are not shifted by the field parity.
      CopyAcrossPairs(source_.rows[span.sourceRow], sourceFirst, destination_.rows[span.destinationRow],
                      destinationFirst, pixels);
      return;
    }
    const std::uint8_t* from = source_.rows[span.shiftedSourceRow] + PixelOffset(sourceFirst);
    std::uint8_t* to = destination_.rows[span.destinationRow] + PixelOffset(destinationFirst);
    if (!isSameLayout_) {
      // An odd first pixel is written before the run is measured: an empty run has it too.
      SwapPixels(from, to, std::max(pixels, destinationFirst & 1));
    } else if (pixels > 0) {
      std::memcpy(to, from, static_cast<std::size_t>(PixelOffset(pixels)));
    }
  }

  static void SwapPixels(const std::uint8_t* from, std::uint8_t* to, int pixels) {
    SwapBytes::Args args{pixels / 4, from, to};
    Set::template Run<SwapBytes>(args);
    for (int pixel = 0; pixel < pixels % 4; ++pixel) {
      args.destination[2 * pixel] = args.source[2 * pixel + 1];
      args.destination[2 * pixel + 1] = args.source[2 * pixel];
    }
  }

  /// Copies between columns of different parity. Every pixel overwrites the chroma of its pair, so a pair
  /// keeps the chroma of the pixel that was copied last.
  void CopyAcrossPairs(const std::uint8_t* from, int source, std::uint8_t* to, int destination,
                       int pixels) const {
    const int head = std::clamp(pixels, 0, destination & 1);
    CopyPixels(from, source, to, destination, head);
    // The kernel reads the pixel after its last group, so at least one is left to the loop.
    const int groups = std::max(pixels - head - 1, 0) / 4;
    RegroupPairs::Args args{groups, OrderOf(source_.descriptor.GetLayout()),
                            OrderOf(destination_.descriptor.GetLayout()), from + PixelOffset(source + head),
                            to + PixelOffset(destination + head)};
    Set::template Run<RegroupPairs>(args);
    const int done = head + 4 * groups;
    CopyPixels(from, source + done, to, destination + done, pixels - done);
  }

  void CopyPixels(const std::uint8_t* from, int source, std::uint8_t* to, int destination, int pixels) const {
    for (int pixel = 0; pixel < pixels; ++pixel, ++source, ++destination) {
      to[to_.Luma(destination)] = from[from_.Luma(source)];
      to[to_.Cb(destination)] = from[from_.Cb(source)];
      to[to_.Cr(destination)] = from[from_.Cr(source)];
    }
  }

  const Buffer& source_;
  Buffer& destination_;
  RoiPair regions_;
  bool isSameLayout_;
  PackedSamples from_{source_.descriptor};
  PackedSamples to_{destination_.descriptor};
};

}  // namespace kv_img::copy
