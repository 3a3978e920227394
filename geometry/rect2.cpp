#include "geometry/rect2.h"

#include <algorithm>
#include <cmath>

namespace kv_math {

Rect2::Rect2(double left, double top, double right, double bottom) noexcept {
  if (std::isnan(left) || std::isnan(top) || std::isnan(right) || std::isnan(bottom)) return;
  left_ = left;
  top_ = top;
  right_ = right;
  bottom_ = bottom;
  valid_ = true;
}

void Rect2::Expand(const Vector2& point) noexcept {
  if (!point.IsValid() || std::isnan(point.x) || std::isnan(point.y)) return;
  if (!valid_) {
    *this = Rect2(point.x, point.y, point.x, point.y);
    return;
  }
  const Rect2 upright = UnMirror();
  *this = Rect2(std::min(upright.left_, point.x), std::min(upright.top_, point.y),
                std::max(upright.right_, point.x), std::max(upright.bottom_, point.y));
}

Rect2 Rect2::UnMirror() const noexcept {
  if (!valid_) return {};
  return {std::min(left_, right_), std::min(top_, bottom_), std::max(left_, right_), std::max(top_, bottom_)};
}

}  // namespace kv_math
