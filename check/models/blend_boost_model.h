#pragma once

#include <cmath>

#include "image/image.h"
#include "image/region_of_support.h"

namespace kv_model {

/// "BlendBoost": every byte by itself. The runs must be multiples of four pixels wide.
inline void BlendBoost(const kv_img::Image<kv_img::PixelYUV422>& b,
                       const kv_img::Image<kv_img::PixelYUV422>& a,
                       const kv_img::Image<kv_img::PixelNoColor<unsigned char>>& mask,
                       kv_img::Image<kv_img::PixelYUV422>& destination,
                       const kv_img::RegionOfSupport& region) {
  const int luma = b.GetPixelLayout() == 4097 ? 1 : 0;
  for (int y = region.GetTop(); y <= region.GetBottom(); ++y) {
    const std::uint8_t* rowB = b.GetPixelBuffer().rows[y];
    const std::uint8_t* rowA = a.GetPixelBuffer().rows[y];
    const int start = region.GetLeft(y);
    for (int x = start; x <= region.GetRight(y); ++x) {
      for (int byte = 0; byte < 2; ++byte) {
        const int weighed = byte == luma ? x : start + (x - start) / 2 * 2;
        int weight =
            mask.GetPixelBuffer().rows[y][weighed] + rowA[2 * weighed + luma] - rowB[2 * weighed + luma];
        if (weight < 0) weight = 0;
        if (weight > 255) weight = 255;
        weight /= 2;
        const int from = rowA[2 * x + byte];
        const double step = std::floor((rowB[2 * x + byte] - from) * weight / 128.0);
        destination.GetPixelBuffer().rows[y][2 * x + byte] =
            static_cast<std::uint8_t>(from + static_cast<int>(step));
      }
    }
  }
}

}  // namespace kv_model
