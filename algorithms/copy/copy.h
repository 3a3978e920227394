#pragma once

#include <algorithm>
#include <cstring>
#include <type_traits>

#include "algorithms/kernel_sets.h"
#include "frame/interfaces/copy.h"
#include "frame/member_name.h"
#include "frame/row_band.h"
#include "image/image.h"

namespace kv_img {
namespace copy {

/// Rows by which the source is shifted against the destination: frames whose first rows belong to different
/// fields are half a line apart.
inline int FieldParityShift(const VideoImageProperties& source, const VideoImageProperties& destination) {
  if (source.fieldParity == destination.fieldParity) return 0;
  return source.fieldParity != 0 ? 1 : -1;
}

/// Packed 4:2:2 of equal byte order is copied as a block or in whole stored rows; other pairs of one format
/// go pixel by pixel.
template <class ImageIn, class ImageOut>
inline constexpr bool hasSameLayoutCopy =
    std::is_same_v<ImageIn, Image<PixelYUV422>>&& std::is_same_v<ImageOut, ImageIn>;

/// Converts one row of an image pair. Specialised for every pair of formats:
/// - constructed from the two pixel buffers;
/// - `Convert(source row, destination row)` does the work of one row.
template <class Set, class ImageIn, class ImageOut>
class RowConverter;

}  // namespace copy

/// The frame that every "Copy" shares: checks, band of rows, field-parity shift.
template <class Set, class ImageIn, class ImageOut>
class Copy : public CopyAlgorithmInterface<ImageIn, ImageOut> {
 public:
  ImageOut& Apply(const ImageIn& source, ImageOut& destination, kv_std::SpinBarrier& barrier,
                  std::uint32_t threadIndex) const override {
    if (destination.GetWidth() != source.GetWidth() || destination.GetHeight() != source.GetHeight()) {
      Refuse<Set>(1, L"Copy");
    }
    const std::int32_t threads = barrier.GetThreadCount();
    if constexpr (copy::hasSameLayoutCopy<ImageIn, ImageOut>) {
      if (destination.GetPixelLayout() == source.GetPixelLayout()) {
        CopySameLayout(source, destination, threads, threadIndex);
        return destination;
      }
    }
    const copy::RowConverter<Set, ImageIn, ImageOut> converter(source.GetPixelBuffer(),
                                                               destination.GetPixelBuffer());
    ForEachRowPair(source, destination, threads, threadIndex,
                   [&](int sourceRow, int destinationRow) { converter.Convert(sourceRow, destinationRow); });
    return destination;
  }

 private:
  /// The shifted source row is clamped to the thread's own band, not to the image: a thread reads only rows
  /// of its band, so the row at the edge of the band is repeated.
  template <class RowWork>
  static void ForEachRowPair(const ImageIn& source, ImageOut& destination, std::int32_t threads,
                             std::uint32_t threadIndex, RowWork work) {
    const auto& from = source.GetPixelBuffer();
    const auto& to = destination.GetPixelBuffer();
    const RowBand band = TakeBand(0, static_cast<std::int32_t>(source.GetHeight()) - 1, threads, threadIndex);
    const int shift = copy::FieldParityShift(from.properties, to.properties);
    for (int row = band.first; row <= band.last; ++row)
      work(std::clamp(row + shift, band.first, band.last), row);
  }

  /// In pieces: memcpy of a large block may go past the caches, which takes longer, and a frame that was written is
  /// read next.
  static void CopyBlock(std::uint8_t* to, const std::uint8_t* from, std::size_t bytes) {
    constexpr std::size_t pieceBytes = 16384;
    for (std::size_t done = 0; done < bytes; done += pieceBytes)
      std::memcpy(to + done, from + done, std::min(pieceBytes, bytes - done));
  }

  static void CopySameLayout(const ImageIn& source, ImageOut& destination, std::int32_t threads,
                             std::uint32_t threadIndex) {
    const auto& from = source.GetPixelBuffer();
    auto& to = destination.GetPixelBuffer();
    if (from.properties == to.properties &&
        (from.properties.propertyFlag == 0 || from.properties.propertyMode == 2) &&
        from.storageFlag == to.storageFlag) {
      // One block, one piece per thread. If the number of threads does not divide the total, the bytes
      // between the pieces stay unchanged.
      const auto count = static_cast<std::uint64_t>(threads);
      const auto index =
          static_cast<std::uint64_t>(static_cast<std::int64_t>(static_cast<std::int32_t>(threadIndex)));
      CopyBlock(to.data + index * to.totalBytes / count, from.data + index * from.totalBytes / count,
                to.totalBytes / count);
      return;
    }
    const auto rowBytes = static_cast<std::size_t>(std::int64_t{to.bytesPerRow});
    ForEachRowPair(source, destination, threads, threadIndex, [&](int sourceRow, int destinationRow) {
      std::memcpy(to.rows[destinationRow], from.rows[sourceRow], rowBytes);
    });
  }
};

template <class ImageIn, class ImageOut>
class CopyC final : public Copy<Scalar, ImageIn, ImageOut> {};

template <class ImageIn, class ImageOut>
class CopyMMX final : public Copy<Mmx, ImageIn, ImageOut> {};

template <class ImageIn, class ImageOut>
class CopySSE2 final : public Copy<Widest, ImageIn, ImageOut> {};

template <class ImageIn, class ImageOut>
class CopyNEON final : public Copy<Widest, ImageIn, ImageOut> {};

}  // namespace kv_img
