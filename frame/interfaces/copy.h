#pragma once

#include <cstdint>

#include "frame/interfaces/algorithm_interface.h"
#include "frame/spin_barrier.h"

namespace kv_img {

/// "Copy": one image into another of the same size, converting the pixel format on the way.
template <class ImageIn, class ImageOut>
class CopyAlgorithmInterface : public BinaryAlgorithm<ImageIn, ImageOut> {
 public:
  /// Converts the rows of thread `threadIndex`. Called by every thread of `barrier` with the same images,
  /// which must not overlap; never waits. Throws AlgoMMXException code 1 when the sizes differ, before a
  /// pixel is written.
  virtual ImageOut& Apply(const ImageIn& source, ImageOut& destination, kv_std::SpinBarrier& barrier,
                          std::uint32_t threadIndex) const = 0;
};

}  // namespace kv_img
