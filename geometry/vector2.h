#pragma once

#include <cstddef>

#include "geometry/export.h"

namespace kv_math {

/// A point or displacement in the plane: x to the right, y downwards, both in pixels.
///
/// A default-constructed vector is (0, 0) and invalid, a vector of two coordinates is valid whatever they
/// are, NaN and infinities included. A plain value; several threads may read it at the same time.
class KV_MATH_API Vector2 {
 public:
  constexpr Vector2() noexcept = default;
  constexpr Vector2(double xValue, double yValue) noexcept : x(xValue), y(yValue), valid(true) {}

  /// Index 0 is x, index 1 is y; there are no others.
  constexpr double& operator[](std::size_t index) noexcept { return index == 0 ? x : y; }
  constexpr double operator[](std::size_t index) const noexcept { return index == 0 ? x : y; }

  constexpr bool IsValid() const noexcept { return valid; }

  /// Adds the coordinates; valid if both operands are.
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
