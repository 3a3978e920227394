#include <cmath>
#include <vector>

#include "capi/checks.h"
#include "geometry/intersection.h"

using namespace kv_capi;

namespace {

constexpr std::size_t mostPoints = 1000000;

/// Fails unless there is room; the counts are answered before.
void CheckRoom(const char* name, std::size_t capacity, std::size_t needed) {
  if (capacity < needed) Fail(KV_SIZE_MISMATCH, "%s is %zu; the pieces take %zu", name, capacity, needed);
}

}  // namespace

kv_status kv_clip_polygon(const double* points, size_t count, double left, double top, double right,
                          double bottom, double* vertices, size_t capacity, size_t* vertex_count,
                          size_t* pieces, size_t piece_capacity, size_t* piece_count) {
  return Guarded([&] {
    CheckPointer("points", points, alignof(double));
    if (count < 3 || count > mostPoints) {
      Fail(KV_BAD_ARGUMENT, "count is %zu; a polygon has 3 to %zu points", count, mostPoints);
    }
    CheckPointer("vertex_count", vertex_count, alignof(size_t));
    CheckPointer("piece_count", piece_count, alignof(size_t));
    if (capacity > 0) CheckPointer("vertices", vertices, alignof(double));
    if (piece_capacity > 0) CheckPointer("pieces", pieces, alignof(size_t));
    constexpr double farthest = 1e300;
    CheckNumber("left", left, -farthest, farthest);
    CheckNumber("top", top, -farthest, farthest);
    CheckNumber("right", right, left, farthest);
    CheckNumber("bottom", bottom, top, farthest);
    kv_math::Polygon2 polygon;
    for (std::size_t i = 0; i < count; ++i) {
      for (const std::size_t at : {2 * i, 2 * i + 1}) {
        if (!std::isfinite(points[at]))
          Fail(KV_BAD_ARGUMENT, "points[%zu] is %g; it must be finite", at, points[at]);
      }
      polygon.AddVertex({points[2 * i], points[2 * i + 1]});
    }
    std::vector<kv_math::Polygon2> clipped;
    kv_math::Intersection(polygon, {left, top, right, bottom}, clipped);
    std::size_t total = 0;
    for (const auto& piece : clipped) total += piece.GetNbrOfVertices();
    *vertex_count = total;
    *piece_count = clipped.size();
    CheckRoom("capacity", capacity, total);
    CheckRoom("piece_capacity", piece_capacity, clipped.size());
    for (const auto& piece : clipped) {
      *pieces++ = piece.GetNbrOfVertices();
      for (std::size_t i = 0; i < piece.GetNbrOfVertices(); ++i) {
        *vertices++ = piece[i][0];
        *vertices++ = piece[i][1];
      }
    }
  });
}
