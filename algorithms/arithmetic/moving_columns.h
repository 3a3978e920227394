#pragma once

#include <algorithm>
#include <cstdint>
#include <memory>
#include <new>

#include "algorithms/arithmetic/column_run.h"
#include "algorithms/arithmetic/kernels/kernel_sets.h"
#include "image/image.h"
#include "image/region_of_support.h"

namespace kv_img::arithmetic {

/// The columns of a window that moves down a region of an 8-bit image: per column the sum of the pixels that
/// the window's rows have there, and how many of its rows do.
///
/// The window of an output row is `windowSize` rows high and starts windowSize / 2 rows above it. A row above
/// the region is replaced by the region's first row, a row below it by the last, so one row may count several
/// times. A row takes part in the columns of its own run alone.
///
/// Moving down costs one row that enters and one that leaves, whatever the window's size.
template <class Kernels>
class MovingColumns {
 public:
  using Buffer = Image<PixelNoColor<unsigned char>>::Buffer;

  /// The region must lie inside the image; windowSize is 1 to maxWindowSize. Throws nothing: see IsAllocated.
  MovingColumns(const Buffer& source, const RegionOfSupport& region, std::uint32_t windowSize)
      : source_(source),
        region_(region),
        above_(static_cast<std::int32_t>(windowSize / 2)),
        below_(static_cast<std::int32_t>(windowSize - windowSize / 2 - 1)),
        sums_(new (std::nothrow) std::uint16_t[static_cast<std::size_t>(source.width) + alignment]()),
        counts_(new (std::nothrow) std::uint8_t[static_cast<std::size_t>(source.width)]()) {}

  /// False when there was no memory; nothing else may be called then.
  bool IsAllocated() const { return sums_ != nullptr && counts_ != nullptr; }

  /// Fills the window of the first output row.
  void Start(std::int32_t row) {
    for (std::int32_t offset = -above_; offset <= below_; ++offset) {
      const std::int32_t entering = NearestRow(row + offset);
      Add(entering, RunOf(region_, entering));
    }
  }

  /// Moves from the window of the row above to that of `row`.
  void MoveDownTo(std::int32_t row) {
    const std::int32_t leaving = NearestRow(row - 1 - above_);
    const std::int32_t entering = NearestRow(row + below_);
    if (leaving == entering) return;
    const ColumnRun leavingRun = RunOf(region_, leaving);
    const ColumnRun enteringRun = RunOf(region_, entering);
    const ColumnRun shared = Intersection(leavingRun, enteringRun);
    if (shared.IsEmpty()) {
      Remove(leaving, leavingRun);
      Add(entering, enteringRun);
      return;
    }
    Remove(leaving, {leavingRun.first, shared.first - 1});
    Remove(leaving, {shared.last + 1, leavingRun.last});
    Add(entering, {enteringRun.first, shared.first - 1});
    Add(entering, {shared.last + 1, enteringRun.last});
    Replace(leaving, entering, shared);
  }

  /// By column of the image; no sum is above 255 * windowSize.
  const std::uint16_t* Sums() const { return Aligned(sums_.get()); }
  const std::uint8_t* Counts() const { return counts_.get(); }

 private:
  /// Sums start on a boundary of the widest registers: 32 of them.
  static constexpr std::size_t alignment = 32;
  static std::uint16_t* Aligned(std::uint16_t* sums) {
    const auto misplaced = reinterpret_cast<std::uintptr_t>(sums) / sizeof *sums % alignment;
    return misplaced == 0 ? sums : sums + (alignment - misplaced);
  }

  std::int32_t NearestRow(std::int32_t row) const {
    return std::max(region_.GetTop(), std::min(region_.GetBottom(), row));
  }

  void Add(std::int32_t row, const ColumnRun& run) {
    const std::uint8_t* pixels = source_.rows[row];
    std::uint16_t* sums = Aligned(sums_.get());
    std::uint8_t* counts = counts_.get();
    for (std::int32_t column = run.first; column <= run.last; ++column)
      sums[column] = static_cast<std::uint16_t>(sums[column] + pixels[column]);
    for (std::int32_t column = run.first; column <= run.last; ++column) ++counts[column];
  }

  void Remove(std::int32_t row, const ColumnRun& run) {
    const std::uint8_t* pixels = source_.rows[row];
    std::uint16_t* sums = Aligned(sums_.get());
    std::uint8_t* counts = counts_.get();
    for (std::int32_t column = run.first; column <= run.last; ++column)
      sums[column] = static_cast<std::uint16_t>(sums[column] - pixels[column]);
    for (std::int32_t column = run.first; column <= run.last; ++column) --counts[column];
  }

  /// One row for another where both have pixels: the counts stay.
  void Replace(std::int32_t leaving, std::int32_t entering, const ColumnRun& run) {
    const std::uint8_t* leavingPixels = source_.rows[leaving];
    const std::uint8_t* enteringPixels = source_.rows[entering];
    std::uint16_t* sums = Aligned(sums_.get());
    ReplaceRowArgs args{run.Width() / 8, enteringPixels + run.first, leavingPixels + run.first,
                        sums + run.first};
    Kernels::ReplaceRow(args);
    for (std::int32_t column = run.first + 8 * args.groups; column <= run.last; ++column) {
      sums[column] =
          static_cast<std::uint16_t>(sums[column] + enteringPixels[column] - leavingPixels[column]);
    }
  }

  const Buffer& source_;
  const RegionOfSupport& region_;
  const std::int32_t above_;
  const std::int32_t below_;
  std::unique_ptr<std::uint16_t[]> sums_;
  std::unique_ptr<std::uint8_t[]> counts_;
};

}  // namespace kv_img::arithmetic
