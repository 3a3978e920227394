#pragma once

#include <cstdint>

#include "frame/interfaces/algorithm_interface.h"
#include "frame/spin_barrier.h"
#include "image/region_of_support.h"

namespace kv_img {

/// "Scanning": one frame of a pan in which a viewport moves across the source region.
template <class ImageIn, class ImageOut>
class ScanningAlgorithmInterface : public BinaryAlgorithm<ImageIn, ImageOut> {
 public:
  /// Renders frame `step` of `steps`. `modeFlags`: 0x01 horizontal pan in frame order, 0x02 in reverse; 0x04
  /// vertical pan in frame order, 0x08 in reverse. Each thread writes its own rows of the destination region.
  virtual ImageOut& Apply(const ImageIn& source, ImageOut& destination, const RegionOfSupport& sourceRegion,
                          const RegionOfSupport& destinationRegion, std::uint8_t modeFlags,
                          std::int32_t steps, std::uint32_t step, kv_std::SpinBarrier& barrier,
                          std::int32_t threadIndex) const = 0;
};

}  // namespace kv_img
