#include "host/annotate.h"

#include <algorithm>
#include <array>

namespace kv_host {
namespace {

using Colour = std::array<std::uint8_t, 3>;
constexpr Colour dark = {20, 20, 20};
constexpr Colour light = {40, 230, 255};

void SetPixel(Raster& picture, int x, int y, const Colour& colour) {
  if (x < 0 || y < 0 || x >= picture.width || y >= picture.height) return;
  std::ranges::copy(colour, picture.planes[0].Row(y).begin() + std::ptrdiff_t{3} * x);
}

void DrawRectangle(Raster& picture, int left, int top, int right, int bottom, const Colour& colour) {
  for (int x = left; x <= right; ++x) {
    SetPixel(picture, x, top, colour);
    SetPixel(picture, x, bottom, colour);
  }
  for (int y = top; y <= bottom; ++y) {
    SetPixel(picture, left, y, colour);
    SetPixel(picture, right, y, colour);
  }
}

}  // namespace

void DrawFrame(Raster& picture, const kv_img::ImageRect& rect) {
  const Colour* colours[] = {&dark, &light, &light, &dark};
  int distance = 1;
  for (const Colour* colour : colours) {
    DrawRectangle(picture, rect.GetLeft() - distance, rect.GetTop() - distance, rect.GetRight() + distance,
                  rect.GetBottom() + distance, *colour);
    ++distance;
  }
}

Raster SideBySide(const Raster& left, const Raster& right) {
  constexpr int gap = 8;
  Raster both =
      MakeRaster(RasterKind::Dib24, left.width + gap + right.width, std::max(left.height, right.height));
  std::ranges::fill(both.planes[0].bytes, dark[0]);
  for (int y = 0; y < left.height; ++y) {
    std::ranges::copy(left.planes[0].Row(y), both.planes[0].Row(y).begin());
  }
  for (int y = 0; y < right.height; ++y) {
    std::ranges::copy(right.planes[0].Row(y),
                      both.planes[0].Row(y).begin() + std::ptrdiff_t{3} * (left.width + gap));
  }
  return both;
}

}  // namespace kv_host
