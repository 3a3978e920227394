#pragma once

#include <string>

#include "host/crossing.h"
#include "host/engine.h"
#include "host/formats/raster.h"

namespace kv_host {

/// The picture as another kind. "ColorConversion" makes RGB and grey of 4:2:2 and 4:2:2 of them, whose grey is
/// of full range (host/crossing.h); with ColourOptions::exactCopy "Copy" does, and grey is luma, byte for byte.
/// `layout` is the byte order of packed kinds (0: that of the source if it is packed, else luma first).
/// Between grey and RGB the greys stay as they are (host/grey.h). Throws NoMemberError when no member can,
/// UsageError for full-range 4:2:2 that "Copy" would have to make RGB.
Raster Convert(const Raster& source, RasterKind kind, int layout, const Engine& engine);
/// One that is of that kind already is not copied.
Raster Convert(Raster&& source, RasterKind kind, int layout, const Engine& engine);

/// RGB or grey as a 4:2:2 kind with the colours of `side`.
Raster ConvertToVideo(const Raster& source, RasterKind kind, int layout, const VideoSide& side,
                      const Engine& engine);

/// As Convert, for operations on luma: between grey and 4:2:2 no sample is scaled.
Raster ConvertLuma(const Raster& source, RasterKind kind, int layout, const Engine& engine);

/// The picture as packed 4:2:2 that has the colours of the other picture, where that is 4:2:2; two grey ones
/// stay as they are.
Raster ConvertAs(const Raster& picture, const Raster& other, int layout, const Engine& engine);

/// The same for pictures that are mixed: throws UsageError when both are 4:2:2, one of full range.
Raster ConvertBeside(const Raster& picture, const Raster& other, int layout, const Engine& engine);

/// The picture as another kind, luma first where that is packed, for an operation that compares or mixes it
/// with another one. Luma is not scaled; RGB beside a grey picture becomes grey first.
Raster LumaBeside(const Raster& picture, const Raster& other, RasterKind kind, const Engine& engine);

}  // namespace kv_host
