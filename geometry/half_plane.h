#pragma once

#include <cstddef>
#include <vector>

#include "geometry/vector2.h"

namespace kv_math {

/// A closed curve by its corner points; the last is joined to the first.
using Loop = std::vector<Vector2>;

/// The open half plane on one side of a line parallel to an axis: where coordinate `axis` is greater than
/// `position`
/// (`greater`) or less than it.
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

/// Cuts `loop`, whose coordinates are finite, along the border of `side` and appends the closed curves that
/// remain inside it, joined along the border, to `kept`. A loop without a point outside is kept as it is; one
/// without a point inside is dropped. Around every point of the half plane the kept curves wind as often as
/// the loop does.
void AppendInside(Loop loop, const HalfPlane& side, std::vector<Loop>& kept);

}  // namespace kv_math
