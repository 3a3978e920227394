#pragma once

#include <algorithm>
#include <cstdint>

#include "algorithms/box_filter/kernels/kernel_sets.h"
#include "algorithms/column_run.h"
#include "image/image.h"
#include "image/region_of_support.h"

namespace kv_img::box_filter {

/// Calls `work(first, groups)` for groups of eight columns that cover a run of at least eight. What is left
/// over is worked on once more together with columns before it; long runs are taken in eights of groups,
/// which suits the widest kernels.
template <class Work>
void ForEachGroups(const ColumnRun& run, Work work) {
  const std::int32_t atOnce = run.Width() < 64 ? 8 : 64;
  const std::int32_t rest = run.Width() % atOnce;
  work(run.first, (run.Width() - rest) / 8);
  if (rest != 0) work(run.last + 1 - atOnce, atOnce / 8);
}

/// Rows of a region whose windows are small and have rows of one run alone, as in a rectangle: every column
/// of the run counts windowSize times, and the pixels are added up where they are.
template <class Kernels>
class SmallWindows {
 public:
  using Buffer = Image<PixelNoColor<unsigned char>>::Buffer;

  /// For output rows from `row` on. The region must lie inside the image.
  SmallWindows(const Buffer& source, const RegionOfSupport& region, std::uint32_t windowSize,
               std::int32_t row)
      : source_(source),
        region_(region),
        windowSize_(static_cast<std::int32_t>(windowSize)),
        before_(windowSize_ / 2),
        behind_(windowSize_ - 1 - before_),
        top_(region.GetTop()),
        bottom_(region.GetBottom()),
        lowest_(Nearest(row - before_)),
        firstAlike_(lowest_),
        run_(RunOf(region, lowest_)) {}

  /// Filters an output row, not above the one before. False, and nothing done, when its windows are not such.
  bool Filter(std::int32_t row, std::uint8_t* destination) {
    if (windowSize_ > static_cast<std::int32_t>(mostSmall)) return false;
    LookDownTo(Nearest(row + behind_));
    const ColumnRun interior = {run_.first + before_, run_.last - behind_};
    if (Nearest(row - before_) < firstAlike_ || interior.Width() < 8) return false;
    const std::uint8_t* rows[mostSmall];
    for (std::int32_t i = 0; i < windowSize_; ++i) rows[i] = source_.rows[Nearest(row - before_ + i)];
    ForEachGroups(interior, [&](std::int32_t column, std::int32_t groups) {
      SmallWindowMeansArgs args{groups, {}, destination + column, static_cast<std::uint32_t>(windowSize_)};
      for (std::int32_t i = 0; i < windowSize_; ++i) args.rows[i] = rows[i] + column - before_;
      Kernels::SmallWindowMeans(args);
    });
    FilterBorder(rows, run_.first, 1, before_, behind_, destination);
    FilterBorder(rows, run_.last, -1, behind_, before_, destination);
    return true;
  }

 private:
  std::int32_t Nearest(std::int32_t row) const { return std::max(top_, std::min(bottom_, row)); }

  void LookDownTo(std::int32_t row) {
    while (lowest_ < row) {
      const ColumnRun run = RunOf(region_, ++lowest_);
      if (run != run_) firstAlike_ = lowest_;
      run_ = run;
    }
  }

  /// So many columns from an edge inward, whose windows reach so far inward: a handful, added up as they
  /// come.
  void FilterBorder(const std::uint8_t* const* rows, std::int32_t edge, std::int32_t inward,
                    std::int32_t columns, std::int32_t reach, std::uint8_t* destination) const {
    std::int32_t sum = 0;
    for (std::int32_t i = 0; i < columns + reach; ++i) {
      for (std::int32_t row = 0; row < windowSize_; ++row) sum += rows[row][edge + i * inward];
      if (i >= reach) destination[edge + (i - reach) * inward] = FloatMeanOf(sum, windowSize_ * (i + 1));
    }
  }

  const Buffer& source_;
  const RegionOfSupport& region_;
  const std::int32_t windowSize_;
  const std::int32_t before_;
  const std::int32_t behind_;
  const std::int32_t top_;
  const std::int32_t bottom_;
  /// The lowest row looked at, its run, and the first row from which on runs are like it.
  std::int32_t lowest_;
  std::int32_t firstAlike_;
  ColumnRun run_;
};

}  // namespace kv_img::box_filter
