#pragma once

#include <cstdint>

#include "frame/interfaces/algorithm_interface.h"
#include "frame/spin_barrier.h"
#include "image/region_of_support.h"

namespace kv_img {

/// "AbsoluteDifference": the absolute difference of the luma of two frames.
template <class ImageIn, class ImageOut>
class AbsoluteDifferenceAlgorithmInterface : public BinaryAlgorithm<ImageIn, ImageOut> {
 public:
  /// Writes |luma of first - luma of second| for the pixels of the region in rows of thread `threadIndex`.
  virtual ImageOut& Apply(const ImageIn& first, const ImageIn& second, ImageOut& destination,
                          const RegionOfSupport& region, kv_std::SpinBarrier& barrier,
                          std::uint32_t threadIndex) const = 0;
};

}  // namespace kv_img
