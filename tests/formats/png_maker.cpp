#include "tests/formats/png_maker.h"

#include <zlib.h>

#include <algorithm>

namespace kv_host {
namespace {

void PutNumber(std::uint32_t value, Bytes& out) {
  for (const unsigned shift : {24U, 16U, 8U, 0U}) out.push_back(static_cast<std::uint8_t>(value >> shift));
}

}  // namespace

void PutChunk(std::string_view name, const Bytes& data, Bytes& file) {
  PutNumber(static_cast<std::uint32_t>(data.size()), file);
  const std::size_t start = file.size();
  file.insert(file.end(), name.begin(), name.end());
  file.insert(file.end(), data.begin(), data.end());
  PutNumber(static_cast<std::uint32_t>(crc32(0, file.data() + start, static_cast<uInt>(file.size() - start))),
            file);
}

std::size_t PngFile::BitsOfPixel() const {
  const std::size_t channels = colourType == rgb         ? 3
                               : colourType == rgbAlpha  ? 4
                               : colourType == greyAlpha ? 2
                                                         : 1;
  return channels * static_cast<std::size_t>(depth);
}

Bytes PngFile::Samples() const {
  Bytes samples;
  const auto put = [&](int left, int top, int stepX, int stepY) {
    const int columns = (width - left + stepX - 1) / stepX;
    for (int y = top; y < height && left < width; y += stepY) {
      Bytes row(RowBytes(columns));
      for (std::size_t bit = 0; bit < static_cast<std::size_t>(columns) * BitsOfPixel(); ++bit) {
        const std::size_t pixel =
            static_cast<std::size_t>(left) + bit / BitsOfPixel() * static_cast<std::size_t>(stepX);
        const std::size_t from = pixel * BitsOfPixel() + bit % BitsOfPixel();
        const std::uint8_t byte = rows.at(static_cast<std::size_t>(y) * RowBytes(width) + from / 8);
        row[bit / 8] |= static_cast<std::uint8_t>((byte >> (7 - from % 8) & 1) << (7 - bit % 8));
      }
      samples.push_back(static_cast<std::uint8_t>(filter));
      samples.insert(samples.end(), row.begin(), row.end());
    }
  };
  if (isInterlaced) {
    put(0, 0, 8, 8);
    put(4, 0, 8, 8);
    put(0, 4, 4, 8);
    put(2, 0, 4, 4);
    put(0, 2, 2, 4);
    put(1, 0, 2, 2);
    put(0, 1, 1, 2);
  } else {
    put(0, 0, 1, 1);
  }
  return samples;
}

Bytes PngFile::Content() const {
  Bytes file = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
  Bytes header;
  PutNumber(static_cast<std::uint32_t>(width), header);
  PutNumber(static_cast<std::uint32_t>(height), header);
  for (const int byte : {depth, colourType, 0, 0, isInterlaced ? 1 : 0})
    header.push_back(static_cast<std::uint8_t>(byte));
  PutChunk("IHDR", header, file);
  for (const auto& [name, data] : chunks) PutChunk(name, data, file);
  const Bytes samples = Samples();
  uLongf size = compressBound(static_cast<uLong>(samples.size()));
  Bytes packed(size);
  EXPECT_EQ(compress(packed.data(), &size, samples.data(), static_cast<uLong>(samples.size())), Z_OK);
  for (std::size_t at = 0; at < size; at += sampleChunk) {
    const auto start = packed.begin() + static_cast<std::ptrdiff_t>(at);
    PutChunk("IDAT",
             {start, start + static_cast<std::ptrdiff_t>(std::min<std::size_t>(sampleChunk, size - at))},
             file);
  }
  PutChunk("IEND", {}, file);
  return file;
}

Raster PngFile::Read() const {
  const TestFolder folder;
  WriteFile(folder / "x.png", Content());
  return ReadAll(folder / "x.png").at(0);
}

}  // namespace kv_host
