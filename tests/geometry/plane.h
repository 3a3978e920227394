#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <vector>

#include "geometry/polygon2.h"
#include "geometry/rect2.h"

/// Plane geometry by its definitions, to compare with.
namespace kv_model {

/// How often the polygon winds around (x, y); the point must not be on its boundary.
inline int WindingNumber(const kv_math::Polygon2& polygon, double x, double y) {
  const std::size_t n = polygon.GetNbrOfVertices();
  int winding = 0;
  for (std::size_t i = 0; i < n; ++i) {
    const kv_math::Vector2& a = polygon[i];
    const kv_math::Vector2& b = polygon[(i + 1) % n];
    if ((a.y <= y) == (b.y <= y)) continue;
    if (a.x + (b.x - a.x) * ((y - a.y) / (b.y - a.y)) > x) winding += a.y <= y ? 1 : -1;
  }
  return winding;
}

inline double DistanceToSegment(const kv_math::Vector2& a, const kv_math::Vector2& b, double x, double y) {
  const double dx = b.x - a.x;
  const double dy = b.y - a.y;
  const double lengthSquared = dx * dx + dy * dy;
  double t = lengthSquared > 0 ? ((x - a.x) * dx + (y - a.y) * dy) / lengthSquared : 0.0;
  t = std::min(1.0, std::max(0.0, t));
  return std::hypot(a.x + t * dx - x, a.y + t * dy - y);
}

/// Distance of (x, y) from the polygon's boundary.
inline double DistanceToBoundary(const kv_math::Polygon2& polygon, double x, double y) {
  const std::size_t n = polygon.GetNbrOfVertices();
  double least = INFINITY;
  for (std::size_t i = 0; i < n; ++i) {
    least = std::min(least, DistanceToSegment(polygon[i], polygon[(i + 1) % n], x, y));
  }
  return least;
}

/// Area by the shoelace formula: positive when the polygon winds from the x axis to the y axis.
inline double SignedArea(const kv_math::Polygon2& polygon) {
  const std::size_t n = polygon.GetNbrOfVertices();
  double twice = 0.0;
  for (std::size_t i = 0; i < n; ++i) {
    const kv_math::Vector2& a = polygon[i];
    const kv_math::Vector2& b = polygon[(i + 1) % n];
    twice += (a.x - polygon[0].x) * (b.y - polygon[0].y) - (a.y - polygon[0].y) * (b.x - polygon[0].x);
  }
  return twice / 2;
}

/// Signed area that polygon and rectangle share: the area of the one curve with bridges that remains when the
/// vertices outside each border are replaced one border after another. The bridges have no area.
inline double SharedArea(const kv_math::Polygon2& polygon, const kv_math::Rect2& rect) {
  const double border[4] = {rect.GetLeft(), -rect.GetRight(), rect.GetTop(), -rect.GetBottom()};
  kv_math::Polygon2 rest = polygon;
  for (int side = 0; side < 4; ++side) {
    const std::size_t axis = side / 2;
    const double sign = side % 2 == 0 ? 1.0 : -1.0;
    kv_math::Polygon2 next;
    const std::size_t n = rest.GetNbrOfVertices();
    for (std::size_t i = 0; i < n; ++i) {
      const kv_math::Vector2& a = rest[i];
      const kv_math::Vector2& b = rest[(i + 1) % n];
      const double depthA = sign * a[axis] - border[side];
      const double depthB = sign * b[axis] - border[side];
      if (depthA >= 0) next.AddVertex(a);
      if ((depthA > 0 && depthB < 0) || (depthA < 0 && depthB > 0)) {
        const double t = depthA / (depthA - depthB);
        next.AddVertex({a.x + t * (b.x - a.x), a.y + t * (b.y - a.y)});
      }
    }
    rest = next;
  }
  return rest.GetNbrOfVertices() < 3 ? 0.0 : SignedArea(rest);
}

/// Twice the area of the triangle abc, exact for coordinates that are small multiples of a power of two.
inline long double Cross(const kv_math::Vector2& a, const kv_math::Vector2& b, const kv_math::Vector2& c) {
  return (static_cast<long double>(b.x) - a.x) * (static_cast<long double>(c.y) - a.y) -
         (static_cast<long double>(b.y) - a.y) * (static_cast<long double>(c.x) - a.x);
}

/// True when the segments ab and cd have a point in common.
inline bool SegmentsMeet(const kv_math::Vector2& a, const kv_math::Vector2& b, const kv_math::Vector2& c,
                         const kv_math::Vector2& d) {
  if (std::max(a.x, b.x) < std::min(c.x, d.x) || std::max(c.x, d.x) < std::min(a.x, b.x) ||
      std::max(a.y, b.y) < std::min(c.y, d.y) || std::max(c.y, d.y) < std::min(a.y, b.y)) {
    return false;
  }
  const long double c1 = Cross(a, b, c);
  const long double d1 = Cross(a, b, d);
  const long double a1 = Cross(c, d, a);
  const long double b1 = Cross(c, d, b);
  return !((c1 > 0 && d1 > 0) || (c1 < 0 && d1 < 0) || (a1 > 0 && b1 > 0) || (a1 < 0 && b1 < 0));
}

/// True when the polygon has at least three vertices, no two edges share a point, save neighbours their
/// vertex, and no edge runs back along its neighbour.
inline bool IsSimple(const kv_math::Polygon2& polygon) {
  const std::size_t n = polygon.GetNbrOfVertices();
  if (n < 3) return false;
  for (std::size_t i = 0; i < n; ++i) {
    const kv_math::Vector2& a = polygon[i];
    const kv_math::Vector2& b = polygon[(i + 1) % n];
    const kv_math::Vector2& c = polygon[(i + 2) % n];
    if (a.x == b.x && a.y == b.y) return false;
    if (Cross(a, b, c) == 0 && (b.x - a.x) * (c.x - b.x) + (b.y - a.y) * (c.y - b.y) <= 0) return false;
    for (std::size_t j = i + 2; j < n; ++j) {
      if ((j + 1) % n != i && SegmentsMeet(a, b, polygon[j], polygon[(j + 1) % n])) return false;
    }
  }
  return true;
}

}  // namespace kv_model
