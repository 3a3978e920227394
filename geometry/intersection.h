#pragma once

#include <vector>

#include "geometry/export.h"
#include "geometry/polygon2.h"
#include "geometry/rect2.h"

namespace kv_math {

/// The points in both rectangles, unmirrored; invalid if there are none or if either rectangle is invalid.
/// Rectangles that only touch share a line or a point, which is a valid rectangle.
KV_MATH_API Rect2 Intersection(const Rect2& a, const Rect2& b) noexcept;

/// Clips `polygon` to `rect` and appends the pieces inside the rectangle to `pieces`.
///
/// A simple polygon (one whose boundary neither crosses nor touches itself) gives simple pieces inside the
/// rectangle. They have the polygon's winding direction, do not overlap, and together cover exactly the
/// intersection of polygon and rectangle. A concave polygon may give several pieces; pieces at the same
/// border are not joined by bridges. Parts that only touch a border from outside give no piece. A polygon
/// inside the rectangle gives one piece with its own vertices.
///
/// Appends nothing if the polygon has fewer than three distinct vertices or no area (a piece within 4 * 2^-52
/// of its largest coordinate of a line counts as a line), if a vertex is invalid, NaN or infinite, or if the
/// rectangle is invalid or has no area. Consecutive duplicates count once; spikes, where the boundary turns
/// back along itself, are trimmed.
///
/// A polygon that crosses itself is clipped as a curve: at every point inside the rectangle the winding
/// numbers of the pieces add up to the polygon's, so that both the even-odd and the non-zero rule select the
/// same points. The pieces may cross themselves and each other.
///
/// New vertices on a border have exactly that border's coordinate. The other coordinate is interpolated in
/// double precision, with the same result for two rectangles that share the border; everything above holds up
/// to that rounding. Takes O(n log n) steps for n vertices. `pieces` may hold `polygon` itself. Throws
/// std::bad_alloc and then leaves `pieces` unchanged.
KV_MATH_API void Intersection(const Polygon2& polygon, const Rect2& rect, std::vector<Polygon2>& pieces);

}  // namespace kv_math
