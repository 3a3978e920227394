#pragma once

#include <cstddef>
#include <vector>

#include "geometry/vector2.h"

namespace kv_math {

/// A closed curve by its corner points; the last is joined to the first.
using Loop = std::vector<Vector2>;

/// The open half plane on one side of a line parallel to an axis: coordinate `axis` is greater than
/// `position` if `greater`, else less.
struct HalfPlane {
  std::size_t axis;
  double position;
  bool greater;

  bool Contains(const Vector2& point) const noexcept {
    return greater ? point[axis] > position : point[axis] < position;
  }
  bool Excludes(const Vector2& point) const noexcept {
    return greater ? point[axis] < position : point[axis] > position;
  }
};

/// Cuts `loop` along the border of `side` and appends the closed curves inside, joined along the border, to
/// `kept`. A loop with no point outside is appended unchanged, a loop with no point inside is dropped. The
/// winding number of the curves equals the loop's at every point of the half plane. Coordinates must be
/// finite.
void AppendInside(Loop loop, const HalfPlane& side, std::vector<Loop>& kept);

}  // namespace kv_math
