#pragma once

#include <vector>

#include "frame/interfaces/algorithm_interface.h"
#include "geometry/vector2.h"
#include "image/pixel.h"
#include "image/region_of_support.h"

namespace kv_img {

/// "FillPoly": clips a polygon and prepares its scan lines. Writes no pixel.
template <class ImageType>
class FillPolyAlgorithmInterface : public UnaryAlgorithm<ImageType> {
 public:
  /// Every calling thread does the same work; the two integers are not read.
  virtual ImageType& Apply(ImageType& image, const std::vector<kv_math::Vector2>& vertices,
                           const Pixel& colour, int unused1, int unused2,
                           const RegionOfSupport& region) const = 0;
};

}  // namespace kv_img
