#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <type_traits>
#include <vector>

#include "image/image.h"

/// A plain model of the feature search: every sample read in place, every sum from scratch, written
/// separately from the library.
namespace kv_model {

inline constexpr double noScore = 3.4028234663852886e38;

enum class Search { WholePixel, SubPixel };

/// The compared sample of pixel (x, y).
template <class PixelClass>
int Sample(const kv_img::Image<PixelClass>& image, int x, int y, Search search) {
  const auto& buffer = image.GetPixelBuffer();
  const std::uint8_t* row = buffer.rows[y];
  if constexpr (std::is_same_v<PixelClass, kv_img::PixelYUV422>) {
    const auto position = [&](int component) {
      return buffer.descriptor.GetPosition(static_cast<kv_img::PixelComponent::COMPONENT>(component)) *
             static_cast<int>(PixelClass::ComponentTypeSize);
    };
    const int pair = 2 * (x & ~1) + (x % 2 == 1 ? 2 : 0);
    if (search == Search::WholePixel && buffer.descriptor.GetLayout() == 0x1001) {
      return row[pair + position(0) + 1];
    }
    return row[pair + position(1)];
  } else {
    const int tableRow = (buffer.descriptor.layoutFlags & 0xF0U) != 0 ? 1 : 0;
    return row[static_cast<int>(PixelClass::NbrOfBitsPerPixel / 8) * x +
               static_cast<int>(kv_img::PixelDescriptorDIB::m_position[tableRow][1])];
  }
}

/// The template rectangle around a feature, and the position of the feature in it.
struct Template {
  int x0;
  int y0;
  int tw;
  int th;
  int ox;
  int oy;

