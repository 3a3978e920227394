#pragma once

#include <algorithm>

#include "algorithms/arithmetic/column_run.h"
#include "algorithms/arithmetic/kernels/kernel_sets.h"
#include "algorithms/arithmetic/moving_columns.h"
#include "frame/interfaces/average_filter.h"
#include "frame/member_name.h"
#include "frame/row_band.h"
#include "image/image.h"

namespace kv_img {
namespace arithmetic {

/// Slides a window over the columns of one output row.
///
/// The window of column c covers columns c - windowSize / 2 to c - windowSize / 2 + windowSize - 1, clipped
/// to the output row's own run; the output is the sum of its column sums divided by the sum of their counts.
template <class Kernels>
class WindowRow {
 public:
  WindowRow(const MovingColumns<Kernels>& columns, const ColumnRun& run, std::uint32_t windowSize,
            std::uint8_t* destination)
      : sums_(columns.Sums()),
        counts_(columns.Counts()),
        run_(run),
        windowSize_(windowSize),
        before_(static_cast<std::int32_t>(windowSize / 2)),
        behind_(static_cast<std::int32_t>(windowSize) - 1 - before_),
        destination_(destination) {}

  void Filter() const {
    const ColumnRun interior = Interior();
    if (interior.Width() < 8) return FilterBorder(run_);
    FilterBorder({run_.first, interior.first - 1});
    WindowMeansArgs args{interior.Width() / 8, sums_ + interior.first - before_,
                         destination_ + interior.first, windowSize_};
    Kernels::WindowMeans(args);
    FilterBorder({interior.first + 8 * args.groups, run_.last});
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
    std::int32_t sums[columnsAtOnce];
    std::int32_t counts[columnsAtOnce];
    for (std::int32_t first = part.first; first <= part.last; first += columnsAtOnce) {
      const ColumnRun some = {first, std::min(part.last, first + columnsAtOnce - 1)};
      SumWindows(some, sums, counts);
      // A loop of its own, for compilers to make vectors of.
      for (std::int32_t i = 0; i < some.Width(); ++i)
        destination_[first + i] = FloatMeanOf(sums[i], counts[i]);
    }
  }

  /// Sums and counts of the windows of some columns.
  void SumWindows(const ColumnRun& part, std::int32_t* sums, std::int32_t* counts) const {
    std::int32_t sum = 0;
    std::int32_t count = 0;
    const ColumnRun start = Intersection(run_, {part.first - before_, part.first + behind_ - 1});
    for (std::int32_t column = start.first; column <= start.last; ++column) {
      sum += sums_[column];
      count += counts_[column];
    }
    for (std::int32_t column = part.first; column <= part.last; ++column) {
      if (const std::int32_t entering = column + behind_; entering <= run_.last) {
        sum += sums_[entering];
        count += counts_[entering];
      }
      *sums++ = sum;
      *counts++ = count;
      if (const std::int32_t leaving = column - before_; leaving >= run_.first) {
        sum -= sums_[leaving];
        count -= counts_[leaving];
      }
    }
  }

  const std::uint16_t* sums_;
  const std::uint8_t* counts_;
  const ColumnRun run_;
  const std::uint32_t windowSize_;
  const std::int32_t before_;
  const std::int32_t behind_;
  std::uint8_t* destination_;
};

}  // namespace arithmetic

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
    if (windowSize == 0 || windowSize > arithmetic::maxWindowSize) {
      Refuse<Kernels>(4, L"AverageFilter", {}, L"window size");
    }
    arithmetic::MovingColumns<Kernels> columns(source.GetPixelBuffer(), region, windowSize);
    if (!columns.IsAllocated()) Refuse<Kernels>(3, L"AverageFilter", L"<ImageUChar>");

    const auto& to = destination.GetPixelBuffer();
    const RowBand band = BandOf(region, barrier, threadIndex);
    for (std::int32_t row = band.first; row <= band.last; ++row) {
      if (row == band.first) {
        columns.Start(row);
      } else {
        columns.MoveDownTo(row);
      }
      arithmetic::WindowRow(columns, arithmetic::RunOf(region, row), windowSize, to.rows[row]).Filter();
    }
    return destination;
  }
};

template <class ImageType>
class AverageFilterC final : public AverageFilter<arithmetic::ScalarKernels, ImageType> {};

template <class ImageType>
class AverageFilterMMX final : public AverageFilter<arithmetic::MmxKernels, ImageType> {};

template <class ImageType>
class AverageFilterSSE2 final : public AverageFilter<arithmetic::WideKernels, ImageType> {};

}  // namespace kv_img
