#pragma once

#include "host/formats/raster.h"

namespace kv_host {

/// Planar 4:2:2 as packed pairs in the given layout. Where the width is odd, the luma byte that has no pixel
/// repeats the last one. Takes Yuv422Planar; throws std::invalid_argument for any other kind or layout.
Raster Pack(const Raster& planar, int layout);

/// Packed 4:2:2 as planes; the luma byte that has no pixel is dropped. Takes Yuv422.
Raster Unpack(const Raster& packed);

/// The same picture in the other byte order, or a plain copy if it has that order. Takes Yuv422 and Yuva422.
Raster WithLayout(const Raster& packed, int layout);

}  // namespace kv_host
