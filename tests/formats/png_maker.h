#pragma once

#include <cstdint>
#include <initializer_list>
#include <string_view>
#include <utility>

#include "tests/formats/support.h"

namespace kv_host {

/// A PNG file as the format's text has it, without filters, whose chunks a test may choose. Rows are those of the
/// whole picture.
struct PngFile {
  static constexpr int grey = 0, rgb = 2, palette = 3, greyAlpha = 4, rgbAlpha = 6;

  int width;
  int height;
  int depth;
  int colourType;
  Bytes rows;
  bool isInterlaced = false;
  std::vector<std::pair<std::string, Bytes>> chunks = {};  // before the samples
  std::size_t sampleChunk = 100;                           // bytes of each chunk of samples
  int filter = 0;                                          // said of each row, whatever is in it

  std::size_t BitsOfPixel() const;
  std::size_t RowBytes(int columns) const {
    return (static_cast<std::size_t>(columns) * BitsOfPixel() + 7) / 8;
  }
  Bytes Samples() const;
  Bytes Content() const;
  Raster Read() const;
};

/// A chunk with its length and check sum.
void PutChunk(std::string_view name, const Bytes& data, Bytes& file);

}  // namespace kv_host
