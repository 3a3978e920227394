#pragma once

#include <cstdint>

#include "frame/interfaces/algorithm_interface.h"
#include "frame/spin_barrier.h"
#include "image/region_of_support.h"

namespace kv_img {

/// "CopyROI": the pixels of a region of one image into a region of another.
template <class ImageIn, class ImageOut>
class CopyROIAlgorithmInterface : public BinaryAlgorithm<ImageIn, ImageOut> {
 public:
  /// Copies the rows of thread `threadIndex`. The regions must have equal sizes or runs and be inside their
  /// images; otherwise AlgoMMXException code 2, before a pixel is written. Never waits at the barrier.
  virtual ImageOut& Apply(const ImageIn& source, ImageOut& destination, const RegionOfSupport& sourceRegion,
                          const RegionOfSupport& destinationRegion, kv_std::SpinBarrier& barrier,
                          std::uint32_t threadIndex) const = 0;
};

}  // namespace kv_img
