#pragma once

#include <vector>

#include "image/image_rect.h"
#include "image/region_of_support.h"

namespace kv_img {

/// The region that keeps one run per row in two arrays, first and last column. Region type 3.
///
/// A run whose last column is before its first is empty. The bounding box covers the runs that are not
/// empty; of a region whose runs are all empty it is column 0 to -1.
class KV_IMAGE_API RunRegion final : public RegionOfSupport {
 public:
  static const int ClassID;
  static constexpr int regionType = 3;

  /// Row `top` + i has the run firstColumns[i] to lastColumns[i]. Throws AlgoException code 2 when the arrays
  /// differ in length.
  RunRegion(int top, std::vector<int> firstColumns, std::vector<int> lastColumns);
  /// The pixels of a rectangle.
  explicit RunRegion(const ImageRect& rect);
  RunRegion(const RunRegion&) = default;
  RunRegion& operator=(const RunRegion&) = default;
  ~RunRegion() override;

  /// Groups of four pixels in the run of `row`. Throws AlgoMotionException code 4, "GetNumberOf4Pixels", when
  /// the run's width is negative or not a multiple of 4.
  int GetNumberOf4Pixels(int row) const;

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
  int top_;
  std::vector<int> firstColumns_;
  std::vector<int> lastColumns_;
  int left_ = 0;
  int right_ = -1;
};

}  // namespace kv_img
