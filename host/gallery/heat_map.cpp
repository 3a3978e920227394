#include "host/gallery/heat_map.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "host/annotate.h"

namespace kv_host {
namespace {

using Stop = std::array<double, 3>;

/// Stops of the scale, from the best score to the worst: blue, green, red.
constexpr std::array<Stop, 5> stops = {
    {{120, 250, 252}, {30, 150, 250}, {70, 50, 200}, {110, 20, 90}, {40, 8, 12}}};

std::array<std::uint8_t, 3> ColourOf(std::uint8_t score) {
  // Good scores are few and close together: the root spreads them.
  const double place = std::sqrt(score / 255.0) * (stops.size() - 1);
  const auto below = std::min(static_cast<std::size_t>(place), stops.size() - 2);
  const double part = place - static_cast<double>(below);
  std::array<std::uint8_t, 3> colour{};
  for (std::size_t i = 0; i < 3; ++i) {
    colour[i] =
        static_cast<std::uint8_t>(stops[below][i] + (stops[below + 1][i] - stops[below][i]) * part + 0.5);
  }
  return colour;
}

}  // namespace

Raster HeatMap(const Raster& scores, int scale) {
  Raster map = MakeRaster(RasterKind::Dib24, scores.width * scale, scores.height * scale);
  for (int y = 0; y < map.height; ++y) {
    const auto from = scores.planes[0].Row(y / scale);
    const auto to = map.planes[0].Row(y);
    for (int x = 0; x < map.width; ++x) {
      std::ranges::copy(ColourOf(from[static_cast<std::size_t>(x / scale)]),
                        to.begin() + std::ptrdiff_t{3} * x);
    }
  }
  const auto& bytes = scores.planes[0].bytes;
  const auto best = static_cast<int>(std::ranges::min_element(bytes) - bytes.begin());
  const int left = best % scores.width * scale;
  const int top = best / scores.width * scale;
  DrawFrame(map, {left - 1, top - 1, left + scale, top + scale});
  return map;
}

}  // namespace kv_host
