#pragma once

#include <string>

#include "host/engine.h"
#include "host/formats/raster.h"

namespace kv_host {

/// The picture as another kind, by the family's "Copy": directly where a member offers the pair, else through
/// packed 4:2:2. `layout` is the byte order of packed kinds (0: that of the source if it is packed, else luma
/// first). Throws NoMemberError when no member can.
Raster Convert(const Raster& source, RasterKind kind, int layout, const Engine& engine);

}  // namespace kv_host
