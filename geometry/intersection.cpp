#include "geometry/intersection.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <iterator>
#include <utility>

#include "geometry/degenerate.h"
#include "geometry/half_plane.h"

namespace kv_math {
namespace {

/// The polygon's vertices without consecutive duplicates; empty if a vertex is not a finite point.
Loop LoopOf(const Polygon2& polygon) {
  Loop loop;
  loop.reserve(polygon.GetNbrOfVertices());
  for (std::size_t i = 0; i < polygon.GetNbrOfVertices(); ++i) {
    const Vector2& vertex = polygon[i];
    if (!vertex.IsValid() || !std::isfinite(vertex.x) || !std::isfinite(vertex.y)) return {};
    if (loop.empty() || loop.back().x != vertex.x || loop.back().y != vertex.y) loop.push_back(vertex);
  }
  return loop;
}

}  // namespace

Rect2 Intersection(const Rect2& a, const Rect2& b) noexcept {
  if (!a.IsValid() || !b.IsValid()) return {};
  const Rect2 first = a.UnMirror();
  const Rect2 second = b.UnMirror();
  const double left = std::max(first.GetLeft(), second.GetLeft());
  const double top = std::max(first.GetTop(), second.GetTop());
  const double right = std::min(first.GetRight(), second.GetRight());
  const double bottom = std::min(first.GetBottom(), second.GetBottom());
  if (right < left || bottom < top) return {};
  return {left, top, right, bottom};
}

void Intersection(const Polygon2& polygon, const Rect2& rect, std::vector<Polygon2>& pieces) {
  const Rect2 upright = rect.UnMirror();
  if (!upright.IsValid()) return;
  std::vector<Loop> loops;
  loops.push_back(LoopOf(polygon));

  const std::array<HalfPlane, 4> sides = {{{0, upright.GetLeft(), true},
                                           {0, upright.GetRight(), false},
                                           {1, upright.GetTop(), true},
                                           {1, upright.GetBottom(), false}}};
  for (const HalfPlane& side : sides) {
    std::vector<Loop> kept;
    for (Loop& loop : loops) AppendInside(std::move(loop), side, kept);
    loops = std::move(kept);
  }

  std::vector<Polygon2> found;
  for (Loop& loop : loops) {
    TrimSpikes(loop);
    if (!HasWidth(loop)) continue;
    Polygon2& piece = found.emplace_back();
    for (const Vector2& vertex : loop) piece.AddVertex(vertex);
  }
  pieces.reserve(pieces.size() + found.size());
  std::move(found.begin(), found.end(), std::back_inserter(pieces));
}

}  // namespace kv_math
