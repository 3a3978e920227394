#pragma once

#include "fuzz/check_input.h"
#include "host/formats/raster.h"

namespace kv_fuzz {

/// Ends the program unless the frame is one that the program may work with.
inline void RequireWhole(const kv_host::Raster& frame) {
  Require(kv_host::SizeProblem(frame.width, frame.height).empty(), "a picture of a size that is refused");
  const kv_host::Raster shape = kv_host::MakeEmptyRaster(frame.kind, frame.width, frame.height, frame.layout);
  Require(shape.planes.size() == frame.planes.size(), "another number of planes than its kind has");
  for (std::size_t i = 0; i < frame.planes.size(); ++i) {
    const kv_host::Plane& plane = frame.planes[i];
    Require(plane.stride == shape.planes[i].stride && plane.rows == shape.planes[i].rows &&
                plane.bytes.size() == plane.stride * static_cast<std::size_t>(plane.rows),
            "a plane that is not whole");
  }
}

}  // namespace kv_fuzz
