#include <string>
#include <vector>

#include "host/formats/bmp.h"
#include "host/formats/bmp_header.h"
#include "host/formats/format_error.h"

namespace kv_host {
namespace {

/// How a kind of raster is stored.
struct Storage {
  int bits;
  std::uint32_t infoSize;
  std::uint32_t compression;
  bmp::Masks masks;
  std::uint32_t colours;
};

Storage StorageOf(const Raster& raster, const ByteSink& sink) {
  switch (raster.kind) {
    case RasterKind::Grey8:
      return {8, bmp::InfoHeaderSize, bmp::Rgb, {}, 256};
    case RasterKind::Dib15:
      return {16, bmp::InfoHeaderSize, bmp::Rgb, {}, 0};
    case RasterKind::Dib16:
      return {16, bmp::InfoHeaderSize, bmp::Bitfields, bmp::Masks565, 0};
    case RasterKind::Dib24:
      return {24, bmp::InfoHeaderSize, bmp::Rgb, {}, 0};
    // Only the longer header has a place for the alpha mask that says that the fourth byte counts.
    case RasterKind::Dib32:
      return {32, bmp::V4HeaderSize, bmp::Bitfields, bmp::Masks8888, 0};
    default:
      break;
  }
  throw FormatError(sink.Name(),
                    std::string("a BMP file holds RGB or grey pictures, not ") + NameOf(raster.kind));
}

void Put(std::vector<std::uint8_t>& out, std::uint32_t value, int bytes) {
  for (int i = 0; i < bytes; ++i)
    out.push_back(static_cast<std::uint8_t>(value >> (8U * static_cast<unsigned>(i))));
}

}  // namespace

void WriteBmp(const Raster& raster, ByteSink& sink) {
  const Storage storage = StorageOf(raster, sink);
  const bool shortHeader = storage.infoSize == bmp::InfoHeaderSize;
  const bool masked = storage.compression == bmp::Bitfields;
  const std::uint32_t masksBehind = shortHeader && masked ? 12 : 0;
  const std::uint32_t dataOffset = bmp::FileHeaderSize + storage.infoSize + masksBehind + 4 * storage.colours;
  const std::size_t stride = bmp::StoredStride(raster.width, storage.bits);
  const auto dataSize = static_cast<std::uint32_t>(stride * static_cast<std::size_t>(raster.height));
  constexpr std::uint32_t DotsPerMetre = 2835;  // 72 an inch

  std::vector<std::uint8_t> header = {'B', 'M'};
  Put(header, dataOffset + dataSize, 4);
  Put(header, 0, 4);
  Put(header, dataOffset, 4);
  Put(header, storage.infoSize, 4);
  Put(header, static_cast<std::uint32_t>(raster.width), 4);
  Put(header, static_cast<std::uint32_t>(raster.height), 4);
  Put(header, 1, 2);
  Put(header, static_cast<std::uint32_t>(storage.bits), 2);
  Put(header, storage.compression, 4);
  Put(header, dataSize, 4);
  Put(header, DotsPerMetre, 4);
  Put(header, DotsPerMetre, 4);
  Put(header, storage.colours, 4);
  Put(header, 0, 4);
  if (masked) {
    for (std::size_t i = 0; i < (shortHeader ? 3U : 4U); ++i) Put(header, storage.masks[i], 4);
  }
  if (!shortHeader) {
    Put(header, 0x73524742, 4);  // colour space "sRGB", whose end points and gammas stay 0
    header.resize(bmp::FileHeaderSize + storage.infoSize);
  }
  for (std::uint32_t grey = 0; grey < storage.colours; ++grey) Put(header, grey * 0x010101, 4);
  sink.Write(header);

  std::vector<std::uint8_t> row(stride);
  for (int y = raster.height - 1; y >= 0; --y) {
    const auto pixels = raster.planes[0].Row(y);
    std::copy(pixels.begin(), pixels.end(), row.begin());
    sink.Write(row);
  }
}

}  // namespace kv_host
