#pragma once

#include <algorithm>

#include "algorithms/box_filter/even_borders.h"
#include "algorithms/box_filter/kernels/kernel_sets.h"
#include "algorithms/box_filter/moving_columns.h"
#include "algorithms/box_filter/small_windows.h"
#include "algorithms/column_run.h"
#include "frame/interfaces/average_filter.h"
#include "frame/member_name.h"
#include "frame/row_band.h"
#include "image/image.h"

namespace kv_img {
namespace box_filter {

/// Slides a window over the columns of one output row.
///
/// The window of column c covers columns c - windowSize / 2 to c - windowSize / 2 + windowSize - 1, clipped
/// to the output row's own run; the output is the sum of its column sums divided by the sum of their counts.
template <class Kernels>
class WindowRow {
 public:
  WindowRow(const MovingColumns<Kernels>& columns, const ColumnRun& run, std::uint32_t windowSize,
            std::uint8_t* destination)
      : columns_(columns),
        sums_{columns.SumsFrom(0), columns.SumsFrom(1)},
        counts_(columns.Counts()),
        run_(run),
        windowSize_(windowSize),
        before_(static_cast<std::int32_t>(windowSize / 2)),
        behind_(static_cast<std::int32_t>(windowSize) - 1 - before_),
        destination_(destination) {}

  void Filter() const {
    const ColumnRun interior = Interior();
    if (interior.Width() < 8) return FilterBorder(run_);
    ForEachGroups(interior, [this](std::int32_t column, std::int32_t groups) {
      WindowMeansArgs args{groups, columns_.SumsFrom(column - before_),
                           columns_.SumsFrom(column - before_ + 1), destination_ + column, windowSize_};
      Kernels::WindowMeans(args);
    });
    if (interior == ColumnRun{run_.first + before_, run_.last - behind_}) {
      const auto sumOf = [this](std::int32_t column) -> std::int32_t {
        return sums_[column & 1][column >> 1];
      };
      return EvenBorders(run_, static_cast<std::int32_t>(windowSize_), sumOf, destination_).Filter();
    }
    FilterBorder({run_.first, interior.first - 1});
    FilterBorder({interior.last + 1, run_.last});
  }

 private:
  /// The columns whose whole window has a pixel in every row.
  ColumnRun Interior() const {
    ColumnRun full = run_;
    while (!full.IsEmpty() && counts_[full.first] != windowSize_) ++full.first;
    while (!full.IsEmpty() && counts_[full.last] != windowSize_) --full.last;
    return {full.first + before_, full.last - behind_};
  }

  /// Divides by the counts, in any column of the run.
  void FilterBorder(const ColumnRun& part) const {
    constexpr std::int32_t columnsAtOnce = 256;
    std::int32_t sums[columnsAtOnce + maxWindowSize];
    std::int32_t counts[columnsAtOnce + maxWindowSize];
    const auto windowSize = static_cast<std::int32_t>(windowSize_);
    for (std::int32_t first = part.first; first <= part.last; first += columnsAtOnce) {
      const std::int32_t width = std::min(part.last - first + 1, columnsAtOnce);
      AddUp(first - before_, width + windowSize, sums, counts);
      // A loop of its own, for compilers to make vectors of.
      std::uint8_t* destination = destination_ + first;
      for (std::int32_t i = 0; i < width; ++i)
        destination[i] = FloatMeanOf(sums[i + windowSize] - sums[i], counts[i + windowSize] - counts[i]);
    }
  }

  /// For each of some columns the sums and counts of the columns before it, from `column` on, that are in the
  /// run.
  void AddUp(std::int32_t column, std::int32_t width, std::int32_t* sums, std::int32_t* counts) const {
    const std::int32_t end = column + width;
    const std::int32_t behindRun = std::min(end, run_.last + 1);
    std::int32_t sum = 0;
    std::int32_t count = 0;
    const auto next = [&](std::int32_t columnSum, std::int32_t columnCount) {
      *sums++ = sum;
      *counts++ = count;
      sum += columnSum;
      count += columnCount;
      ++column;
    };
    while (column < std::min(end, run_.first)) next(0, 0);
    if (column < behindRun && column % 2 != 0) next(sums_[1][column / 2], counts_[column]);
    while (column + 1 < behindRun) {
      next(sums_[0][column / 2], counts_[column]);
      next(sums_[1][column / 2], counts_[column]);
    }
    if (column < behindRun) next(sums_[0][column / 2], counts_[column]);
    while (column < end) next(0, 0);
  }

  const MovingColumns<Kernels>& columns_;
  const std::uint16_t* sums_[2];
  const std::uint8_t* counts_;
  const ColumnRun run_;
  const std::uint32_t windowSize_;
  const std::int32_t before_;
  const std::int32_t behind_;
  std::uint8_t* destination_;
};

}  // namespace box_filter

/// Throws AlgoMMXException before a pixel is written, in this order: code 1 when the sizes differ, code 4
/// when windowSize is not 1 to 255, code 3 when there is no memory for the column sums. Pixels outside the
/// region are neither read nor written.
template <class Kernels, class ImageType>
class AverageFilter : public AverageFilterAlgorithmInterface<ImageType> {
 public:
  ImageType& Apply(const ImageType& source, ImageType& destination, const RegionOfSupport& region,
                   std::uint32_t windowSize, kv_std::SpinBarrier& barrier,
                   std::uint32_t threadIndex) const override {
    if (source.GetWidth() != destination.GetWidth() || source.GetHeight() != destination.GetHeight()) {
      Refuse<Kernels>(1, L"AverageFilter");
    }
    if (windowSize == 0 || windowSize > box_filter::maxWindowSize) {
      Refuse<Kernels>(4, L"AverageFilter", {}, L"window size");
    }
    box_filter::MovingColumns<Kernels> columns(source.GetPixelBuffer(), region, windowSize);
    if (!columns.IsAllocated()) Refuse<Kernels>(3, L"AverageFilter", L"<ImageUChar>");

    const auto& to = destination.GetPixelBuffer();
    const RowBand band = BandOf(region, barrier, threadIndex);
    if (band.last < band.first) return destination;
    box_filter::SmallWindows<Kernels> small(source.GetPixelBuffer(), region, windowSize, band.first);
    for (std::int32_t row = band.first; row <= band.last; ++row) {
      if (small.Filter(row, to.rows[row])) continue;
      columns.MoveTo(row);
      box_filter::WindowRow(columns, RunOf(region, row), windowSize, to.rows[row]).Filter();
    }
    return destination;
  }
};

template <class ImageType>
class AverageFilterC final : public AverageFilter<box_filter::ScalarKernels, ImageType> {};

template <class ImageType>
class AverageFilterMMX final : public AverageFilter<box_filter::MmxKernels, ImageType> {};

template <class ImageType>
class AverageFilterSSE2 final : public AverageFilter<box_filter::WideKernels, ImageType> {};

}  // namespace kv_img
