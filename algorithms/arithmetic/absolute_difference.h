#pragma once

#include "algorithms/arithmetic/kernels/kernel_sets.h"
#include "algorithms/arithmetic/packed_row.h"
#include "algorithms/column_run.h"
#include "frame/interfaces/absolute_difference.h"
#include "frame/member_name.h"
#include "frame/row_band.h"
#include "image/image.h"

namespace kv_img {

/// Throws AlgoMMXException before a pixel is written: code 1 when the three sizes are not equal, code 6 when
/// the sources' byte orders differ. Pixels outside the region stay as they were; empty runs are skipped.
template <class Kernels, class ImageIn, class ImageOut>
class AbsoluteDifference : public AbsoluteDifferenceAlgorithmInterface<ImageIn, ImageOut> {
 public:
  ImageOut& Apply(const ImageIn& first, const ImageIn& second, ImageOut& destination,
                  const RegionOfSupport& region, kv_std::SpinBarrier& barrier,
                  std::uint32_t threadIndex) const override {
    if (first.GetWidth() != destination.GetWidth() || first.GetHeight() != destination.GetHeight() ||
        second.GetWidth() != destination.GetWidth() || second.GetHeight() != destination.GetHeight()) {
      Refuse<Kernels>(1, L"AbsoluteDifference");
    }
    const auto& firstBuffer = first.GetPixelBuffer();
    const auto& secondBuffer = second.GetPixelBuffer();
    if (firstBuffer.descriptor.GetLayout() != secondBuffer.descriptor.GetLayout()) {
      Refuse<Kernels>(6, L"AbsoluteDifference", L"<ImageYUV422>");
    }
    const auto& to = destination.GetPixelBuffer();
    const RowBand band = BandOf(region, barrier, threadIndex);
    for (std::int32_t row = band.first; row <= band.last; ++row) {
      const ColumnRun run = RunOf(region, row);
      if (!run.IsEmpty()) SubtractRow(firstBuffer, secondBuffer, to.rows[row], row, run);
    }
    return destination;
  }

 private:
  using Buffer = typename ImageIn::Buffer;

  static void SubtractRow(const Buffer& first, const Buffer& second, std::uint8_t* destination,
                          std::int32_t row, const ColumnRun& run) {
    arithmetic::LumaDifferenceArgs args{run.Width() / 4, arithmetic::PixelAt(first, row, run.first),
                                        arithmetic::PixelAt(second, row, run.first), destination + run.first,
                                        arithmetic::LumaByte(first)};
    Kernels::LumaDifference(args);

    // The remainder finds the luma through each source's own descriptor.
    const std::int32_t rest = run.first + 4 * args.groups;
    const std::uint8_t* a = arithmetic::ComponentAt(first, row, rest, PixelComponent::Luma);
    const std::uint8_t* b = arithmetic::ComponentAt(second, row, rest, PixelComponent::Luma);
    for (std::int32_t column = rest; column <= run.last; ++column) {
      destination[column] = arithmetic::AbsoluteDifferenceOf(*a, *b);
      a += arithmetic::BytesPerPixel();
      b += arithmetic::BytesPerPixel();
    }
  }
};

template <class ImageIn, class ImageOut>
class AbsoluteDifferenceC final : public AbsoluteDifference<arithmetic::ScalarKernels, ImageIn, ImageOut> {};

template <class ImageIn, class ImageOut>
class AbsoluteDifferenceMMX final : public AbsoluteDifference<arithmetic::MmxKernels, ImageIn, ImageOut> {};

template <class ImageIn, class ImageOut>
class AbsoluteDifferenceSSE2 final : public AbsoluteDifference<arithmetic::WideKernels, ImageIn, ImageOut> {};

}  // namespace kv_img
