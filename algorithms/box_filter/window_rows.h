#pragma once

#include <algorithm>
#include <cstdint>

#include "algorithms/column_run.h"
#include "image/region_of_support.h"

namespace kv_img::box_filter {

/// A square window: `before` rows above and columns left of its centre, `after` below and to the right. An
/// even window reaches one pixel further back than ahead.
struct Window {
  explicit Window(std::uint32_t windowSize)
      : size(static_cast<std::int32_t>(windowSize)), before(size / 2), after(size - 1 - before) {}

  /// The columns whose windows fit into a run; maybe none.
  ColumnRun Inside(const ColumnRun& run) const { return {run.first + before, run.last - after}; }

  std::int32_t size;
  std::int32_t before;
  std::int32_t after;
};

/// The rows of a window that moves down a region. A row above the region is replaced by the region's first
/// row, a row below it by the last, so a row may be in the window several times.
class WindowRows {
 public:
  /// The window of an output row.
  WindowRows(const RegionOfSupport& region, const Window& window, std::int32_t row)
      : region_(region),
        window_(window),
        top_(region.GetTop()),
        bottom_(region.GetBottom()),
        row_(row),
        lowest_(TopOf(row)),
        uniformFrom_(lowest_),
        run_(kv_img::RunOf(region, lowest_)) {
    MoveTo(row);
  }

  /// Moves to the window of an output row, not above the one before.
  void MoveTo(std::int32_t row) {
    row_ = row;
    while (lowest_ < BottomOf(row)) {
      const ColumnRun run = kv_img::RunOf(region_, ++lowest_);
      if (run != run_) uniformFrom_ = lowest_;
      run_ = run;
    }
  }

  /// The output row.
  std::int32_t Row() const { return row_; }
  /// The row at a place in the window, 0 to size - 1.
  std::int32_t At(std::int32_t place) const { return Nearest(row_ - window_.before + place); }
  /// The first and the last row of an output row's window.
  std::int32_t TopOf(std::int32_t row) const { return Nearest(row - window_.before); }
  std::int32_t BottomOf(std::int32_t row) const { return Nearest(row + window_.after); }

  /// Whether all rows of the window have one run.
  bool AreUniform() const { return TopOf(row_) >= uniformFrom_; }
  /// The run of a row of the region, not below the window.
  ColumnRun RunOf(std::int32_t row) const { return row >= uniformFrom_ ? run_ : kv_img::RunOf(region_, row); }

 private:
  std::int32_t Nearest(std::int32_t row) const { return std::max(top_, std::min(bottom_, row)); }

  const RegionOfSupport& region_;
  const Window window_;
  const std::int32_t top_;
  const std::int32_t bottom_;
  std::int32_t row_;
  /// The lowest row of the window, its run, and the first row from which on all have this run.
  std::int32_t lowest_;
  std::int32_t uniformFrom_;
  ColumnRun run_;
};

}  // namespace kv_img::box_filter
