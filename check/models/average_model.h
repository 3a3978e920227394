#pragma once

#include "image/image.h"
#include "image/region_of_support.h"

namespace kv_model {

inline bool Contains(const kv_img::RegionOfSupport& region, int x, int y) {
  return y >= region.GetTop() && y <= region.GetBottom() && x >= region.GetLeft(y) && x <= region.GetRight(y);
}

/// "Average": checks for every output pixel which sources are valid there.
inline void Average(const kv_img::Image<kv_img::PixelNoColor<unsigned char>>& first,
                    const kv_img::Image<kv_img::PixelNoColor<unsigned char>>& second,
                    kv_img::Image<kv_img::PixelNoColor<unsigned char>>& destination,
                    const kv_img::RegionOfSupport& firstRegion, const kv_img::RegionOfSupport& secondRegion,
                    const kv_img::RegionOfSupport& outputRegion) {
  for (int y = outputRegion.GetTop(); y <= outputRegion.GetBottom(); ++y) {
    // Pixels of the row where both are valid, and how many of them have been seen.
    int overlap = 0;
    for (int x = outputRegion.GetLeft(y); x <= outputRegion.GetRight(y); ++x) {
      if (Contains(firstRegion, x, y) && Contains(secondRegion, x, y)) ++overlap;
    }
    int seen = 0;
    for (int x = outputRegion.GetLeft(y); x <= outputRegion.GetRight(y); ++x) {
      const int a = first.GetPixelBuffer().rows[y][x];
      const int b = second.GetPixelBuffer().rows[y][x];
      int value = 0;
      if (Contains(firstRegion, x, y) && Contains(secondRegion, x, y)) {
        value = seen < overlap / 4 * 4 ? a / 2 + b / 2 : (a + b) / 2;
        ++seen;
      } else if (Contains(firstRegion, x, y)) {
        value = a;
      } else if (Contains(secondRegion, x, y)) {
        value = b;
      }
      destination.GetPixelBuffer().rows[y][x] = static_cast<std::uint8_t>(value);
    }
  }
}

}  // namespace kv_model
