#pragma once

#include <algorithm>
#include <cstdint>

#include "frame/row_band.h"
#include "image/image_rect.h"
#include "image/region_of_support.h"

namespace kv_img {

/// Columns of one row, both included; empty if last < first.
struct ColumnRun {
  std::int32_t first;
  std::int32_t last;

  bool IsEmpty() const { return last < first; }
  std::int32_t Width() const { return IsEmpty() ? 0 : last - first + 1; }
  bool operator==(const ColumnRun&) const = default;
};

inline ColumnRun RunOf(const RegionOfSupport& region, std::int32_t row) {
  return {region.GetLeft(row), region.GetRight(row)};
}

/// The runs of a region, row by row; the sides of a rectangle are read only once.
class RegionRuns {
 public:
  explicit RegionRuns(const RegionOfSupport& region)
      : region_(region),
        top_(region.GetTop()),
        bottom_(region.GetBottom()),
        isRectangle_(region.GetClassID() == ImageRect::ClassID),
        sides_{region.GetLeft(), region.GetRight()} {}

  /// Whether all rows of the band have the same run.
  bool AreEqualIn(const RowBand& band) const {
    return isRectangle_ && top_ <= band.first && band.last <= bottom_;
  }
  /// Empty above and below the region.
  ColumnRun At(std::int32_t row) const {
    if (row < top_ || row > bottom_) return {0, -1};
    return isRectangle_ ? sides_ : RunOf(region_, row);
  }

 private:
  const RegionOfSupport& region_;
  const std::int32_t top_;
  const std::int32_t bottom_;
  const bool isRectangle_;
  const ColumnRun sides_;
};

inline ColumnRun Intersection(const ColumnRun& a, const ColumnRun& b) {
  return {std::max(a.first, b.first), std::min(a.last, b.last)};
}

}  // namespace kv_img
