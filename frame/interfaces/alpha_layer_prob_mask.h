#pragma once

#include <memory>

#include "frame/interfaces/algorithm_interface.h"
#include "frame/spin_barrier.h"
#include "image/region_of_support.h"

namespace kv_img {

/// "AlphaLayerProbMask": an alpha mask from the difference of two probability images, smoothed by the
/// averaging filter.
template <class ImageType>
class AlphaLayerProbMaskAlgorithmInterface : public UnaryAlgorithm<ImageType> {
 public:
  /// Raw mask: clamp((p - q) * gain + 128, 0, 255). `windowSize` goes to the averaging filter. `intermediate`
  /// takes the raw mask; with several threads the caller supplies one image for all of them, null is for one
  /// thread.
  virtual ImageType& Apply(const ImageType& p, const ImageType& q, ImageType& destination,
                           const RegionOfSupport& region, std::uint32_t gain, std::uint32_t windowSize,
                           std::shared_ptr<ImageType> intermediate, kv_std::SpinBarrier& barrier,
                           std::uint32_t threadIndex) const = 0;
  /// Raw mask: clamp(p - q + 128, 0, 255).
  virtual ImageType& Apply(const ImageType& p, const ImageType& q, ImageType& destination,
                           const RegionOfSupport& region, std::uint32_t windowSize,
                           std::shared_ptr<ImageType> intermediate, kv_std::SpinBarrier& barrier,
                           std::uint32_t threadIndex) const = 0;
};

}  // namespace kv_img
