#pragma once

#include <string_view>

#include "host/formats/byte_sink.h"
#include "host/formats/byte_source.h"
#include "host/formats/raster.h"

namespace kv_host {

/// Fills the planes of a raster from MakeEmptyRaster, one after the other. Throws FormatError that counts the
/// bytes which the whole of `what` lacks.
inline void ReadPlanes(ByteSource& source, Raster& raster, std::string_view what) {
  const std::uint64_t wanted = raster.ByteCount();
  const auto remaining = source.Remaining();
  if (remaining && *remaining < wanted) source.FailShort(what, wanted, *remaining);
  std::uint64_t got = 0;
  for (Plane& plane : raster.planes) {
    const std::uint64_t size = plane.stride * static_cast<std::uint64_t>(plane.rows);
    const std::uint64_t count = source.AppendSome(plane.bytes, size);
    got += count;
    if (count < size) source.FailShort(what, wanted, got);
  }
}

inline void WritePlanes(const Raster& raster, ByteSink& sink) {
  for (const Plane& plane : raster.planes) sink.Write(plane.bytes);
}

}  // namespace kv_host
