#pragma once

#include <cstdint>

#include "frame/interfaces/algorithm_interface.h"
#include "frame/spin_barrier.h"
#include "image/region_of_support.h"

namespace kv_img {

/// "AverageFilter": a square box filter restricted to a region.
template <class ImageType>
class AverageFilterAlgorithmInterface : public UnaryAlgorithm<ImageType> {
 public:
  /// `windowSize`: side of the box in pixels. Source and destination must be distinct. Never waits at the
  /// barrier.
  virtual ImageType& Apply(const ImageType& source, ImageType& destination, const RegionOfSupport& region,
                           std::uint32_t windowSize, kv_std::SpinBarrier& barrier,
                           std::uint32_t threadIndex) const = 0;
};

}  // namespace kv_img
