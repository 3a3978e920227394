#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <numbers>
#include <vector>

#include "geometry/polygon2.h"
#include "tests/geometry/plane.h"
#include "tests/support/random.h"

/// Random polygons with repeatable seeds.
namespace kv_test {

inline double Uniform(Random& random, double low, double high) {
  return low + (high - low) * random.Unit();
}

inline kv_math::Polygon2 PolygonOf(const std::vector<kv_math::Vector2>& points) {
  kv_math::Polygon2 polygon;
  for (const kv_math::Vector2& point : points) polygon.AddVertex(point);
  return polygon;
}

inline kv_math::Polygon2 Reversed(const kv_math::Polygon2& polygon) {
  kv_math::Polygon2 result;
  for (std::size_t i = polygon.GetNbrOfVertices(); i-- > 0;) result.AddVertex(polygon[i]);
  return result;
}

/// `n` points anywhere in the square from -half to half around the centre; most such polygons cross
/// themselves. With `step` > 0 the coordinates are multiples of it.
inline kv_math::Polygon2 ScatteredPolygon(Random& random, int n, double centre, double half, double step) {
  kv_math::Polygon2 polygon;
  for (int i = 0; i < n; ++i) {
    double x = Uniform(random, centre - half, centre + half);
    double y = Uniform(random, centre - half, centre + half);
    if (step > 0) {
      x = std::round(x / step) * step;
      y = std::round(y / step) * step;
    }
    polygon.AddVertex({x, y});
  }
  return polygon;
}

/// A star-shaped polygon: points around the centre in order of their angle, with needles and bays.
inline kv_math::Polygon2 StarPolygon(Random& random, int n, double centre, double radius) {
  std::vector<double> angles;
  angles.reserve(static_cast<std::size_t>(n));
  for (int i = 0; i < n; ++i) angles.push_back(Uniform(random, 0, 2 * std::numbers::pi));
  std::sort(angles.begin(), angles.end());
  kv_math::Polygon2 polygon;
  for (const double angle : angles) {
    const double r = radius * Uniform(random, 0.05, 1.0);
    polygon.AddVertex({centre + r * std::cos(angle), centre + r * std::sin(angle)});
  }
  return polygon;
}

/// Reverses parts of a scattered polygon until no two edges meet any more.
inline kv_math::Polygon2 Untangled(const kv_math::Polygon2& scattered) {
  std::vector<kv_math::Vector2> points;
  for (std::size_t i = 0; i < scattered.GetNbrOfVertices(); ++i) points.push_back(scattered[i]);
  const std::size_t n = points.size();
  bool changed = true;
  for (int round = 0; changed && round < 200; ++round) {
    changed = false;
    for (std::size_t i = 0; i + 2 < n; ++i) {
      for (std::size_t j = i + 2; j < n; ++j) {
        if ((j + 1) % n == i) continue;
        if (!kv_model::SegmentsMeet(points[i], points[i + 1], points[j], points[(j + 1) % n])) continue;
        std::reverse(points.begin() + static_cast<std::ptrdiff_t>(i) + 1,
                     points.begin() + static_cast<std::ptrdiff_t>(j) + 1);
        changed = true;
      }
    }
  }
  return PolygonOf(points);
}

/// A random simple polygon of 3 to 16 vertices around `centre`, reaching `half` from it, winding either way.
/// With `step` > 0 its coordinates are multiples of it, so that vertices and edges are often on a border.
inline kv_math::Polygon2 SimplePolygon(Random& random, double centre, double half, double step) {
  while (true) {
    const int n = random.Between(3, 16);
    kv_math::Polygon2 polygon = step == 0 && random.Between(0, 2) == 0
                                    ? StarPolygon(random, n, centre, half)
                                    : Untangled(ScatteredPolygon(random, n, centre, half, step));
    if (!kv_model::IsSimple(polygon)) continue;
    return random.Between(0, 1) == 0 ? polygon : Reversed(polygon);
  }
}

}  // namespace kv_test
