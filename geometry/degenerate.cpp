#include "geometry/degenerate.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>

namespace kv_math {
namespace {

constexpr double tolerance = 4.0 * std::numeric_limits<double>::epsilon();

/// A power of two that scales the largest coordinate to about 1. Scaling by it is exact, and products neither
/// overflow nor underflow.
double ScaleOf(const Loop& loop) {
  double largest = 0.0;
  for (const Vector2& point : loop) largest = std::max({largest, std::abs(point.x), std::abs(point.y)});
  return largest > 0.0 ? std::ldexp(1.0, -std::clamp(std::ilogb(largest), -1000, 1000)) : 1.0;
}

/// The vector from `a` to `b`, scaled.
Vector2 Way(const Vector2& a, const Vector2& b, double scale) {
  return {b.x * scale - a.x * scale, b.y * scale - a.y * scale};
}

/// True if the curve from `previous` over `tip` to `next` encloses no area at `tip`.
bool IsSpike(const Vector2& previous, const Vector2& tip, const Vector2& next, double scale) {
  if ((tip.x == previous.x && tip.y == previous.y) || (tip.x == next.x && tip.y == next.y)) return true;
  const Vector2 in = Way(previous, tip, scale);
  const Vector2 out = Way(tip, next, scale);
  if (in.x * out.x + in.y * out.y >= 0.0) return false;
  const double forward = in.x * out.y;
  const double backward = in.y * out.x;
  return std::abs(forward - backward) <= tolerance * (std::abs(forward) + std::abs(backward));
}

}  // namespace

void TrimSpikes(Loop& loop) {
  const double scale = ScaleOf(loop);
  // The points kept so far are [0, end) of the loop itself.
  std::size_t end = 0;
  for (std::size_t i = 0; i < loop.size(); ++i) {
    const Vector2 point = loop[i];
    while (end >= 2 && IsSpike(loop[end - 2], loop[end - 1], point, scale)) --end;
    if (end == 1 && loop[0].x == point.x && loop[0].y == point.y) continue;
    loop[end++] = point;
  }
  // The corners at the seam, where the last point is joined to the first.
  std::size_t begin = 0;
  while (end - begin >= 3) {
    if (IsSpike(loop[end - 2], loop[end - 1], loop[begin], scale)) {
      --end;
    } else if (IsSpike(loop[end - 1], loop[begin], loop[begin + 1], scale)) {
      ++begin;
    } else {
      break;
    }
  }
  loop.resize(end);
  loop.erase(loop.begin(), loop.begin() + static_cast<std::ptrdiff_t>(begin));
}

bool HasWidth(const Loop& loop) {
  if (loop.size() < 3) return false;
  const double scale = ScaleOf(loop);
  Vector2 along(0.0, 0.0);
  double length = 0.0;
  double largest = 0.0;
  for (const Vector2& point : loop) {
    largest = std::max({largest, std::abs(point.x * scale), std::abs(point.y * scale)});
    const Vector2 way = Way(loop[0], point, scale);
    if (std::hypot(way.x, way.y) > length) {
      along = way;
      length = std::hypot(way.x, way.y);
    }
  }
  return std::any_of(loop.begin(), loop.end(), [&](const Vector2& point) {
    const Vector2 way = Way(loop[0], point, scale);
    return std::abs(along.x * way.y - along.y * way.x) > tolerance * largest * length;
  });
}

}  // namespace kv_math
