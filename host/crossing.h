#pragma once

#include "host/engine.h"
#include "host/formats/raster.h"

namespace kv_host {

/// What is declared about the 4:2:2 side of a crossing, and its height, from which players take the matrix
/// that is not.
struct VideoSide {
  ColourMatrix matrix = ColourMatrix::Unknown;
  ColourRange range = ColourRange::Unknown;
  ChromaSite chroma = ChromaSite::Unknown;
  int height = 0;
};

/// That of a 4:2:2 picture, or of the 4:2:2 that RGB or grey becomes.
VideoSide SideOf(const Raster& picture);

/// The matrix of a side: the one asked for, else the declared one, else by height.
ColourMatrix MatrixOf(const VideoSide& side, const ColourOptions& options);

/// Its range: the one asked for, else the declared one, else limited.
ColourRange RangeOf(const VideoSide& side, const ColourOptions& options);

/// Packed 4:2:2 as Dib24, Dib32 or Grey8, or with alpha as Dib32, by one "ColorConversion". Throws
/// NoMemberError when no member offers it.
Raster CrossFromVideo(const Raster& source, RasterKind kind, const Engine& engine);

/// Dib24, Dib32 or Grey8 as packed 4:2:2, or Dib32 as that with alpha.
Raster CrossToVideo(const Raster& source, RasterKind kind, int layout, const VideoSide& side,
                    const Engine& engine);

}  // namespace kv_host
