#pragma once

#include "geometry/export.h"
#include "geometry/vector2.h"

namespace kv_math {

/// An axis-aligned rectangle in pixels, y downwards: all points with left <= x <= right and top <= y <=
/// bottom.
///
/// A rectangle is either invalid (it holds no point; so a default-constructed one) or valid. A valid
/// rectangle may be a single point or a line, and it may be mirrored (right < left or bottom < top), which
/// names the same points as its `UnMirror`. A plain value; threads may read one rectangle at once.
class KV_MATH_API Rect2 {
 public:
  /// The invalid rectangle, without a point.
  constexpr Rect2() noexcept = default;

  /// The rectangle between two opposite corners. Invalid when a coordinate is NaN; infinite coordinates are
  /// allowed.
  Rect2(double left, double top, double right, double bottom) noexcept;

  /// Grows the rectangle just enough to hold `point`; an invalid rectangle becomes that one point, a mirrored
  /// one is unmirrored. A point that is invalid or has a NaN coordinate changes nothing.
  void Expand(const Vector2& point) noexcept;

  /// The same points with left <= right and top <= bottom; an invalid rectangle stays invalid.
  [[nodiscard]] Rect2 UnMirror() const noexcept;

  /// True when the rectangle holds at least one point.
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
