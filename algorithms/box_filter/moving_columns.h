#pragma once

#include <algorithm>
#include <cstdint>
#include <memory>
#include <new>
#include <utility>

#include "algorithms/box_filter/border.h"
#include "algorithms/box_filter/kernels/box_filter.h"
#include "algorithms/box_filter/window_rows.h"
#include "image/image.h"

namespace kv_img::box_filter {

/// The columns of a window that moves down a region of an 8-bit image: per column the sum of the pixels that
/// the window's rows have there, and how many of its rows do. A row takes part in the columns of its own run
/// alone.
///
/// Moving down costs one row that enters and one that leaves, whatever the window's size.
template <class Set>
class MovingColumns {
 public:
  using Buffer = Image<PixelNoColor<unsigned char>>::Buffer;

  /// Throws nothing: see IsAllocated.
  MovingColumns(const Buffer& source, const Window& window)
      : source_(source),
        window_(window),
        oddSums_(RoundedUp(static_cast<std::size_t>(source.width) / 2 + 2 * spareSums)),
        sums_(new (std::nothrow) std::uint16_t[2 * oddSums_ + aligned]()),
        counts_(new (std::nothrow) std::uint8_t[static_cast<std::size_t>(source.width)]()),
        sumsOf_{FirstOf(0), FirstOf(oddSums_)} {}

  /// Returns false if there was no memory; nothing else may be called then.
  bool IsAllocated() const { return sums_ != nullptr && counts_ != nullptr; }

  /// Moves to the window of `rows`, not above the one before. The region must be inside the image.
  void MoveTo(const WindowRows& rows) {
    if (!isFilled_) {
      for (std::int32_t place = 0; place < window_.size; ++place)
        Add(rows.At(place), rows.RunOf(rows.At(place)));
      isFilled_ = true;
      row_ = rows.Row();
    }
    while (row_ < rows.Row()) MoveDownTo(++row_, rows);
  }

  /// The sum of a column of the image, followed by those of every second column; spareSums surround all of
  /// them. No sum is above 255 * size.
  const std::uint16_t* SumsFrom(std::int32_t column) const { return SumAt(column); }
  /// Returns a function that returns the pixels of a column, then of the next, and so on.
  auto PixelsFrom(std::int32_t column) const {
    return [next = SumsFrom(column), afterNext = SumsFrom(column + 1),
            count = counts_.get() + column]() mutable {
      const Pixels pixels(*next++, *count++);
      std::swap(next, afterNext);
      return pixels;
    };
  }

  /// The columns from the first to the last one of a run that have a pixel in every row of the window.
  ColumnRun FullColumns(ColumnRun run) const {
    while (!run.IsEmpty() && counts_[run.first] != window_.size) ++run.first;
    while (!run.IsEmpty() && counts_[run.last] != window_.size) --run.last;
    return run;
  }

 private:
  /// Moves from the window of the row above to that of `row`.
  void MoveDownTo(std::int32_t row, const WindowRows& rows) {
    const std::int32_t leaving = rows.TopOf(row - 1);
    const std::int32_t entering = rows.BottomOf(row);
    if (leaving == entering) return;
    const ColumnRun leavingRun = rows.RunOf(leaving);
    const ColumnRun enteringRun = rows.RunOf(entering);
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

  /// Sums start at multiples of the widest register: this many sums.
  static constexpr std::size_t aligned = 32;
  static_assert(spareSums % aligned == 0);
  static std::size_t RoundedUp(std::size_t sums) { return (sums + aligned - 1) / aligned * aligned; }
  /// The sums of the even columns, or those of the odd ones; null without memory.
  std::uint16_t* FirstOf(std::size_t sums) const {
    return sums_ == nullptr ? nullptr : Aligned(sums_.get()) + spareSums + sums;
  }
  static std::uint16_t* Aligned(std::uint16_t* sums) {
    return reinterpret_cast<std::uint16_t*>(RoundedUp(reinterpret_cast<std::uintptr_t>(sums) / sizeof *sums) *
                                            sizeof *sums);
  }

  std::uint16_t* SumAt(std::int32_t column) const { return sumsOf_[column & 1] + (column >> 1); }

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
    ReplaceRow::Args args{run.Width() / 8, enteringPixels + run.first, leavingPixels + run.first,
                          SumAt(run.first), SumAt(run.first + 1)};
    Set::template Run<ReplaceRow>(args);
    for (std::int32_t column = run.first + 8 * args.groups; column <= run.last; ++column) {
      std::uint16_t& sum = *SumAt(column);
      sum = static_cast<std::uint16_t>(sum + enteringPixels[column] - leavingPixels[column]);
    }
  }

  const Buffer& source_;
  const Window window_;
  /// From the sum of an even column to that of the next odd one.
  const std::size_t oddSums_;
  std::int32_t row_ = 0;
  bool isFilled_ = false;
  std::unique_ptr<std::uint16_t[]> sums_;
  std::unique_ptr<std::uint8_t[]> counts_;
  std::uint16_t* const sumsOf_[2];
};

}  // namespace kv_img::box_filter
