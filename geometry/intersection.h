#pragma once

#include <vector>

#include "geometry/export.h"
#include "geometry/polygon2.h"
#include "geometry/rect2.h"

namespace kv_math {

/// The points that both rectangles hold, unmirrored; invalid when there are none or when either rectangle is
/// invalid. Rectangles that only touch share a line or a point, which is a valid rectangle.
KV_MATH_API Rect2 Intersection(const Rect2& a, const Rect2& b) noexcept;

/// Clips `polygon` to `rect` and appends the pieces that lie in the rectangle to `pieces`.
///
/// A simple polygon (one whose boundary neither crosses nor touches itself) gives simple pieces that wind as
/// the polygon does, lie inside the rectangle, do not overlap and together cover exactly what polygon and
/// rectangle have in common. A concave polygon may fall into several pieces; where they meet the same border
/// they are not joined by bridges. What only touches a border from outside gives no piece. A polygon inside
/// the rectangle comes back as one piece with its own vertices.
///
/// No piece at all: fewer than three distinct vertices; no area (a piece no wider than the rounding of its
/// coordinates, 4 * 2^-52 of the largest, counts as a line); a vertex that is invalid, NaN or infinite; a
/// rectangle that is invalid or has no area. Points repeated in succession count once, and a spike, where the
/// boundary runs back along itself, is trimmed.
///
/// A polygon that crosses itself is clipped as a curve: around every point inside the rectangle the pieces
/// together wind as often as the polygon does, so that both the even-odd and the non-zero rule select the
/// same points. Its pieces may cross themselves and each other.
///
/// New vertices on a border have that border's coordinate exactly; the other coordinate is interpolated in
/// double precision, alike for two rectangles that share the border, and everything above holds up to that
/// rounding. Takes O(n log n) steps for n vertices. `pieces` may hold `polygon` itself. Throws
/// std::bad_alloc, and then leaves `pieces` as it was.
KV_MATH_API void Intersection(const Polygon2& polygon, const Rect2& rect, std::vector<Polygon2>& pieces);

}  // namespace kv_math
