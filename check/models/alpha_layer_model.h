#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "check/models/average_filter_model.h"
#include "image/image.h"
#include "image/region_of_support.h"

/// Plain models of the alpha layers, pixel by pixel.
namespace kv_model {

using Mask = kv_img::Image<kv_img::PixelNoColor<unsigned char>>;

/// Alpha of a pixel pair from its chroma samples. The last pixels of a run, after the whole groups of
/// four, have a rule of their own.
inline std::uint8_t ChromaAlpha(int u1, int v1, int u2, int v2, bool isTail) {
  if (!isTail) {
    int s = std::abs(u1 - u2) + std::abs(v1 - v2);
    if (s > 5) s = 5;
    return static_cast<std::uint8_t>(255 - s * s * s);
  }
  const float dv = static_cast<float>(v1) - static_cast<float>(v2);
  const float du = static_cast<float>(u1) - static_cast<float>(u2);
  const auto s = static_cast<float>(std::fabs(static_cast<double>(dv)) + std::fabs(static_cast<double>(du)));
  const auto k = static_cast<long>(s * s * s);
  return static_cast<std::uint8_t>(255 - std::min(k, 128L));
}

inline void ColorRawMask(const kv_img::Image<kv_img::PixelYUV422>& first,
                         const kv_img::Image<kv_img::PixelYUV422>& second, Mask& mask,
                         const kv_img::RegionOfSupport& region) {
  for (int row = region.GetTop(); row <= region.GetBottom(); ++row) {
    const int left = region.GetLeft(row);
    const int width = region.GetRight(row) - left + 1;
    for (int k = 0; k < width; ++k) {
      // The samples of the pair that pixel k belongs to, pairs counting from the run's start.
      const auto samples = [&](const kv_img::Image<kv_img::PixelYUV422>& image) {
        return image.GetPixelBuffer().rows[row] + 2 * left + (image.GetPixelLayout() == 4097 ? 0 : 1) +
               k / 2 * 4;
      };
      const std::uint8_t* a = samples(first);
      const std::uint8_t* b = samples(second);
      mask.GetPixelBuffer().rows[row][left + k] = ChromaAlpha(a[0], a[2], b[0], b[2], k >= width / 4 * 4);
    }
  }
}

inline std::int64_t WrapTo32(std::int64_t value) {
  const std::int64_t low = value & 0xFFFFFFFF;
  return low >= 0x80000000LL ? low - 0x100000000LL : low;
}

inline void ProbRawMask(const Mask& p, const Mask& q, Mask& mask, const kv_img::RegionOfSupport& region,
                        std::uint32_t gain = 1) {
  for (int row = region.GetTop(); row <= region.GetBottom(); ++row) {
    for (int x = region.GetLeft(row); x <= region.GetRight(row); ++x) {
      const std::int64_t difference =
          std::int64_t{p.GetPixelBuffer().rows[row][x]} - q.GetPixelBuffer().rows[row][x];
      // A difference of at most 255 by a gain of 32 bits fits 64 bits.
      const std::int64_t value = WrapTo32(WrapTo32(difference * gain) + 128);
      mask.GetPixelBuffer().rows[row][x] = static_cast<std::uint8_t>(std::clamp<std::int64_t>(value, 0, 255));
    }
  }
}

}  // namespace kv_model
