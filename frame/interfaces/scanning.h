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
  /// Renders frame `step` (0 to steps - 1) of `steps`. `modeFlags`: 0x01 horizontal pan in frame order, 0x02
  /// in reverse; 0x04 vertical pan in frame order, 0x08 in reverse; none: only what the field parity asks
  /// for.
  ///
  /// Each thread writes its own rows of the destination region and never waits at the barrier. The images
  /// must not overlap; rows need 8 bytes of slack. The destination region must be inside the destination
  /// too, which is not tested. Throws AlgoMMXException code 2 for a region outside the source image, or sizes
  /// that do not fit, then code 4 for a region that is not rectangular, both before a pixel is written; a
  /// horizontal pan throws code 4 for layouts that are not both 4097 or both 4098, in the thread's first
  /// computed row.
  virtual ImageOut& Apply(const ImageIn& source, ImageOut& destination, const RegionOfSupport& sourceRegion,
                          const RegionOfSupport& destinationRegion, std::uint8_t modeFlags,
                          std::int32_t steps, std::uint32_t step, kv_std::SpinBarrier& barrier,
                          std::int32_t threadIndex) const = 0;
};

}  // namespace kv_img
