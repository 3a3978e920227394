#pragma once

#include <algorithm>

#include "image/image.h"
#include "image/region_of_support.h"

namespace kv_model {

/// "AverageFilter": every output pixel sums its whole window from scratch.
inline void AverageFilter(const kv_img::Image<kv_img::PixelNoColor<unsigned char>>& source,
                          kv_img::Image<kv_img::PixelNoColor<unsigned char>>& destination,
                          const kv_img::RegionOfSupport& region, int windowSize) {
  const int half = windowSize / 2;
  for (int y = region.GetTop(); y <= region.GetBottom(); ++y) {
    const int left = region.GetLeft(y);
    const int right = region.GetRight(y);
    for (int x = left; x <= right; ++x) {
      long sum = 0;
      long count = 0;
      for (int slot = 0; slot < windowSize; ++slot) {
        const int row = std::min(std::max(y - half + slot, region.GetTop()), region.GetBottom());
        const int from = std::max({x - half, left, region.GetLeft(row)});
        const int to = std::min({x - half + windowSize - 1, right, region.GetRight(row)});
        for (int column = from; column <= to; ++column) {
          sum += source.GetPixelBuffer().rows[row][column];
          ++count;
        }
      }
      destination.GetPixelBuffer().rows[y][x] = static_cast<std::uint8_t>(sum / count);
    }
  }
}

}  // namespace kv_model
