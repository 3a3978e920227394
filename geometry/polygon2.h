#pragma once

#include <cstddef>
#include <vector>

#include "geometry/export.h"
#include "geometry/vector2.h"

namespace kv_math {

/// A polygon by its vertices in order; the last one is joined to the first. Any vertices may be added, in
/// either winding direction; functions that read a polygon document what they require. Several threads may
/// read a polygon at the same time, but not while one changes it.
class KV_MATH_API Polygon2 {
 public:
  /// Appends a vertex.
  void AddVertex(const Vector2& vertex) { vertices_.push_back(vertex); }

  std::size_t GetNbrOfVertices() const noexcept { return vertices_.size(); }

  /// `index` must be less than `GetNbrOfVertices()`.
  Vector2& operator[](std::size_t index) noexcept { return vertices_[index]; }
  const Vector2& operator[](std::size_t index) const noexcept { return vertices_[index]; }

 private:
  std::vector<Vector2> vertices_;
};

}  // namespace kv_math