  Template(const kv_img::IImage& image, int cx, int cy, int hw, int hh) {
    const int width = static_cast<int>(image.GetWidth());
    const int height = static_cast<int>(image.GetHeight());
    x0 = std::max(cx - hw, 0);
    y0 = std::max(cy - hh, 0);
    tw = std::min(cx + hw, width - 1) - x0 + 1;
    th = std::min(cy + hh, height - 1) - y0 + 1;
    ox = cx - x0;
    oy = cy - y0;
  }
};

/// What a search leaves: whether it was refused, and the scores of its map (none: empty).
struct Outcome {
  bool isRefused = false;
  std::vector<double> scores;
};

template <class PixelClass>
Outcome LocateFeature(const kv_img::Image<PixelClass>& image1, const kv_img::Image<PixelClass>& image2,
                      const int point1[2], const int point2[2], int result[2], int hw, int hh, int rangeX,
                      int rangeY) {
  Outcome outcome;
  const Template t(image1, point1[0], point1[1], hw, hh);
  const int px = point2[0] - hw;
  const int py = point2[1] - hh;
  const int limX = static_cast<int>(image2.GetWidth()) - t.tw - 1;
  const int limY = static_cast<int>(image2.GetHeight()) - t.th - 1;
  if (limX < 1 || limY < 1) {
    outcome.isRefused = true;
    return outcome;
  }
  const int xmin = std::max(px - rangeX, 0);
  const int xmax = std::min(px + rangeX, limX);
  const int ymin = std::max(py - rangeY, 0);
  const int ymax = std::min(py + rangeY, limY);
  const auto columns = static_cast<std::size_t>(std::abs(xmax - xmin) + 1);
  const auto rows = static_cast<std::size_t>(std::abs(ymax - ymin) + 1);
  outcome.scores.assign(columns * rows, noScore);

  std::int32_t best = 0x7FFFFFFF;
  for (int y = ymin; y <= ymax; ++y) {
    for (int x = xmin; x <= xmax; ++x) {
      std::uint32_t sad = 0;
      for (int row = 0; row < t.th; ++row) {
        for (int column = 0; column < t.tw; ++column) {
          sad += static_cast<std::uint32_t>(
              std::abs(Sample(image1, t.x0 + column, t.y0 + row, Search::WholePixel) -
                       Sample(image2, x + column, y + row, Search::WholePixel)));
        }
      }
      if (static_cast<std::int32_t>(sad) < best) {
        best = static_cast<std::int32_t>(sad);
        result[0] = x;
        result[1] = y;
      }
      outcome.scores[static_cast<std::size_t>(y - ymin) * columns + static_cast<std::size_t>(x - xmin)] =
          static_cast<double>(sad) / (t.tw * t.th);
    }
  }
  result[0] += t.ox;
  result[1] += t.oy;
  return outcome;
}

/// The interpolated sample at template column `column` of a template `tw` wide.
template <class PixelClass>
int Interpolated(int a0, int a1, int b0, int b1, double ax, double ay, int column, int tw) {
  if constexpr (!std::is_same_v<PixelClass, kv_img::PixelYUV422>) {
    return static_cast<int>(b1 * (ax * ay) + b0 * ((1 - ax) * ay) + a1 * (ax * (1 - ay)) +
                            a0 * ((1 - ax) * (1 - ay)) + 0.5);
  } else {
    const auto w00 = static_cast<std::uint32_t>((1 - ax) * (1 - ay) * 65535);
    const auto w10 = static_cast<std::uint32_t>(ax * (1 - ay) * 65535);
    const auto w01 = static_cast<std::uint32_t>((1 - ax) * ay * 65535);
    const auto w11 = static_cast<std::uint32_t>(ax * ay * 65535);
    const int byVectors = tw > 3 ? 4 * (tw / 4 - 1) : 0;
    if (column < byVectors) {
      const auto high = [](int sample, std::uint32_t weight) {
        return ((static_cast<std::uint32_t>(sample) << 8) * weight) >> 16;
      };
      const std::uint32_t sum = (high(a0, w00) + high(a1, w10) + high(b0, w01) + high(b1, w11)) & 0xFFFF;
      return static_cast<int>(((sum >> 7) + 1) >> 1);
    }
    const auto term = [](int sample, std::uint32_t weight) {
      return static_cast<std::uint32_t>(sample) * weight;
    };
    return static_cast<int>((term(a0, w00) + term(a1, w10) + term(b0, w01) + term(b1, w11) + 32768) >> 16);
  }
}

template <class PixelClass>
Outcome RefineFeature(const kv_img::Image<PixelClass>& image1, const kv_img::Image<PixelClass>& image2,
                      const double point1[2], const double point2[2], double result[2], int hw, int hh,
                      double rangeX, double rangeY, double stepX, double stepY, int level, int levels) {
  Outcome outcome;
  const double fx = std::floor(point1[0]);
  const double fy = std::floor(point1[1]);
  const Template t(image1, static_cast<int>(fx), static_cast<int>(fy), hw, hh);
  const double rX = std::floor((rangeX + stepX / 2) / stepX) * stepX;
  const double rY = std::floor((rangeY + stepY / 2) / stepY) * stepY;
  const double sx = std::floor((point2[0] + stepX / 2) / stepX) * stepX - hw;
  const double sy = std::floor((point2[1] + stepY / 2) / stepY) * stepY - hh;
  double xmin = sx - rX;
  double xmax = sx + rX;
  double ymin = sy - rY;
  double ymax = sy + rY;
  const int limX = static_cast<int>(image2.GetWidth()) - t.tw - 2;
  const int limY = static_cast<int>(image2.GetHeight()) - t.th - 2;
  if (limX <= 0 || limY <= 0) {
    outcome.isRefused = true;
    return outcome;
  }
  if (xmin < 0) xmin += std::ceil(-xmin / stepX) * stepX;
  if (xmax > limX) xmax -= std::ceil((xmax - limX) / stepX) * stepX;
  if (ymin < 0) ymin += std::ceil(-ymin / stepY) * stepY;
  if (ymax > limY) ymax -= std::ceil((ymax - limY) / stepY) * stepY;

  const double offX = fx - t.x0;
  const double offY = fy - t.y0;
  const double left = std::min(offX + xmin, offX + xmax);
  const double top = std::min(offY + ymin, offY + ymax);
  const double width = std::max(offX + xmin, offX + xmax) - left;
  const double height = std::max(offY + ymin, offY + ymax) - top;
  const double nx = std::floor((width + stepX / 2) / stepX);
  const double ny = std::floor((height + stepY / 2) / stepY);
  outcome.scores.assign(static_cast<std::size_t>((nx + 1) * (ny + 1)), noScore);

  std::int32_t best = 0x7FFFFFFF;
  for (double y = ymin; y <= ymax + stepY / 2; y += stepY) {
    for (double x = xmin; x <= xmax + stepX / 2; x += stepX) {
      const int ix = static_cast<int>(x);
      const int iy = static_cast<int>(y);
      const double ax = x - std::floor(x);
      const double ay = y - std::floor(y);
      std::uint32_t sad = 0;
      for (int row = 0; row < t.th; ++row) {
        for (int column = 0; column < t.tw; ++column) {
          const auto s = [&](int dx, int dy) {
            return Sample(image2, ix + column + dx, iy + row + dy, Search::SubPixel);
          };
          const int v = Interpolated<PixelClass>(s(0, 0), s(1, 0), s(0, 1), s(1, 1), ax, ay, column, t.tw);
          sad += static_cast<std::uint32_t>(
              std::abs(Sample(image1, t.x0 + column, t.y0 + row, Search::SubPixel) - v));
        }
      }
      if (static_cast<std::int32_t>(sad) < best) {
        best = static_cast<std::int32_t>(sad);
        result[0] = x;
        result[1] = y;
      }
      const double column = std::floor((x + offX - left + stepX / 2) / stepX);
      const double row = std::floor((y + offY - top + stepY / 2) / stepY);
      if (column >= 0 && column <= nx && row >= 0 && row <= ny) {
        outcome.scores[static_cast<std::size_t>((nx + 1) * row + column)] =
            static_cast<double>(sad) / (t.tw * t.th);
      }
    }
  }
  result[0] += offX;
  result[1] += offY;
  if (level < levels - 1) {
    const double next[2] = {result[0], result[1]};
    RefineFeature(image1, image2, point1, next, result, hw, hh, rX / 2, rY / 2, stepX / 2, stepY / 2,
                  level + 1, levels);
  }
  return outcome;
}

template <class PixelClass>
Outcome LocateFeatureSubPixel(const kv_img::Image<PixelClass>& image1,
                              const kv_img::Image<PixelClass>& image2, const double point1[2],
                              const double point2[2], double result[2], int hw, int hh, double rangeX,
                              double rangeY, double stepX, double stepY, int levels) {
  Outcome outcome = RefineFeature(image1, image2, point1, point2, result, hw, hh, rangeX, rangeY, stepX,
                                  stepY, 0, levels < 2 ? 1 : levels);
  if (outcome.isRefused) return outcome;
  result[0] += std::fmod(point1[0], 1.0);
  result[1] += std::fmod(point1[1], 1.0);
  return outcome;
}

}  // namespace kv_model
