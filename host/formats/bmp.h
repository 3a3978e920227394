#pragma once

#include "host/formats/byte_sink.h"
#include "host/formats/byte_source.h"
#include "host/formats/raster.h"

namespace kv_host {

/// Reads one Windows bitmap with an information header of 40, 52, 56, 108 or 124 bytes, rows in either order,
/// uncompressed: 32 bits (Dib32; any order of whole-byte channels), 24 (Dib24), 16 (Dib16 or Dib15 by its
/// masks), and 8, 4 or 1 with a palette (Grey8 if all colours of the palette are grey, else Dib24). Where a
/// 32-bit file names no alpha mask, its fourth bytes are alpha if any of them is not 0; if all are 0, the
/// picture is opaque. Throws FormatError.
Raster ReadBmp(ByteSource& source);

/// Writes Dib24, Dib32 (with masks, alpha included), Dib16 (5-6-5 masks), Dib15 or Grey8 (with a grey
/// palette), bottom row first. Throws FormatError for other kinds.
void WriteBmp(const Raster& raster, ByteSink& sink);

}  // namespace kv_host
