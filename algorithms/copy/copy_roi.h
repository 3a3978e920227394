#pragma once

#include <cstdint>

#include "algorithms/copy/copy.h"
#include "algorithms/copy/roi_spans.h"
#include "frame/interfaces/copy_roi.h"
#include "frame/member_name.h"
#include "image/image_rect.h"

namespace kv_img {
namespace copy {

/// The two regions of a call.
struct RoiPair {
  const RegionOfSupport& source;
  const RegionOfSupport& destination;
};

/// Copies between regions that the frame has checked. Specialised for every pair of formats: - the
/// constructor takes the images and the regions, and may still refuse them;
/// - `Copy(threads, index)` does the work of thread `index`.
template <class Set, class ImageIn, class ImageOut>
class RoiCopier;

/// a - b, where a and b may be any ints.
inline std::int64_t Distance(int a, int b) {
  return std::int64_t{a} - b;
}

/// Whether two regions have equal sizes or, if one of them is not rectangular, equal run lengths row by row.
inline bool HaveEqualShapes(const RoiPair& regions) {
  const auto& [source, destination] = regions;
  if (source.IsRectangular() && destination.IsRectangular()) {
    return source.GetWidth() == destination.GetWidth() && source.GetHeight() == destination.GetHeight();
  }
  const std::int64_t rows = Distance(source.GetBottom(), source.GetTop());
  if (rows != Distance(destination.GetBottom(), destination.GetTop())) return false;
  for (std::int64_t row = 0; row <= rows; ++row) {
    const auto from = static_cast<int>(source.GetTop() + row);
    const auto to = static_cast<int>(destination.GetTop() + row);
    if (Distance(source.GetRight(from), source.GetLeft(from)) !=
        Distance(destination.GetRight(to), destination.GetLeft(to))) {
      return false;
    }
  }
  return true;
}

}  // namespace copy

/// What every "CopyROI" shares: the check of the regions.
template <class Set, class ImageIn, class ImageOut>
class CopyROI : public CopyROIAlgorithmInterface<ImageIn, ImageOut> {
 public:
  ImageOut& Apply(const ImageIn& source, ImageOut& destination, const RegionOfSupport& sourceRegion,
                  const RegionOfSupport& destinationRegion, kv_std::SpinBarrier& barrier,
                  std::uint32_t threadIndex) const override {
    const copy::RoiPair regions{sourceRegion, destinationRegion};
    if (!copy::HaveEqualShapes(regions) || !sourceRegion.IsInside(ImageRect(source)) ||
        !destinationRegion.IsInside(ImageRect(destination))) {
      Refuse<Set>(2, L"CopyROI");
    }
    const copy::RoiCopier<Set, ImageIn, ImageOut> copier(source, destination, regions);
    copier.Copy(barrier.GetThreadCount(), threadIndex);
    return destination;
  }
};

template <class ImageIn, class ImageOut>
class CopyROIC final : public CopyROI<Scalar, ImageIn, ImageOut> {};

template <class ImageIn, class ImageOut>
class CopyROIMMX final : public CopyROI<Mmx, ImageIn, ImageOut> {};

template <class ImageIn, class ImageOut>
class CopyROISSE2 final : public CopyROI<Widest, ImageIn, ImageOut> {};

template <class ImageIn, class ImageOut>
class CopyROINEON final : public CopyROI<Widest, ImageIn, ImageOut> {};

}  // namespace kv_img
