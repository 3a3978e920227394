#pragma once

#include "host/formats/byte_sink.h"
#include "host/formats/byte_source.h"
#include "host/formats/raster.h"

namespace kv_host {

/// Reads one PBM, PGM or PPM picture, binary (P4, P5, P6) or plain (P1, P2, P3): Grey8, or Dib24 for the
/// colour forms. The greatest value must be 255; the 1 of a PBM is black. Throws FormatError.
Raster ReadPnm(ByteSource& source);

/// Writes Grey8 as binary PGM, Dib24 as binary PPM. Throws FormatError for other kinds.
void WritePnm(const Raster& raster, ByteSink& sink);

}  // namespace kv_host
