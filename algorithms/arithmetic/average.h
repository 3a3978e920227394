#pragma once

#include <algorithm>
#include <cstring>

#include "algorithms/arithmetic/kernels/halved_sum.h"
#include "algorithms/column_run.h"
#include "algorithms/kernel_sets.h"
#include "algorithms/rounding.h"
#include "frame/interfaces/average.h"
#include "frame/member_name.h"
#include "frame/row_band.h"
#include "image/image.h"

namespace kv_img {

/// Throws AlgoMMXException code 1 if the three sizes are not equal, before a pixel is written. Pixels outside
/// the output region stay unchanged.
template <class Set, class ImageType>
class Average : public AverageAlgorithmInterface<ImageType> {
 public:
  ImageType& Apply(const ImageType& first, const ImageType& second, ImageType& destination,
                   const RegionOfSupport& firstRegion, const RegionOfSupport& secondRegion,
                   const RegionOfSupport& outputRegion, kv_std::SpinBarrier& barrier,
                   std::uint32_t threadIndex) const override {
    if (first.GetWidth() != destination.GetWidth() || first.GetHeight() != destination.GetHeight() ||
        second.GetWidth() != destination.GetWidth() || second.GetHeight() != destination.GetHeight()) {
      Refuse<Set>(1, L"Average");
    }
    const auto& firstBuffer = first.GetPixelBuffer();
    const auto& secondBuffer = second.GetPixelBuffer();
    const auto& to = destination.GetPixelBuffer();
    const RowBand band = BandOf(outputRegion, barrier, threadIndex);
    const RegionRuns firstRuns(firstRegion);
    const RegionRuns secondRuns(secondRegion);
    const RegionRuns outputRuns(outputRegion);
    const ColumnRun run = outputRuns.At(band.first);
    if (firstRuns.AreEqualIn(band) && secondRuns.AreEqualIn(band) && outputRuns.AreEqualIn(band) &&
        firstRuns.At(band.first) == run && secondRuns.At(band.first) == run) {
      // The usual call, in which looking the runs up would take a tenth of the time.
      for (std::int32_t row = band.first; row <= band.last; ++row)
        Merge(firstBuffer.rows[row], secondBuffer.rows[row], to.rows[row], run);
      return destination;
    }
    for (std::int32_t row = band.first; row <= band.last; ++row) {
      const ColumnRun output = outputRuns.At(row);
      MergeRow({firstBuffer.rows[row], Intersection(firstRuns.At(row), output)},
               {secondBuffer.rows[row], Intersection(secondRuns.At(row), output)}, to.rows[row], output);
    }
    return destination;
  }

 private:
  /// A row of a source and the columns in which it is valid.
  struct SourceRow {
    const std::uint8_t* pixels;
    ColumnRun valid;
  };

  static void MergeRow(const SourceRow& first, const SourceRow& second, std::uint8_t* destination,
                       const ColumnRun& output) {
    if (output.IsEmpty()) return;
    const ColumnRun overlap = Intersection(first.valid, second.valid);
    if (overlap == output) return Merge(first.pixels, second.pixels, destination, output);
    std::memset(destination + output.first, 0, static_cast<std::size_t>(output.Width()));
    const bool firstLeads = first.valid.first <= second.valid.first;
    const SourceRow& leading = firstLeads ? first : second;
    const SourceRow& other = firstLeads ? second : first;
    Copy(leading, {leading.valid.first, std::min(other.valid.first - 1, leading.valid.last)}, destination);
    Merge(first.pixels, second.pixels, destination, overlap);
    Copy(first, {std::max(second.valid.last + 1, first.valid.first), first.valid.last}, destination);
    Copy(second, {std::max(first.valid.last + 1, second.valid.first), second.valid.last}, destination);
  }

  static void Copy(const SourceRow& source, const ColumnRun& run, std::uint8_t* destination) {
    if (run.IsEmpty()) return;
    std::memcpy(destination + run.first, source.pixels + run.first, static_cast<std::size_t>(run.Width()));
  }

  static void Merge(const std::uint8_t* first, const std::uint8_t* second, std::uint8_t* destination,
                    const ColumnRun& run) {
    if (run.IsEmpty()) return;
    const std::int32_t groups = run.Width() / 4;
    arithmetic::HalvedSum::Args args{groups, first + run.first, second + run.first, destination + run.first};
    Set::template Run<arithmetic::HalvedSum>(args);

    // The kernel's mean of two odd pixels is one less than the remainder's, on purpose.
    for (std::int32_t column = run.first + 4 * groups; column <= run.last; ++column)
      destination[column] = MeanDown(first[column], second[column]);
  }
};

template <class ImageType>
class AverageC final : public Average<Scalar, ImageType> {};

template <class ImageType>
class AverageMMX final : public Average<Mmx, ImageType> {};

template <class ImageType>
class AverageSSE2 final : public Average<Widest, ImageType> {};

template <class ImageType>
class AverageNEON final : public Average<Widest, ImageType> {};

}  // namespace kv_img
