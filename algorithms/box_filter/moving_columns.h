#pragma once

#include <algorithm>
#include <cstdint>
#include <memory>
#include <new>

#include "algorithms/box_filter/kernels/kernel_sets.h"
#include "algorithms/column_run.h"
#include "image/image.h"
#include "image/region_of_support.h"

namespace kv_img::box_filter {

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
        oddSums_(RoundedUp(static_cast<std::size_t>(source.width) / 2 + 2 * spareSums)),
        sums_(new (std::nothrow) std::uint16_t[2 * oddSums_ + aligned]()),
        counts_(new (std::nothrow) std::uint8_t[static_cast<std::size_t>(source.width)]()) {}

  /// False when there was no memory; nothing else may be called then.
  bool IsAllocated() const { return sums_ != nullptr && counts_ != nullptr; }

  /// Moves the window to that of an output row, not above the one before.
  void MoveTo(std::int32_t row) {
    if (!isFilled_) {
      Start(row);
      isFilled_ = true;
    } else {
      while (row_ < row) MoveDownTo(++row_);
    }
    row_ = row;
  }

  /// The sum of a column of the image, with those of every second column behind it, and spareSums around all
  /// of them; no sum is above 255 * windowSize.
  const std::uint16_t* SumsFrom(std::int32_t column) const { return SumAt(column); }
  /// By column of the image.
  const std::uint8_t* Counts() const { return counts_.get(); }

 private:
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
    if (leavingRun != enteringRun) {
      Remove(leaving, {leavingRun.first, shared.first - 1});
      Remove(leaving, {shared.last + 1, leavingRun.last});
      Add(entering, {enteringRun.first, shared.first - 1});
      Add(entering, {shared.last + 1, enteringRun.last});
    }
    Replace(leaving, entering, shared);
  }

  /// Sums start on boundaries of the widest registers: multiples of so many.
  static constexpr std::size_t aligned = 32;
  static_assert(spareSums % aligned == 0);
  static std::size_t RoundedUp(std::size_t sums) { return (sums + aligned - 1) / aligned * aligned; }
  static std::uint16_t* Aligned(std::uint16_t* sums) {
    return reinterpret_cast<std::uint16_t*>(RoundedUp(reinterpret_cast<std::uintptr_t>(sums) / sizeof *sums) *
                                            sizeof *sums);
  }

  std::uint16_t* SumAt(std::int32_t column) const {
    return Aligned(sums_.get()) + spareSums + (column % 2 == 0 ? 0 : oddSums_) + column / 2;
  }

  std::int32_t NearestRow(std::int32_t row) const {
    return std::max(region_.GetTop(), std::min(region_.GetBottom(), row));
  }

  void Add(std::int32_t row, const ColumnRun& run) {
    AddTimes(1, row, run);
    std::uint8_t* counts = counts_.get();
    for (std::int32_t column = run.first; column <= run.last; ++column) ++counts[column];
  }

  void Remove(std::int32_t row, const ColumnRun& run) {
    AddTimes(-1, row, run);
    std::uint8_t* counts = counts_.get();
    for (std::int32_t column = run.first; column <= run.last; ++column) --counts[column];
  }

  void AddTimes(int sign, std::int32_t row, const ColumnRun& run) {
    if (run.IsEmpty()) return;
    const std::uint8_t* pixels = source_.rows[row] + run.first;
    std::uint16_t* first = SumAt(run.first);
    std::uint16_t* second = SumAt(run.first + 1);
    const std::int32_t pairs = run.Width() / 2;
    for (std::int32_t pair = 0; pair < pairs; ++pair) {
      first[pair] = static_cast<std::uint16_t>(first[pair] + sign * pixels[2 * pair]);
      second[pair] = static_cast<std::uint16_t>(second[pair] + sign * pixels[2 * pair + 1]);
    }
    if (run.Width() % 2 != 0)
      first[pairs] = static_cast<std::uint16_t>(first[pairs] + sign * pixels[2 * pairs]);
  }

  /// One row for another where both have pixels: the counts stay.
  void Replace(std::int32_t leaving, std::int32_t entering, const ColumnRun& run) {
    const std::uint8_t* leavingPixels = source_.rows[leaving];
    const std::uint8_t* enteringPixels = source_.rows[entering];
    ReplaceRowArgs args{run.Width() / 8, enteringPixels + run.first, leavingPixels + run.first,
                        SumAt(run.first), SumAt(run.first + 1)};
    Kernels::ReplaceRow(args);
    for (std::int32_t column = run.first + 8 * args.groups; column <= run.last; ++column) {
      std::uint16_t& sum = *SumAt(column);
      sum = static_cast<std::uint16_t>(sum + enteringPixels[column] - leavingPixels[column]);
    }
  }

  const Buffer& source_;
  const RegionOfSupport& region_;
  const std::int32_t above_;
  const std::int32_t below_;
  /// Where the sums of columns at odd places stand behind those of columns at even ones.
  const std::size_t oddSums_;
  std::int32_t row_ = 0;
  bool isFilled_ = false;
  std::unique_ptr<std::uint16_t[]> sums_;
  std::unique_ptr<std::uint8_t[]> counts_;
};

}  // namespace kv_img::box_filter
