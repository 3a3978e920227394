#pragma once

#include "algorithms/arithmetic/kernels/blend_boost.h"
#include "algorithms/column_run.h"
#include "algorithms/kernel_sets.h"
#include "algorithms/packed422/samples.h"
#include "frame/interfaces/blend_boost.h"
#include "frame/member_name.h"
#include "frame/row_band.h"
#include "image/image.h"
#include "image/run_region.h"

namespace kv_img {

/// Throws before a pixel is written, in this order: AlgoMMXException code 4 if the region is not a RunRegion,
/// code 1 if the frames' sizes differ (the mask's is not compared), code 6 if the byte orders of `a` and `b`
/// differ. A run whose width is not a multiple of four pixels throws when its row is reached; the rows above
/// are then already written.
template <class Set, class ImageType>
class BlendBoost : public BlendBoostAlgorithmInterface<ImageType> {
 public:
  using Mask = typename BlendBoostAlgorithmInterface<ImageType>::Mask;

  ImageType& Apply(const ImageType& b, const ImageType& a, const Mask& mask, ImageType& destination,
                   const RegionOfSupport& region, kv_std::SpinBarrier& barrier,
                   std::uint32_t threadIndex) const override {
    if (region.GetRegionType() != RunRegion::regionType) {
      Refuse<Set>(4, L"BlendBoost", {}, L"type of roi");
    }
    if (b.GetWidth() != destination.GetWidth() || b.GetHeight() != destination.GetHeight() ||
        a.GetWidth() != destination.GetWidth() || a.GetHeight() != destination.GetHeight()) {
      Refuse<Set>(1, L"BlendBoost");
    }
    const auto& bBuffer = b.GetPixelBuffer();
    const auto& aBuffer = a.GetPixelBuffer();
    const std::int32_t layout = bBuffer.descriptor.GetLayout();
    if (layout != aBuffer.descriptor.GetLayout()) {
      // This message names another algorithm on purpose: hosts know it by this text.
      Refuse<Set>(6, L"AlphaLayerColorBased", L"<ImageYUV422>");
    }
    const auto& maskBuffer = mask.GetPixelBuffer();
    const auto& to = destination.GetPixelBuffer();
    const auto& runs = static_cast<const RunRegion&>(region);
    const RowBand band = BandOf(region, barrier, threadIndex);
    for (std::int32_t row = band.first; row <= band.last; ++row) {
      const std::int32_t groups = runs.GetNumberOf4Pixels(row);
      const std::int32_t column = runs.GetLeft(row);
      arithmetic::BlendBoost::Args args{groups,
                                        bBuffer.rows[row] + PixelOffset(column),
                                        aBuffer.rows[row] + PixelOffset(column),
                                        maskBuffer.rows[row] + column,
                                        to.rows[row] + PixelOffset(column),
                                        OrderOf(layout)};
      Set::template Run<arithmetic::BlendBoost>(args);
    }
    return destination;
  }
};

template <class ImageType>
class BlendBoostC final : public BlendBoost<Scalar, ImageType> {};

template <class ImageType>
class BlendBoostMMX final : public BlendBoost<Mmx, ImageType> {};

template <class ImageType>
class BlendBoostSSE2 final : public BlendBoost<Widest, ImageType> {};

template <class ImageType>
class BlendBoostNEON final : public BlendBoost<Widest, ImageType> {};

}  // namespace kv_img
