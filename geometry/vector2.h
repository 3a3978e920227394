#pragma once

#include <cstddef>

#include "geometry/export.h"

namespace kv_math {

/// A point or displacement in the plane: x to the right, y downwards, both in pixels.
///
/// `valid` says whether the coordinates mean anything; a default-constructed vector is (0, 0) and invalid.
/// The flag is set by construction alone: coordinates may be any doubles, NaN and infinities included, in a
/// valid vector. A plain value; threads may read one vector at once.
class KV_MATH_API Vector2 {
 public:
  constexpr Vector2() noexcept = default;
  constexpr Vector2(double xValue, double yValue) noexcept : x(xValue), y(yValue), valid(true) {}

  /// Index 0 is x, index 1 is y; no other index may be given.
  constexpr double& operator[](std::size_t index) noexcept { return index == 0 ? x : y; }
  constexpr double operator[](std::size_t index) const noexcept { return index == 0 ? x : y; }

  constexpr bool IsValid() const noexcept { return valid; }

  /// Sum by coordinate; valid when both operands are.
  friend constexpr Vector2 operator+(const Vector2& a, const Vector2& b) noexcept {
    Vector2 sum(a.x + b.x, a.y + b.y);
    sum.valid = a.valid && b.valid;
    return sum;
  }

  double x = 0.0;
  double y = 0.0;
  bool valid = false;
};

}  // namespace kv_math
