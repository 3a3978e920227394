#pragma once

#include <algorithm>

namespace kv_img {

/// A rectangle in floating point.
class DoubleRect {
 public:
  /// Not valid.
  DoubleRect() = default;
  DoubleRect(double left, double top, double right, double bottom)
      : left_(left), top_(top), right_(right), bottom_(bottom) {}

  double GetLeft() const { return left_; }
  double GetTop() const { return top_; }
  double GetRight() const { return right_; }
  double GetBottom() const { return bottom_; }
  double GetWidth() const { return right_ - left_; }
  double GetHeight() const { return bottom_ - top_; }

  /// The same rectangle with left <= right and top <= bottom.
  DoubleRect UnMirror() const {
    return {std::min(left_, right_), std::min(top_, bottom_), std::max(left_, right_),
            std::max(top_, bottom_)};
  }
  /// Left <= right and top <= bottom; never with a side that is not a number.
  bool IsValid() const { return left_ <= right_ && top_ <= bottom_; }

 private:
  double left_ = 0;
  double top_ = 0;
  double right_ = -1;
  double bottom_ = -1;
};

}  // namespace kv_img
