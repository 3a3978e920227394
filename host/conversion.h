#pragma once

#include <string>

#include "host/engine.h"
#include "host/formats/raster.h"

namespace kv_host {

/// The matrix of a picture that is 4:2:2, or of the 4:2:2 that it becomes: the one asked for, else its own,
/// else by its height as players choose it; not known where no option asks for "ColorConversion".
ColourMatrix MatrixOf(const Raster& picture, const ColourOptions& options);

/// The picture as another kind. Between 4:2:2 and RGB it goes by "ColorConversion" where an option asks for
/// it, all else by the family's "Copy": directly where a member offers the pair, else through packed 4:2:2.
/// `layout` is the byte order of packed kinds (0: that of the source if it is packed, else luma first).
/// Between grey and RGB the greys stay as they are (host/grey.h); between grey and 4:2:2 grey is luma, byte
/// for byte. Throws NoMemberError when no member can, UsageError for full-range 4:2:2 that "Copy" would have
/// to make RGB.
Raster Convert(const Raster& source, RasterKind kind, int layout, const Engine& engine);

/// Whether black is 0 and white 255 in the picture's luma: grey pictures, and 4:2:2 that says so.
bool IsFullRange(const Raster& picture, const ColourOptions& options);

/// The picture as packed 4:2:2, in the same range as the other picture, converted in the same way: a grey
/// picture beside RGB or limited range comes to limited range by way of RGB.
/// Throws UsageError when 4:2:2 of full range would have to be.
Raster ConvertBeside(const Raster& picture, const Raster& other, int layout, const Engine& engine);

/// The picture as another kind, luma first where that is packed, for an operation that compares or mixes it
/// with another one. Luma is not scaled; RGB beside a picture of full range becomes grey first.
Raster LumaBeside(const Raster& picture, const Raster& other, RasterKind kind, const Engine& engine);

}  // namespace kv_host
