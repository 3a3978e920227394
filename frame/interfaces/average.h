#pragma once

#include <cstdint>

#include "frame/interfaces/algorithm_interface.h"
#include "frame/spin_barrier.h"
#include "image/region_of_support.h"

namespace kv_img {

/// "Average": two images, each valid inside its own region, merged into one.
template <class ImageType>
class AverageAlgorithmInterface : public UnaryAlgorithm<ImageType> {
 public:
  /// Mean where both are valid, a copy where one is, 0 where none is, inside `outputRegion`.
  virtual ImageType& Apply(const ImageType& first, const ImageType& second, ImageType& destination,
                           const RegionOfSupport& firstRegion, const RegionOfSupport& secondRegion,
                           const RegionOfSupport& outputRegion, kv_std::SpinBarrier& barrier,
                           std::uint32_t threadIndex) const = 0;
};

}  // namespace kv_img
