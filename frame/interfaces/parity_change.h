#pragma once

#include "frame/interfaces/algorithm_interface.h"
#include "image/region_of_support.h"

namespace kv_img {

/// "ParityChange": a frame moved by half a line to the other field parity. Works its whole region in one
/// call, without a barrier. The images must not overlap. Hosts rely on the order of the two operations.
///
/// Both operations invert the destination's `fieldOrder` against the source's and leave its `fieldParity`.
/// They throw AlgoMMXException before anything is written, `fieldOrder` included: code 1 for sizes that do
/// not fit, then code 5 for different layouts of which one is neither 4097 nor 4098.
template <class ImageIn, class ImageOut>
class ParityChangeAlgorithmInterface : public BinaryAlgorithm<ImageIn, ImageOut> {
 public:
  /// Works inside a rectangular region that is inside both images; the images may differ in size. Last of its
  /// errors is code 4, for a region that is not rectangular.
  virtual ImageOut& Apply(const ImageIn& source, ImageOut& destination,
                          const RegionOfSupport& region) const = 0;
  /// Works on the whole image, up to the last four pixels that are whole: the last width mod 4 pixels of
  /// averaged lines stay as they were. The images must have equal sizes.
  virtual ImageOut& Apply(const ImageIn& source, ImageOut& destination) const = 0;
};

}  // namespace kv_img
