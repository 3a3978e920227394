// Stands in for reading and writing PNG where the program is built without libpng.

#include "host/formats/format_error.h"
#include "host/formats/png_file.h"

namespace kv_host {

bool HasPng() {
  return false;
}

Raster ReadPng(ByteSource& source) {
  throw FormatError(source.Name(), "PNG is not built into this kv; make a BMP file of the picture first");
}

void WritePng(const Raster& /*raster*/, ByteSink& sink) {
  throw FormatError(sink.Name(), "PNG is not built into this kv; write a BMP file instead");
}

}  // namespace kv_host
