#pragma once

#include <algorithm>
#include <cstdint>

#include "algorithms/box_filter/kernels/window_means.h"
#include "algorithms/column_run.h"

namespace kv_img::box_filter {

/// Filters the columns at both ends of a run whose windows reach beyond it, where every column of the run
/// counts windowSize times. The run is at least windowSize wide; `sumOf` tells the sum of a column.
template <class SumOf>
class EvenBorders {
 public:
  EvenBorders(const ColumnRun& run, std::int32_t windowSize, SumOf sumOf, std::uint8_t* destination)
      : run_(run), windowSize_(windowSize), sumOf_(sumOf), destination_(destination) {}

  void Filter() const {
    const std::int32_t before = windowSize_ / 2;
    const std::int32_t behind = windowSize_ - 1 - before;
    std::int32_t sums[maxWindowSize];

    std::int32_t sum = 0;
    for (std::int32_t i = 0; i < behind; ++i) sum += sumOf_(run_.first + i);
    for (std::int32_t i = 0; i < before; ++i) sums[i] = sum += sumOf_(run_.first + behind + i);
    Divide(sums, before, behind + 1, 1, run_.first);

    sum = 0;
    for (std::int32_t i = 0; i < before; ++i) sum += sumOf_(run_.last - i);
    for (std::int32_t i = 0; i < behind; ++i) sums[behind - 1 - i] = sum += sumOf_(run_.last - before - i);
    Divide(sums, behind, windowSize_ - 1, -1, run_.last - behind + 1);
  }

 private:
  /// The windows at `column` and behind it have so many columns, and each next one `step` more.
  void Divide(const std::int32_t* sums, std::int32_t windows, std::int32_t columns, std::int32_t step,
              std::int32_t column) const {
    const std::int32_t first = windowSize_ * columns;
    const std::int32_t more = windowSize_ * step;
    // A loop of four bytes an element, of which compilers make vectors for a few windows too.
    std::int32_t means[maxWindowSize];
    for (std::int32_t i = 0; i < windows; ++i) means[i] = FloatMeanOf(sums[i], first + i * more);
    std::copy_n(means, windows, destination_ + column);
  }

  const ColumnRun run_;
  const std::int32_t windowSize_;
  const SumOf sumOf_;
  std::uint8_t* const destination_;
};

}  // namespace kv_img::box_filter
