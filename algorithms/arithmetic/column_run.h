#pragma once

#include <algorithm>
#include <cstdint>

#include "image/region_of_support.h"

namespace kv_img::arithmetic {

/// Columns of one row, both included; empty when last < first.
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

inline ColumnRun Intersection(const ColumnRun& a, const ColumnRun& b) {
  return {std::max(a.first, b.first), std::min(a.last, b.last)};
}

}  // namespace kv_img::arithmetic
