#include "host/track_pictures.h"

#include <algorithm>
#include <cmath>

#include "host/fields.h"

namespace kv_host {
namespace {

constexpr std::uint8_t lightLuma = 235;
constexpr std::uint8_t darkLuma = 16;

void DrawPixel(Raster& picture, std::int64_t x, std::int64_t y, std::uint8_t luma) {
  if (x < 0 || y < 0 || x >= picture.width || y >= picture.height) return;
  picture.planes[0].Row(static_cast<int>(y))[2 * static_cast<std::size_t>(x)] = luma;
}

}  // namespace

void DrawPath(Raster& picture, const Path& path) {
  for (const auto& [x, y] : path) DrawPixel(picture, std::llround(x), std::llround(y), lightLuma);
  if (path.empty()) return;
  const std::int64_t x = std::llround(path.back().first);
  const std::int64_t y = std::llround(path.back().second);
  // Light between dark, so that it shows on any ground.
  for (int i = -6; i <= 6; ++i) {
    for (const int side : {-1, 1}) {
      DrawPixel(picture, x + i, y + side, darkLuma);
      DrawPixel(picture, x + side, y + i, darkLuma);
    }
  }
  for (int i = -6; i <= 6; ++i) {
    DrawPixel(picture, x + i, y, lightLuma);
    DrawPixel(picture, x, y + i, lightLuma);
  }
}

Raster Moved(const Raster& picture, int right, int down) {
  Raster moved = picture;
  const auto sourceColumn = [&](int x) {
    return static_cast<std::size_t>(std::clamp(x - right, 0, picture.width - 1));
  };
  const int step = HasFields(picture) ? 2 : 1;
  for (int y = 0; y < picture.height; ++y) {
    const int first = y % step;
    const int last = picture.height - 1 - (picture.height - 1 - first) % step;
    const auto in = picture.planes[0].Row(std::clamp(y - down, first, last));
    const auto out = moved.planes[0].Row(y);
    for (int x = 0; x < picture.width; x += 2) {
      const std::size_t left = sourceColumn(x);
      const std::size_t at = 2 * static_cast<std::size_t>(x);
      out[at] = in[2 * left];
      out[at + 1] = in[4 * (left / 2) + 1];
      out[at + 2] = in[2 * sourceColumn(x + 1)];
      out[at + 3] = in[4 * (left / 2) + 3];
    }
  }
  return moved;
}

}  // namespace kv_host
