#pragma once

#include <cstdint>

#include "algorithms/box_filter/border.h"
#include "algorithms/box_filter/kernels/box_filter.h"
#include "algorithms/box_filter/kernels/means.h"
#include "algorithms/box_filter/moving_columns.h"
#include "algorithms/box_filter/window_rows.h"
#include "algorithms/column_run.h"
#include "algorithms/kernel_sets.h"
#include "frame/interfaces/average_filter.h"
#include "frame/member_name.h"
#include "frame/row_band.h"
#include "image/image.h"

namespace kv_img {
namespace box_filter {

/// Filters rows of an 8-bit image one after another, from top to bottom.
template <class Set>
class RowFilter {
 public:
  using Buffer = Image<PixelNoColor<unsigned char>>::Buffer;

  /// Throws nothing: see IsAllocated.
  RowFilter(const Buffer& source, const Window& window)
      : source_(source), window_(window), columns_(source, window), border_(source.width, window) {}

  /// Returns false if there was no memory; nothing else may be called then.
  bool IsAllocated() const { return columns_.IsAllocated() && border_.IsAllocated(); }

  /// Filters the output row of `rows`.
  void Filter(const WindowRows& rows, std::uint8_t* destination) {
    const ColumnRun run = rows.RunOf(rows.Row());
    if (window_.size <= static_cast<std::int32_t>(mostSmall) && rows.AreUniform()) {
      switch (window_.size) {
        case 2:
          return FilterPixels<2>(rows, run, destination);
        case 3:
          return FilterPixels<3>(rows, run, destination);
        case 4:
          return FilterPixels<4>(rows, run, destination);
        default:
          return FilterPixels<1>(rows, run, destination);
      }
    }
    columns_.MoveTo(rows);
    FilterSums(run, destination);
  }

 private:
  /// Small windows over rows of one run, as in a rectangle, are added up from their pixels.
  template <std::int32_t size>
  void FilterPixels(const WindowRows& windowRows, const ColumnRun& run, std::uint8_t* destination) const {
    const std::uint8_t* rows[mostSmall];
    for (std::int32_t i = 0; i < size; ++i) rows[i] = source_.rows[windowRows.At(i)];
    const ColumnRun groups = GroupsOf(window_.Inside(run), run, 1);
    SmallWindowMeans::Args args{
        groups.Width(), {}, destination + groups.first, static_cast<std::uint32_t>(size)};
    for (std::int32_t i = 0; i < size; ++i) args.rows[i] = rows[i] + groups.first - window_.before;
    Set::template Run<SmallWindowMeans>(args);
    const auto filterBorder = [&](std::int32_t first, std::int32_t last) {
      for (std::int32_t column = first; column <= last; ++column) {
        std::uint32_t sum = 0;
        std::int32_t count = 0;
        for (std::int32_t place = 0; place < size; ++place) {
          const std::int32_t pixel = column - window_.before + place;
          if (pixel < run.first || pixel > run.last) continue;
          for (std::int32_t i = 0; i < size; ++i) sum += rows[i][pixel];
          count += size;
        }
        destination[column] = FloatMeanOf(static_cast<std::int32_t>(sum), count);
      }
    };
    filterBorder(run.first, groups.first - 1);
    filterBorder(groups.last + 1, run.last);
  }

  /// All other windows are added up from column sums. Not inlined: in one function with FilterPixels g++ runs
  /// out of registers, and rows that are mostly border cost a tenth more.
  [[gnu::noinline]] void FilterSums(const ColumnRun& run, std::uint8_t* destination) const {
    const ColumnRun groups = GroupsOf(window_.Inside(columns_.FullColumns(run)), run, 8);
    WindowMeans::Args args{groups.Width() / 8, columns_.SumsFrom(groups.first - window_.before),
                           columns_.SumsFrom(groups.first - window_.before + 1), destination + groups.first,
                           static_cast<std::uint32_t>(window_.size)};
    Set::template Run<WindowMeans>(args);
    border_.Filter(
        run, groups, [this](std::int32_t column) { return columns_.PixelsFrom(column); }, destination);
  }

  /// The columns that a kernel filters: whole groups of the interior. If there are none, the empty run that
  /// ends before the first column.
  static ColumnRun GroupsOf(const ColumnRun& interior, const ColumnRun& run, std::int32_t columnsPerGroup) {
    const std::int32_t width = interior.Width() / columnsPerGroup * columnsPerGroup;
    const std::int32_t first = width == 0 ? run.first : interior.first;
    return {first, first + width - 1};
  }

  const Buffer& source_;
  const Window window_;
  MovingColumns<Set> columns_;
  Border border_;
};

}  // namespace box_filter

/// Throws AlgoMMXException before a pixel is written, in this order: code 1 when the sizes differ, code 4
/// when windowSize is not 1 to 255, code 3 when there is no memory. Pixels outside the
/// region are neither read nor written.
template <class Set, class ImageType>
class AverageFilter : public AverageFilterAlgorithmInterface<ImageType> {
 public:
  ImageType& Apply(const ImageType& source, ImageType& destination, const RegionOfSupport& region,
                   std::uint32_t windowSize, kv_std::SpinBarrier& barrier,
                   std::uint32_t threadIndex) const override {
    if (source.GetWidth() != destination.GetWidth() || source.GetHeight() != destination.GetHeight()) {
      Refuse<Set>(1, L"AverageFilter");
    }
    if (windowSize == 0 || windowSize > box_filter::maxWindowSize) {
      Refuse<Set>(4, L"AverageFilter", {}, L"window size");
    }
    const box_filter::Window window(windowSize);
    box_filter::RowFilter<Set> filter(source.GetPixelBuffer(), window);
    if (!filter.IsAllocated()) Refuse<Set>(3, L"AverageFilter", L"<ImageUChar>");

    const auto& to = destination.GetPixelBuffer();
    const RowBand band = BandOf(region, barrier, threadIndex);
    if (band.last < band.first) return destination;
    box_filter::WindowRows rows(region, window, band.first);
    for (std::int32_t row = band.first; row <= band.last; ++row) {
      rows.MoveTo(row);
      filter.Filter(rows, to.rows[row]);
    }
    return destination;
  }
};

template <class ImageType>
class AverageFilterC final : public AverageFilter<Scalar, ImageType> {};

template <class ImageType>
class AverageFilterMMX final : public AverageFilter<Mmx, ImageType> {};

template <class ImageType>
class AverageFilterSSE2 final : public AverageFilter<Widest, ImageType> {};

template <class ImageType>
class AverageFilterNEON final : public AverageFilter<Widest, ImageType> {};

}  // namespace kv_img
