#pragma once

#include <cstddef>
#include <span>
#include <vector>

#include "geometry/polygon2.h"

namespace kv_img::fillpoly {

/// The edge from vertex i of a prepared polygon to its successor, as the walk over the rows needs it.
struct ScanEdge {
  int firstRow = 0;           ///< row of the upper end
  int lastRow = 0;            ///< row of the lower end; the edge takes part in it
  double x = 0.0;             ///< where the edge's line meets y = firstRow; may lie above the edge itself
  double inverseSlope = 0.0;  ///< growth of x per row
  bool horizontal = false;    ///< both ends lie in one row: takes no part in the walk, x and slope stay 0
};

/// Moves every vertex's y into the rows `top` to `bottom`, to at least `top` and at most 0.01 above `bottom`
/// (computed in single precision), so that no vertex reaches the last row. In a single row that limit lies
/// above `top`, and all vertices get y = `top`. A NaN becomes the limit.
void ClampRows(kv_math::Polygon2& polygon, int top, int bottom);

/// Nudges vertices off the starts of rows: of two successive vertices in the same row of which exactly one
/// has an integral y, that one moves down by 0.001 (the single-precision number). Works in place, vertex by
/// vertex, so a moved vertex counts as moved for the pair that follows.
void NudgeOffRowStarts(kv_math::Polygon2& polygon);

/// One record per vertex, in the order of the vertices. The y must be numbers with their row within the range
/// of int.
std::vector<ScanEdge> MakeEdges(const kv_math::Polygon2& polygon);

/// Walks over the rows of a polygon from top to bottom and gives the edges that are active in each.
///
///     for (ScanLineWalk walk(polygon, top, bottom); walk.NextRow();) {
///       for (const ScanLineWalk::ActiveEdge& edge : walk.ActiveEdges()) … walk.Row(), edge.x …
///     }
///
/// The polygon may wind either way and cross itself; its y are clamped and nudged first. An edge is active
/// from its first to its last row, both included: the rows that it touches. An edge within one row is in
/// none. One walk belongs to one thread. Memory and time grow with the vertices and with the edges active in
/// each row, not with the height of the region.
class ScanLineWalk {
 public:
  struct ActiveEdge {
    double x;           ///< where the edge's line meets the start of the row, y = Row()
    std::size_t index;  ///< the edge, an index of Edges(), and its first end, an index of Polygon()
  };

  /// Prepares `polygon` for the rows `top` to `bottom`, both included. Throws std::bad_alloc.
  ScanLineWalk(const kv_math::Polygon2& polygon, int top, int bottom);

  /// Goes to the first, then to the next row; false when no edge is active any more or the rows have run out.
  bool NextRow();

  /// The current row. Asked only after NextRow answered true; so are the active edges.
  int Row() const noexcept { return row_; }
  /// The edges of the current row: those that go on first, then those that begin in it, each in the order of
  /// their beginning. Valid until the next row.
  std::span<const ActiveEdge> ActiveEdges() const noexcept { return active_; }

  /// The polygon, clamped and nudged.
  const kv_math::Polygon2& Polygon() const noexcept { return polygon_; }
  /// All edges, horizontal ones included: edge i leads from vertex i to vertex i + 1, the last one to vertex
  /// 0.
  std::span<const ScanEdge> Edges() const noexcept { return edges_; }

 private:
  kv_math::Polygon2 polygon_;
  std::vector<ScanEdge> edges_;
  std::vector<std::size_t> byFirstRow_;  // the buckets, one behind the other
  std::size_t nextInBuckets_ = 0;
  std::vector<ActiveEdge> active_;
  int bottom_;
  int row_ = 0;
  bool started_ = false;
};

}  // namespace kv_img::fillpoly
