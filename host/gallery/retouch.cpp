#include "host/gallery/retouch.h"

#include <algorithm>
#include <array>
#include <cstdlib>

#include "host/raster_image.h"

namespace kv_host {

Raster Crop(const Raster& from, int x, int y, int width, int height) {
  Raster part = MakeRaster(RasterKind::Yuv422, width, height, from.layout);
  Describe(part, from);
  for (int row = 0; row < height; ++row) {
    const auto source = from.planes[0].Row(y + row);
    std::ranges::copy(source.subspan(std::size_t{2} * static_cast<std::size_t>(x), part.planes[0].stride),
                      part.planes[0].Row(row).begin());
  }
  return part;
}

Raster InOppositeColours(Raster picture) {
  auto& bytes = picture.planes[0].bytes;
  for (std::size_t i = 1; i < bytes.size(); i += 2) bytes[i] = static_cast<std::uint8_t>(255 - bytes[i]);
  return picture;
}

Raster WithMiddlePainted(Raster picture) {
  const int quarter = picture.width / 8 * 2;
  for (int row = picture.height / 4; row < picture.height * 3 / 4; ++row) {
    const auto middle = picture.planes[0].Row(row).subspan(static_cast<std::size_t>(2 * quarter),
                                                           static_cast<std::size_t>(4 * quarter));
    for (std::size_t i = 1; i < middle.size(); i += 2) middle[i] ^= 0x40U;
  }
  return picture;
}

Raster BeforeScreen(Raster picture) {
  constexpr int darkest = 84;
  for (int row = 0; row < picture.height; ++row) {
    const auto bytes = picture.planes[0].Row(row);
    for (std::size_t at = 0; at < bytes.size(); at += 4) {
      if (bytes[at] + bytes[at + 2] > 2 * darkest) continue;
      const std::uint8_t screen[] = {130, screenCb, 130, screenCr};
      std::ranges::copy(screen, bytes.begin() + static_cast<std::ptrdiff_t>(at));
    }
  }
  return picture;
}

Raster Woven(const Raster& top, const Raster& bottom) {
  Raster fields = top;
  fields.interlace = Interlace::TopFieldFirst;
  for (int row = 1; row < fields.height; row += 2) {
    std::ranges::copy(bottom.planes[0].Row(row), fields.planes[0].Row(row).begin());
  }
  return fields;
}

Raster Ramp(int width, int height) {
  Raster ramp = MakeRaster(RasterKind::Grey8, width, height);
  for (int row = 0; row < height; ++row) {
    for (int x = 0; x < width; ++x) {
      ramp.planes[0].Row(row)[static_cast<std::size_t>(x)] = static_cast<std::uint8_t>(x * 255 / (width - 1));
    }
  }
  return ramp;
}

Raster ColourBars(int width, int height) {
  using Pixel = std::array<std::uint8_t, 3>;  // blue, green, red
  constexpr std::array<Pixel, 8> bars = {{{191, 191, 191},
                                          {0, 191, 191},
                                          {191, 191, 0},
                                          {0, 191, 0},
                                          {191, 0, 191},
                                          {0, 0, 191},
                                          {191, 0, 0},
                                          {0, 0, 0}}};
  constexpr std::array<Pixel, 8> skin = {{{198, 219, 245},
                                          {172, 199, 234},
                                          {144, 176, 219},
                                          {121, 153, 200},
                                          {96, 126, 175},
                                          {72, 99, 144},
                                          {50, 72, 110},
                                          {32, 46, 72}}};
  Raster picture = MakeRaster(RasterKind::Dib24, width, height);
  for (int row = 0; row < height; ++row) {
    const auto& colours = row < height * 2 / 3 ? bars : skin;
    const auto to = picture.planes[0].Row(row);
    for (int x = 0; x < width; ++x) {
      std::ranges::copy(colours[static_cast<std::size_t>(x * 8 / width)], to.begin() + std::ptrdiff_t{3} * x);
    }
  }
  return picture;
}

kv_img::ImageRect MostUnevenPart(const Raster& picture, int width, int height) {
  width = std::min(width, picture.width);
  height = std::min(height, picture.height);
  constexpr int stride = 8;
  long best = -1;
  kv_img::ImageRect part(0, 0, width - 1, height - 1);
  for (int top = 0; top + height <= picture.height; top += stride) {
    for (int left = 0; left + width <= picture.width; left += stride) {
      long sum = 0;
      for (int y = top; y + 1 < top + height; ++y) {
        const auto row = picture.planes[0].Row(y).subspan(static_cast<std::size_t>(2 * left));
        const auto next = picture.planes[0].Row(y + 1).subspan(static_cast<std::size_t>(2 * left));
        for (std::size_t x = 0; x < static_cast<std::size_t>(2 * width); x += 2)
          sum += std::abs(row[x] - next[x]);
      }
      if (sum <= best) continue;
      best = sum;
      part = kv_img::ImageRect(left, top, left + width - 1, top + height - 1);
    }
  }
  return part;
}

Raster Enlarged(const Raster& picture, const kv_img::ImageRect& part, int scale) {
  Raster large = MakeRaster(RasterKind::Dib24, static_cast<int>(part.GetWidth()) * scale,
                            static_cast<int>(part.GetHeight()) * scale);
  for (int y = 0; y < large.height; ++y) {
    const auto from = picture.planes[0].Row(part.GetTop() + y / scale);
    auto to = large.planes[0].Row(y).begin();
    for (int x = 0; x < large.width; ++x) {
      const auto at = static_cast<std::size_t>(3 * (part.GetLeft() + x / scale));
      to = std::ranges::copy(from.subspan(at, 3), to).out;
    }
  }
  return large;
}

Raster AmplifiedDifference(const Raster& a, const Raster& b, int gain) {
  Raster difference = MakeRaster(RasterKind::Dib24, a.width, a.height);
  std::ranges::transform(a.planes[0].bytes, b.planes[0].bytes, difference.planes[0].bytes.begin(),
                         [&](int left, int right) {
                           return static_cast<std::uint8_t>(std::min(255, gain * std::abs(left - right)));
                         });
  return difference;
}

Raster Stacked(const std::vector<Raster>& pictures) {
  const Raster& first = pictures.front();
  Raster stack = MakeRaster(RasterKind::Dib24, first.width, first.height * static_cast<int>(pictures.size()));
  auto to = stack.planes[0].bytes.begin();
  for (const Raster& picture : pictures) to = std::ranges::copy(picture.planes[0].bytes, to).out;
  return stack;
}

}  // namespace kv_host
