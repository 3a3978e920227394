#pragma once

#include <cstddef>
#include <span>
#include <vector>

#include "geometry/polygon2.h"

namespace kv_img::fillpoly {

/// The edge from vertex i of a prepared polygon to its successor.
struct ScanEdge {
  int firstRow = 0;           ///< row of the upper end
  int lastRow = 0;            ///< row of the lower end, in which the edge is still active
  double x = 0.0;             ///< x of the edge's line at y = firstRow, which may be above the edge itself
  double inverseSlope = 0.0;  ///< change of x per row
  bool horizontal = false;    ///< both ends are in one row: never active, x and slope stay 0
};

/// Clamps every vertex's y to `top` and `bottom` - 0.01 (computed in single precision), so that no vertex
/// reaches the last row. If `bottom` equals `top`, all vertices get y = `top`. A NaN becomes the upper limit.
void ClampRows(kv_math::Polygon2& polygon, int top, int bottom);

/// Of two consecutive vertices in the same row of which exactly one has an integral y, moves that one down by
/// 0.001 (the single-precision number). Works in place, vertex by vertex: the next pair uses the moved
/// vertex.
void NudgeOffRowStarts(kv_math::Polygon2& polygon);

/// One edge per vertex, in the order of the vertices. Every y must be a number whose row fits an int.
std::vector<ScanEdge> MakeEdges(const kv_math::Polygon2& polygon);

/// Walks over the rows of a polygon from top to bottom and lists the edges that are active in each.
///
///     for (ScanLineWalk walk(polygon, top, bottom); walk.NextRow();) {
///       for (const ScanLineWalk::ActiveEdge& edge : walk.ActiveEdges()) … walk.Row(), edge.x …
///     }
///
/// The polygon may have either winding direction and may cross itself; its y are clamped and nudged first. An
/// edge is active in the rows that it touches, firstRow to lastRow; an edge within one row is never active. A
/// walk is for one thread. Memory and time grow with the number of vertices and of active edges, not with the
/// height of the region.
class ScanLineWalk {
 public:
  struct ActiveEdge {
    double x;           ///< x of the edge's line at the start of the row, y = Row()
    std::size_t index;  ///< of the edge in Edges() and of its first end in Polygon()
  };

  /// Prepares `polygon` for the rows `top` to `bottom`, both included. Throws std::bad_alloc.
  ScanLineWalk(const kv_math::Polygon2& polygon, int top, int bottom);

  /// Moves to the first, then to the next row. Returns false if no edge is active any more or there are no
  /// more rows.
  bool NextRow();

  /// The current row. Call this and ActiveEdges only after NextRow has returned true.
  int Row() const noexcept { return row_; }
  /// The edges of the current row: first those that continue, then those that start in it, both in order of
  /// their first row. Valid until the next call of NextRow.
  std::span<const ActiveEdge> ActiveEdges() const noexcept { return active_; }

  /// The polygon, clamped and nudged.
  const kv_math::Polygon2& Polygon() const noexcept { return polygon_; }
  /// All edges, horizontal ones included: edge i is from vertex i to vertex i + 1, the last one to vertex 0.
  std::span<const ScanEdge> Edges() const noexcept { return edges_; }

 private:
  kv_math::Polygon2 polygon_;
  std::vector<ScanEdge> edges_;
  std::vector<std::size_t> byFirstRow_;  // indices of edges, sorted by first row
  std::size_t nextInBuckets_ = 0;
  std::vector<ActiveEdge> active_;
  int bottom_;
  int row_ = 0;
  bool started_ = false;
};

}  // namespace kv_img::fillpoly
