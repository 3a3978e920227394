#pragma once

#include <cstdint>

#include "check/models/copy_model.h"
#include "image/image.h"

namespace kv_model {

/// "Copy" of planar YUV to packed 4:2:2 with layout 4097 or 4098.
inline void CopyPlanarToYuv422(const kv_img::Image<kv_img::PixelYUV411P>& source,
                               kv_img::Image<kv_img::PixelYUV422>& destination, int threads) {
  const auto& from = source.GetPixelBuffer();
  auto& to = destination.GetPixelBuffer();
  const bool lumaFirst = to.descriptor.GetLayout() == 4098;
  ForEachCopiedRow(source, destination, threads, [&](int sourceRow, int row) {
    const std::uint8_t* y = from.rows[sourceRow];
    const std::uint8_t* cb = from.rows[from.height + sourceRow];
    const std::uint8_t* cr = from.rows[2 * from.height + sourceRow];
    std::uint8_t* d = to.rows[row];
    const auto copyPixels = [&](int count) {
      for (int x = 0; x < count; ++x) {
        const std::uint8_t chroma = x % 2 == 0 ? cb[x / 2] : cr[x / 2];
        d[2 * x] = lumaFirst ? y[x] : chroma;
        d[2 * x + 1] = lumaFirst ? chroma : y[x];
      }
    };
    if (lumaFirst) copyPixels(from.width / 8 * 8);
    const int left = from.width % 8;
    if (left > 4) {
      copyPixels(8);
    } else if (left > 0) {
      copyPixels(4);
    }
  });
}

}  // namespace kv_model
