#pragma once

#include "host/formats/raster.h"

namespace kv_host {

/// A grey picture as an RGB one: red, green and blue are the grey, alpha is 255, 15- and 16-bit pixels keep
/// the upper bits. `kind` is an RGB kind.
Raster BitmapOfGrey(const Raster& grey, RasterKind kind);

/// A Dib24 or Dib32 picture as another RGB kind: 15- and 16-bit pixels keep the upper bits; alpha is kept
/// where both have it, otherwise 255.
Raster BitmapOfBitmap(const Raster& from, RasterKind kind);

/// A Dib24 or Dib32 picture as a full-range grey one, 0 black and 255 white:
/// (19595 red + 38470 green + 7471 blue + 32768) >> 16. The weights, 0.299, 0.587 and 0.114, add up to 65536,
/// so equal components give themselves. Alpha is dropped.
Raster GreyOfBitmap(const Raster& bitmap);

}  // namespace kv_host
