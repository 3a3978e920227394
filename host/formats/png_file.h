#pragma once

#include "host/formats/byte_sink.h"
#include "host/formats/byte_source.h"
#include "host/formats/raster.h"

namespace kv_host {

/// Reads one PNG picture: grey without transparency as Grey8, colour as Dib24, anything with transparency as
/// Dib32. Palettes and samples of 1, 2 or 4 bits are expanded, 16-bit samples rounded to 8; gamma and
/// profiles are not applied. A cICP chunk may declare the primaries of BT.2020, PQ or HLG; one that declares
/// other samples than full-range RGB is refused. Throws FormatError.
Raster ReadPng(ByteSource& source);

/// Writes Grey8, Dib24 or Dib32 with 8 bits a sample: RGB of 601 and 709 with an sRGB chunk, of 2020 with cICP
/// where its transfer function is known. Throws FormatError for other kinds.
void WritePng(const Raster& raster, ByteSink& sink);

}  // namespace kv_host
