#pragma once

#include "frame/interfaces/algorithm_interface.h"
#include "image/region_of_support.h"

namespace kv_img {

/// "ParityChange": a frame moved by half a line to the other field parity. Works its whole region in one
/// call, without a barrier.
template <class ImageIn, class ImageOut>
class ParityChangeAlgorithmInterface : public BinaryAlgorithm<ImageIn, ImageOut> {
 public:
  /// Works inside a rectangular region of both images.
  virtual ImageOut& Apply(const ImageIn& source, ImageOut& destination,
                          const RegionOfSupport& region) const = 0;
  /// Works on the whole image.
  virtual ImageOut& Apply(const ImageIn& source, ImageOut& destination) const = 0;
};

}  // namespace kv_img
