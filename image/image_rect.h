#pragma once

#include "image/image.h"
#include "image/region_of_support.h"

namespace kv_img {

/// A rectangle of pixels, all four sides inclusive. Also a region of support.
///
/// Left may be right of right, and top below bottom: such a rectangle is not valid and has no rows or
/// columns.
class KV_IMAGE_API ImageRect final : public RegionOfSupport {
 public:
  static const int ClassID;

  /// A rectangle that is not valid and has no pixel.
  ImageRect() = default;
  ImageRect(int left, int top, int right, int bottom)
      : left_(left), top_(top), right_(right), bottom_(bottom) {}
  /// The whole image.
  explicit ImageRect(const IImage& image);
  ImageRect(const ImageRect&) = default;
  ImageRect& operator=(const ImageRect&) = default;
  ~ImageRect() override;

  /// The pixels that are in both; not valid when there are none.
  ImageRect operator&(const ImageRect& other) const;
  /// The same rectangle with left <= right and top <= bottom.
  ImageRect UnMirror() const;
  /// Left <= right and top <= bottom.
  bool IsValid() const { return left_ <= right_ && top_ <= bottom_; }
  bool operator==(const ImageRect& other) const {
    return left_ == other.left_ && top_ == other.top_ && right_ == other.right_ && bottom_ == other.bottom_;
  }

  int GetRegionType() const override;
  unsigned GetWidth() const override;
  unsigned GetHeight() const override;
  int GetLeft(int row) const override;
  int GetLeft() const override;
  int GetRight(int row) const override;
  int GetRight() const override;
  int GetTop() const override;
  int GetBottom() const override;
  bool IsRectangular() const override;
  bool IsInside(const ImageRect& rect) const override;
  int GetClassID() const override;

 private:
  int left_ = 0;
  int top_ = 0;
  int right_ = -1;
  int bottom_ = -1;
};

/// The intersection of a region's bounding box with a rectangle.
KV_IMAGE_API ImageRect operator^(const RegionOfSupport& region, const ImageRect& rect);

}  // namespace kv_img
