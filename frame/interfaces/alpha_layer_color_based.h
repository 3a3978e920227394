#pragma once

#include <memory>

#include "frame/interfaces/algorithm_interface.h"
#include "frame/spin_barrier.h"
#include "image/image.h"
#include "image/region_of_support.h"

namespace kv_img {

/// "AlphaLayerColorBased": an alpha mask from the chroma distance of two frames, smoothed by the averaging
/// filter.
template <class ImageType>
class AlphaLayerColorBasedAlgorithmInterface : public UnaryAlgorithm<ImageType> {
 public:
  using Mask = Image<PixelNoColor<unsigned char>>;
  /// `windowSize` goes to the averaging filter. `intermediate` takes the raw mask; with several threads the
  /// caller supplies one image for all of them, null is for one thread. Waits once at the barrier.
  virtual Mask& Apply(const ImageType& first, const ImageType& second, Mask& destination,
                      const RegionOfSupport& region, std::uint32_t windowSize,
                      std::shared_ptr<Mask> intermediate, kv_std::SpinBarrier& barrier,
                      std::uint32_t threadIndex) const = 0;
};

}  // namespace kv_img
