#include "host/formats/png_file.h"
#include "host/formats/png_zlib.h"

namespace kv_host {

Raster ReadPng(ByteSource& source) {
  return png::ReadByZlib(source);
}

void WritePng(const Raster& raster, ByteSink& sink) {
  png::WriteByZlib(raster, sink);
}

}  // namespace kv_host
