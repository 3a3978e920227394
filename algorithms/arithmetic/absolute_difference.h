#pragma once

#include "algorithms/arithmetic/kernels/luma_difference.h"
#include "algorithms/column_run.h"
#include "algorithms/kernel_sets.h"
#include "algorithms/packed422/samples.h"
#include "algorithms/rounding.h"
#include "frame/interfaces/absolute_difference.h"
#include "frame/member_name.h"
#include "frame/row_band.h"
#include "image/image.h"

namespace kv_img {

/// Throws AlgoMMXException before a pixel is written: code 1 if the three sizes are not equal, code 6 if the
/// sources' byte orders differ. Pixels outside the region stay unchanged; empty runs are skipped.
template <class Set, class ImageIn, class ImageOut>
class AbsoluteDifference : public AbsoluteDifferenceAlgorithmInterface<ImageIn, ImageOut> {
 public:
  ImageOut& Apply(const ImageIn& first, const ImageIn& second, ImageOut& destination,
                  const RegionOfSupport& region, kv_std::SpinBarrier& barrier,
                  std::uint32_t threadIndex) const override {
    if (first.GetWidth() != destination.GetWidth() || first.GetHeight() != destination.GetHeight() ||
        second.GetWidth() != destination.GetWidth() || second.GetHeight() != destination.GetHeight()) {
      Refuse<Set>(1, L"AbsoluteDifference");
    }
    const auto& firstBuffer = first.GetPixelBuffer();
    const auto& secondBuffer = second.GetPixelBuffer();
    const std::int32_t layout = firstBuffer.descriptor.GetLayout();
    if (layout != secondBuffer.descriptor.GetLayout()) {
      Refuse<Set>(6, L"AbsoluteDifference", L"<ImageYUV422>");
    }
    const auto& to = destination.GetPixelBuffer();
    const RowBand band = BandOf(region, barrier, threadIndex);
    for (std::int32_t row = band.first; row <= band.last; ++row) {
      const ColumnRun run = RunOf(region, row);
      if (run.IsEmpty()) continue;
      SubtractRun(
          {run.Width() / 4, firstBuffer.rows[row] + PixelOffset(run.first),
           secondBuffer.rows[row] + PixelOffset(run.first), to.rows[row] + run.first, OrderOf(layout)},
          run.Width() % 4);
    }
    return destination;
  }

 private:
  /// The groups of `args`, then `rest` pixels.
  static void SubtractRun(arithmetic::LumaDifference::Args args, std::int32_t rest) {
    Set::template Run<arithmetic::LumaDifference>(args);
    for (std::int32_t pixel = 0; pixel < rest; ++pixel) {
      const std::ptrdiff_t luma = PixelOffset(pixel) + LumaByte(args.order);
      args.destination[pixel] =
          static_cast<std::uint8_t>(AbsoluteDifferenceOf(args.first[luma], args.second[luma]));
    }
  }
};

template <class ImageIn, class ImageOut>
class AbsoluteDifferenceC final : public AbsoluteDifference<Scalar, ImageIn, ImageOut> {};

template <class ImageIn, class ImageOut>
class AbsoluteDifferenceMMX final : public AbsoluteDifference<Mmx, ImageIn, ImageOut> {};

template <class ImageIn, class ImageOut>
class AbsoluteDifferenceSSE2 final : public AbsoluteDifference<Widest, ImageIn, ImageOut> {};

template <class ImageIn, class ImageOut>
class AbsoluteDifferenceNEON final : public AbsoluteDifference<Widest, ImageIn, ImageOut> {};

}  // namespace kv_img
