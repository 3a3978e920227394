#pragma once

#include <limits>
#include <vector>

#include "geometry/intersection.h"

namespace kv_test {

// What no vertex should have.
inline constexpr double infinity = std::numeric_limits<double>::infinity();
inline constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();

/// The pieces of `polygon` inside `rect`.
inline std::vector<kv_math::Polygon2> Clip(const kv_math::Polygon2& polygon, const kv_math::Rect2& rect) {
  std::vector<kv_math::Polygon2> pieces;
  kv_math::Intersection(polygon, rect, pieces);
  return pieces;
}

}  // namespace kv_test
