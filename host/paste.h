#pragma once

#include "host/engine.h"
#include "host/formats/raster.h"
#include "image/run_region.h"

namespace kv_host {

/// `canvas` with the pixels of region `what` of `image` at region `where`, which has the same shape, by the
/// family's "CopyROI". Every other pixel keeps its bytes; of 4:2:2 the pairs that the region cuts share
/// chroma, as the operation's rule says. Alpha is copied too, 255 where `image` has none. Throws UsageError
/// for pictures of different ranges that cannot meet, NoMemberError when no member can.
Raster PasteRegion(const Raster& image, const kv_img::RunRegion& what, const Raster& canvas,
                   const kv_img::RunRegion& where, const Engine& engine);

}  // namespace kv_host
