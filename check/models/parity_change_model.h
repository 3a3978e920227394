#pragma once

#include <algorithm>

#include "image/image.h"
#include "image/region_of_support.h"

/// Plain models of the field-parity change: one obvious loop per rule, written separately from the library.
namespace kv_model {

using ParityImage = kv_img::Image<kv_img::PixelYUV422>;

/// Sets the destination's field order; returns d.
inline int ParityOffset(const ParityImage& source, ParityImage& destination) {
  const bool order = source.GetProperties().fieldOrder != 0;
  const bool parity = source.GetProperties().fieldParity != 0;
  destination.GetProperties().fieldOrder = order ? 0 : 1;
  return order == parity ? -1 : 0;
}

/// Byte of a sample inside a pair; `sample` 0: first luma, 1: second luma, 2: Cb, 3: Cr.
inline int ByteInPair(const ParityImage& image, int sample) {
  static const int chromaFirst[] = {1, 3, 0, 2};
  static const int lumaFirst[] = {0, 2, 1, 3};
  return image.GetPixelLayout() == 4097 ? chromaFirst[sample] : lumaFirst[sample];
}

/// The whole-image operation on images of one size and of layouts that fit.
inline void ChangeParityOfImage(const ParityImage& source, ParityImage& destination) {
  const int d = ParityOffset(source, destination);
  const int height = static_cast<int>(source.GetHeight());
  const int lineBytes = 2 * static_cast<int>(source.GetWidth());
  const bool same = source.GetPixelLayout() == destination.GetPixelLayout();
  for (int y = 0; y < height; ++y) {
    std::uint8_t* out = destination.GetPixelBuffer().rows[y];
    if (y + d < 0 || y + d + 1 > height - 1) {
      for (int i = 0; same && i < lineBytes; ++i) out[i] = source.GetPixelBuffer().rows[y][i];
      continue;
    }
    const std::uint8_t* a = source.GetPixelBuffer().rows[y + d];
    const std::uint8_t* b = source.GetPixelBuffer().rows[y + d + 1];
    for (int i = 0; i < lineBytes / 8 * 8; ++i) {
      out[same ? i : i ^ 1] = static_cast<std::uint8_t>(a[i] / 2 + b[i] / 2);
    }
  }
}

/// The region operation on a rectangular region that fits.
inline void ChangeParityOfRegion(const ParityImage& source, ParityImage& destination,
                                 const kv_img::RegionOfSupport& region) {
  const int d = ParityOffset(source, destination);
  for (int y = region.GetTop(); y <= region.GetBottom(); ++y) {
    const int left = region.GetLeft(y);
    const int right = region.GetRight(y);
    const int firstPair = left % 2 == 0 ? left : left + 1;
    const int endOfPairs = right % 2 == 0 ? right : right + 1;
    const int endOfVectors = firstPair + std::max(0, endOfPairs - firstPair) / 4 * 4;
    const bool copied = y + d < region.GetTop() || y + d + 1 > region.GetBottom();
    for (int x = left; x <= right; ++x) {
      const bool vector = x >= firstPair && x < endOfVectors;
      // The luma of the pixel and both chroma samples of its pair.
      for (const int sample : {x % 2, 2, 3}) {
        const int at = x / 2 * 4 + ByteInPair(source, sample);
        int value = source.GetPixelBuffer().rows[y][at];
        if (!copied) {
          const int a = source.GetPixelBuffer().rows[y + d][at];
          const int b = source.GetPixelBuffer().rows[y + d + 1][at];
          value = vector ? a / 2 + b / 2 : (a + b) / 2;
        }
        destination.GetPixelBuffer().rows[y][x / 2 * 4 + ByteInPair(destination, sample)] =
            static_cast<std::uint8_t>(value);
      }
    }
  }
}

}  // namespace kv_model
