#pragma once

#include "host/formats/byte_sink.h"
#include "host/formats/byte_source.h"
#include "host/formats/raster.h"

namespace kv_host::png {

/// ReadPng and WritePng over zlib alone, for systems that have no libpng: the same pictures and the same messages.
Raster ReadByZlib(ByteSource& source);
void WriteByZlib(const Raster& raster, ByteSink& sink);

}  // namespace kv_host::png
