#pragma once

#include "geometry/export.h"
#include "geometry/vector2.h"

namespace kv_math {

/// An axis-aligned rectangle in pixels, y downwards: all points with left <= x <= right and top <= y <=
/// bottom.
///
/// A rectangle is either invalid, with no point, such as a default-constructed one, or valid. A valid
/// rectangle may be a single point or a line, and may be mirrored (right < left or bottom < top); it contains
/// the same points as its `UnMirror`. A plain value; several threads may read it at the same time.
class KV_MATH_API Rect2 {
 public:
  /// The invalid rectangle.
  constexpr Rect2() noexcept = default;

  /// The rectangle between two opposite corners. Invalid if a coordinate is NaN; infinite coordinates are
  /// allowed.
  Rect2(double left, double top, double right, double bottom) noexcept;

  /// Grows the rectangle just enough to contain `point`. An invalid rectangle becomes that point, a mirrored
  /// one is unmirrored. Does nothing if `point` is invalid or has a NaN coordinate.
  void Expand(const Vector2& point) noexcept;

  /// The same points with left <= right and top <= bottom; an invalid rectangle stays invalid.
  [[nodiscard]] Rect2 UnMirror() const noexcept;

  /// True if the rectangle contains at least one point.
  bool IsValid() const noexcept { return valid_; }

  /// The borders, 0 in an invalid rectangle.
  double GetLeft() const noexcept { return left_; }
  double GetTop() const noexcept { return top_; }
  double GetRight() const noexcept { return right_; }
  double GetBottom() const noexcept { return bottom_; }

 private:
  double left_ = 0.0;
  double top_ = 0.0;
  double right_ = 0.0;
  double bottom_ = 0.0;
  bool valid_ = false;
};

}  // namespace kv_math
