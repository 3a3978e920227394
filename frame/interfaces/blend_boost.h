#pragma once

#include <cstdint>

#include "frame/interfaces/algorithm_interface.h"
#include "frame/spin_barrier.h"
#include "image/image.h"
#include "image/region_of_support.h"

namespace kv_img {

/// "BlendBoost": two frames blended under a mask whose weight the luma difference raises or lowers.
template <class ImageType>
class BlendBoostAlgorithmInterface : public UnaryAlgorithm<ImageType> {
 public:
  using Mask = Image<PixelNoColor<unsigned char>>;
  /// The output moves from `a` towards `b` as the mask rises. The region must be a RunRegion whose runs are
  /// multiples of four pixels wide.
  virtual ImageType& Apply(const ImageType& b, const ImageType& a, const Mask& mask, ImageType& destination,
                           const RegionOfSupport& region, kv_std::SpinBarrier& barrier,
                           std::uint32_t threadIndex) const = 0;
};

}  // namespace kv_img
