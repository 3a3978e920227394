#pragma once

#include "image/export.h"

namespace kv_img {

class ImageRect;

/// The set of pixels to process: one run of columns per row, all bounds inclusive.
///
/// A region without rows has width and height 0, is rectangular and is inside every rectangle.
class KV_IMAGE_API RegionOfSupport {
 public:
  virtual ~RegionOfSupport();

  /// The kind of region: 1 a rectangle, 3 the kind that keeps its runs in arrays.
  virtual int GetRegionType() const = 0;
  /// Columns of the bounding box.
  virtual unsigned GetWidth() const = 0;
  /// Rows of the bounding box.
  virtual unsigned GetHeight() const = 0;
  /// First column of the run of `row`, a row of the region.
  virtual int GetLeft(int row) const = 0;
  /// First column of the bounding box.
  virtual int GetLeft() const = 0;
  /// Last column of the run of `row`. A run whose last column is before its first is empty.
  virtual int GetRight(int row) const = 0;
  /// Last column of the bounding box.
  virtual int GetRight() const = 0;
  /// First row.
  virtual int GetTop() const = 0;
  /// Last row.
  virtual int GetBottom() const = 0;
  /// Every row has the same run.
  virtual bool IsRectangular() const = 0;
  /// Every pixel of the region is inside the rectangle.
  virtual bool IsInside(const ImageRect& rect) const = 0;
  /// Identifier of the class, ImageRect::ClassID or RunRegion::ClassID.
  virtual int GetClassID() const = 0;

 protected:
  RegionOfSupport() = default;
  RegionOfSupport(const RegionOfSupport&) = default;
  RegionOfSupport& operator=(const RegionOfSupport&) = default;
};

}  // namespace kv_img
