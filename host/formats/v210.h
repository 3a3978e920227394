#pragma once

#include <cstdint>
#include <string_view>

#include "host/formats/byte_sink.h"
#include "host/formats/byte_source.h"
#include "host/formats/sample_planes.h"

namespace kv_host {

/// V210: packed 4:2:2 of 10 bits. The samples of a row, Cb Y Cr Y and so on, are three to a little-endian word from its
/// low bits up; a row is padded to a multiple of 128 bytes, which hold 48 pixels.

std::uint64_t V210ByteCount(int width, int height);
/// Fills a Yuv422Planar frame. Throws FormatError that counts the bytes which the whole of `what` lacks.
void ReadV210(ByteSource& source, Raster& frame, Dither dither, std::string_view what);
/// Takes Yuv422Planar; the padding is zeros.
void WriteV210(const Raster& frame, ByteSink& sink);

}  // namespace kv_host
