#pragma once

#include <cstdlib>

#include "image/image.h"
#include "image/region_of_support.h"

namespace kv_model {

/// "AbsoluteDifference": every pixel of the region by itself.
inline void AbsoluteDifference(const kv_img::Image<kv_img::PixelYUV422>& first,
                               const kv_img::Image<kv_img::PixelYUV422>& second,
                               kv_img::Image<kv_img::PixelNoColor<unsigned char>>& destination,
                               const kv_img::RegionOfSupport& region) {
  const int luma = first.GetPixelLayout() == 4097 ? 1 : 0;
  for (int y = region.GetTop(); y <= region.GetBottom(); ++y) {
    for (int x = region.GetLeft(y); x <= region.GetRight(y); ++x) {
      const int a = first.GetPixelBuffer().rows[y][2 * x + luma];
      const int b = second.GetPixelBuffer().rows[y][2 * x + luma];
      destination.GetPixelBuffer().rows[y][x] = static_cast<std::uint8_t>(std::abs(a - b));
    }
  }
}

}  // namespace kv_model
