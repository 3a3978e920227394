#pragma once

#include <cstdint>

#include "algorithms/kernel_sets.h"
#include "algorithms/packed422/runs.h"
#include "algorithms/scanning/horizontal_pan.h"
#include "algorithms/scanning/vertical_pan.h"
#include "algorithms/scanning/viewport.h"
#include "frame/interfaces/scanning.h"
#include "frame/member_name.h"
#include "frame/row_band.h"
#include "image/image_rect.h"

namespace kv_img {
namespace scanning {

/// Mode flags, tested in this order: horizontal flags override vertical ones.
enum Mode : std::uint8_t {
  horizontalForward = 0x01,
  horizontalReverse = 0x02,
  verticalForward = 0x04,
  verticalReverse = 0x08,
};

}  // namespace scanning

/// "Scanning" of packed 4:2:2 frames.
template <class Set, class ImageIn, class ImageOut>
class Scanning : public ScanningAlgorithmInterface<ImageIn, ImageOut> {
 public:
  ImageOut& Apply(const ImageIn& source, ImageOut& destination, const RegionOfSupport& sourceRegion,
                  const RegionOfSupport& destinationRegion, std::uint8_t modeFlags, std::int32_t steps,
                  std::uint32_t step, kv_std::SpinBarrier& barrier, std::int32_t threadIndex) const override {
    using namespace scanning;
    CheckRegions(source, sourceRegion, destinationRegion);
    const bool isHorizontal = (modeFlags & (horizontalForward | horizontalReverse)) != 0;
    const bool isVertical = !isHorizontal && (modeFlags & (verticalForward | verticalReverse)) != 0;
    if ((isHorizontal && sourceRegion.GetHeight() != destinationRegion.GetHeight()) ||
        (isVertical && sourceRegion.GetWidth() != destinationRegion.GetWidth())) {
      Refuse<Set>(2, L"Scanning");
    }
    const RowBand band = BandOf(destinationRegion, barrier, static_cast<std::uint32_t>(threadIndex));
    // A region without pixels may be anywhere, even where there are no rows.
    if (destinationRegion.GetWidth() == 0) return destination;
    const bool isForward = (modeFlags & (isHorizontal ? horizontalForward : verticalForward)) != 0;
    const std::uint32_t frame = isForward ? step : static_cast<std::uint32_t>(steps) - step - 1U;
    const bool isOtherField = destination.GetProperties().fieldParity != (step & 1U);

    const RowBand computed{band.first, band.last - (isOtherField ? 1 : 0)};
    if (isHorizontal) {
      PanHorizontally(source, destination, sourceRegion, destinationRegion, steps, frame, isOtherField,
                      computed);
    } else if (isVertical) {
      PanVertically(source, destination, sourceRegion, destinationRegion, steps, frame, isOtherField,
                    computed);
    }
    if (isOtherField) RepeatLastRow(destination, destinationRegion, band);
    return destination;
  }

 private:
  /// The destination region, too, is checked against the source image, on purpose.
  static void CheckRegions(const ImageIn& source, const RegionOfSupport& sourceRegion,
                           const RegionOfSupport& destinationRegion) {
    const ImageRect bounds(source);
    if (!sourceRegion.IsInside(bounds) || !destinationRegion.IsInside(bounds) ||
        destinationRegion.GetWidth() > sourceRegion.GetWidth() ||
        destinationRegion.GetHeight() > sourceRegion.GetHeight()) {
      Refuse<Set>(2, L"Scanning");
    }
    if (!sourceRegion.IsRectangular() || !destinationRegion.IsRectangular()) {
      Refuse<Set>(4, L"Scanning", L"<ImageYUV422, ImageYUV422>: region of support not rectangular");
    }
  }

  static void PanHorizontally(const ImageIn& source, ImageOut& destination,
                              const RegionOfSupport& sourceRegion, const RegionOfSupport& destinationRegion,
                              std::int32_t steps, std::uint32_t frame, bool isOtherField, RowBand rows) {
    const auto& from = source.GetPixelBuffer();
    auto& to = destination.GetPixelBuffer();
    const scanning::ViewportStart viewport = scanning::StartOfViewport(
        sourceRegion.GetLeft(), sourceRegion.GetWidth(), destinationRegion.GetWidth(), steps, frame, 0.0F);
    const scanning::HorizontalPan<Set, typename ImageIn::Buffer> pan(from, to, destinationRegion.GetLeft(),
                                                                     destinationRegion.GetRight(), viewport);
    const int offset = sourceRegion.GetTop() - destinationRegion.GetTop();
    const int below = isOtherField ? 1 : 0;
    for (int row = rows.first; row <= rows.last; ++row) {
      pan.FillRow(from.rows[row + offset], from.rows[row + offset + below], to.rows[row]);
    }
  }

  static void PanVertically(const ImageIn& source, ImageOut& destination, const RegionOfSupport& sourceRegion,
                            const RegionOfSupport& destinationRegion, std::int32_t steps, std::uint32_t frame,
                            bool isOtherField, RowBand rows) {
    const auto& from = source.GetPixelBuffer();
    auto& to = destination.GetPixelBuffer();
    const scanning::ViewportStart viewport =
        scanning::StartOfViewport(sourceRegion.GetTop(), sourceRegion.GetHeight(),
                                  destinationRegion.GetHeight(), steps, frame, isOtherField ? 0.5F : 0.0F);
    const scanning::VerticalPan<Set, typename ImageIn::Buffer> pan(from, to, destinationRegion.GetLeft(),
                                                                   destinationRegion.GetRight(),
                                                                   sourceRegion.GetLeft(), viewport.fraction);
    const int offset = viewport.whole - destinationRegion.GetTop();
    const int bottom = destinationRegion.GetBottom();
    for (int row = rows.first; row <= rows.last; ++row) {
      // The bottom row repeats its source row: nothing below the region is read.
      pan.FillRow(from.rows[row + offset], from.rows[row + offset + (row == bottom ? 0 : 1)], to.rows[row]);
    }
  }

  /// Finishes a band of the other field: its last row becomes a copy of the row above, which is in another
  /// band if the band has one row. Row 0 has none above it and stays unchanged.
  static void RepeatLastRow(ImageOut& destination, const RegionOfSupport& region, RowBand band) {
    if (band.last < band.first || band.last == 0) return;
    auto& to = destination.GetPixelBuffer();
    const PackedSamples samples(to.descriptor);
    CopyRun(to.rows[band.last - 1], samples, to.rows[band.last], samples, region.GetLeft(),
            region.GetRight());
  }
};

template <class ImageIn, class ImageOut>
class ScanningC final : public Scanning<Scalar, ImageIn, ImageOut> {};

template <class ImageIn, class ImageOut>
class ScanningMMX final : public Scanning<Mmx, ImageIn, ImageOut> {};

template <class ImageIn, class ImageOut>
class ScanningSSE2 final : public Scanning<Widest, ImageIn, ImageOut> {};

template <class ImageIn, class ImageOut>
class ScanningNEON final : public Scanning<Widest, ImageIn, ImageOut> {};

}  // namespace kv_img
