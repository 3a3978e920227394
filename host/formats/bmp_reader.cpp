#include <algorithm>
#include <bit>
#include <span>
#include <string>
#include <vector>

#include "host/formats/bmp.h"
#include "host/formats/bmp_header.h"

namespace kv_host {
namespace {

using bmp::Masks;

struct Header {
  std::uint64_t start = 0;  // where the bitmap begins in its source
  std::uint32_t dataOffset = 0;
  std::int64_t width = 0;
  std::int64_t height = 0;
  bool topDown = false;
  int bits = 0;
  std::uint32_t compression = bmp::Rgb;
  std::uint32_t coloursUsed = 0;
  Masks masks{};
};

/// Reads little-endian numbers and keeps messages about them short.
class Fields {
 public:
  explicit Fields(ByteSource& source) : source_(source) {}

  std::uint32_t U16() { return Number(2); }
  std::uint32_t U32() { return Number(4); }
  std::int64_t I32() { return static_cast<std::int32_t>(Number(4)); }
  void Skip(std::uint32_t count) { source_.Skip(count, "the BMP header"); }

 private:
  std::uint32_t Number(std::size_t size) {
    std::array<std::uint8_t, 4> bytes{};
    source_.Read(std::span(bytes).first(size), "the BMP header");
    return bytes[0] | bytes[1] << 8U | bytes[2] << 16U | static_cast<std::uint32_t>(bytes[3]) << 24U;
  }

  ByteSource& source_;
};

void ReadMasks(Fields& fields, std::size_t count, Masks& masks) {
  for (std::size_t i = 0; i < count; ++i) masks[i] = fields.U32();
}

void RequirePlain(const ByteSource& source, const Header& header) {
  const bool masked = header.compression == bmp::Bitfields || header.compression == bmp::AlphaBitfields;
  if (header.compression != bmp::Rgb && !masked) {
    source.Fail("compression " + std::to_string(header.compression) +
                " is not read; save the bitmap uncompressed (BI_RGB or BI_BITFIELDS)");
  }
  constexpr std::array<int, 6> Depths = {1, 4, 8, 16, 24, 32};
  if (std::find(Depths.begin(), Depths.end(), header.bits) == Depths.end()) {
    source.Fail(std::to_string(header.bits) + " bits a pixel are not read; 1, 4, 8, 16, 24 and 32 are");
  }
  if (masked && header.bits != 16 && header.bits != 32) {
    source.Fail("colour masks do not go with " + std::to_string(header.bits) +
                " bits a pixel; 16 and 32 have them");
  }
  const std::string problem = SizeProblem(header.width, header.height);
  if (!problem.empty()) source.Fail(problem);
}

Header ReadHeader(ByteSource& source) {
  Header header;
  header.start = source.Offset();
  const auto magic = source.Peek(2);
  if (magic.size() < 2 || magic[0] != 'B' || magic[1] != 'M')
    source.Fail("not a BMP file: it does not begin with BM");
  Fields fields(source);
  fields.Skip(10);  // BM, file size (often wrong), reserved
  header.dataOffset = fields.U32();
  const std::uint32_t size = fields.U32();
  constexpr std::array<std::uint32_t, 5> Sizes = {40, 52, 56, 108, 124};
  if (std::find(Sizes.begin(), Sizes.end(), size) == Sizes.end()) {
    source.Fail("a BMP information header of " + std::to_string(size) +
                " bytes is not known; 40, 52, 56, 108 and 124 are");
  }
  header.width = fields.I32();
  const std::int64_t height = fields.I32();
  header.topDown = height < 0;
  header.height = header.topDown ? -height : height;
  fields.Skip(2);  // planes
  header.bits = static_cast<int>(fields.U16());
  header.compression = fields.U32();
  fields.Skip(12);  // image size, resolution
  header.coloursUsed = fields.U32();
  fields.Skip(4);  // important colours
  RequirePlain(source, header);

  Masks masks{};
  if (size == bmp::InfoHeaderSize) {
    if (header.compression == bmp::Bitfields) ReadMasks(fields, 3, masks);
    if (header.compression == bmp::AlphaBitfields) ReadMasks(fields, 4, masks);
  } else {
    ReadMasks(fields, size == 52 ? 3 : 4, masks);
    fields.Skip(size - (size == 52 ? 52 : 56));
  }
  const Masks usual = header.bits == 16 ? bmp::Masks555 : bmp::Masks888;
  header.masks = header.compression == bmp::Rgb ? usual : masks;
  return header;
}

std::vector<std::uint8_t> ReadPalette(ByteSource& source, const Header& header) {
  if (header.bits > 8) return {};
  const std::uint32_t most = 1U << static_cast<unsigned>(header.bits);
  const std::uint32_t count = header.coloursUsed == 0 ? most : header.coloursUsed;
  if (count > most) {
    source.Fail("a palette of " + std::to_string(count) + " colours is too long for " +
                std::to_string(header.bits) + " bits a pixel, which have at most " + std::to_string(most));
  }
  std::vector<std::uint8_t> palette;
  source.Append(palette, std::uint64_t{4} * count, "the palette");
  return palette;
}

std::vector<std::uint8_t> ReadStoredRows(ByteSource& source, const Header& header) {
  const std::uint64_t position = source.Offset() - header.start;
  if (header.dataOffset < position) {
    source.Fail("the pixels cannot begin at byte " + std::to_string(header.dataOffset) +
                ", inside the header, which ends at byte " + std::to_string(position));
  }
  source.Skip(header.dataOffset - position, "the gap before the pixels");
  std::vector<std::uint8_t> stored;
  const std::size_t stride = bmp::StoredStride(static_cast<int>(header.width), header.bits);
  source.Append(stored, stride * static_cast<std::uint64_t>(header.height), "the pixel data");
  return stored;
}

/// Calls `store(target row, stored row)` for every row, the top one first.
template <class Store>
void ForRows(const Header& header, std::span<const std::uint8_t> stored, Raster& raster, Store store) {
  const std::size_t stride = bmp::StoredStride(raster.width, header.bits);
  for (int y = 0; y < raster.height; ++y) {
    const auto row = static_cast<std::size_t>(header.topDown ? y : raster.height - 1 - y);
    store(raster.planes[0].Row(y), stored.subspan(row * stride, stride));
  }
}

Raster RasterFor(RasterKind kind, const Header& header) {
  return MakeRaster(kind, static_cast<int>(header.width), static_cast<int>(header.height));
}

Raster CopyRows(RasterKind kind, const Header& header, std::span<const std::uint8_t> stored) {
  Raster raster = RasterFor(kind, header);
  ForRows(header, stored, raster,
          [](auto out, auto in) { std::copy_n(in.begin(), out.size(), out.begin()); });
  return raster;
}

Raster FromPalette(const ByteSource& source, const Header& header, std::span<const std::uint8_t> palette,
                   std::span<const std::uint8_t> stored) {
  bool grey = true;
  for (std::size_t i = 0; i < palette.size(); i += 4) {
    grey = grey && palette[i] == palette[i + 1] && palette[i] == palette[i + 2];
  }
  Raster raster = RasterFor(grey ? RasterKind::Grey8 : RasterKind::Dib24, header);
  const std::size_t step = grey ? 1 : 3;
  const auto bits = static_cast<unsigned>(header.bits);
  const std::size_t perByte = 8 / bits;
  ForRows(header, stored, raster, [&](auto out, auto in) {
    for (std::size_t x = 0; x * step < out.size(); ++x) {
      const auto shift = static_cast<unsigned>(8 - bits - (x % perByte) * bits);
      const std::size_t index = (in[x / perByte] >> shift) & ((1U << bits) - 1);
      if (4 * index >= palette.size()) {
        source.Fail("a pixel names colour " + std::to_string(index) + " of a palette with " +
                    std::to_string(palette.size() / 4));
      }
      std::copy_n(palette.begin() + static_cast<std::ptrdiff_t>(4 * index), step,
                  out.begin() + static_cast<std::ptrdiff_t>(x * step));
    }
  });
  return raster;
}

Raster From16(const ByteSource& source, const Header& header, std::span<const std::uint8_t> stored) {
  Masks colours = header.masks;
  colours[3] = 0;
  if (colours != bmp::Masks565 && colours != bmp::Masks555) {
    source.Fail("these 16-bit colour masks are not read; 5-6-5 and 5-5-5 bits, red highest, are");
  }
  if (colours == bmp::Masks565) return CopyRows(RasterKind::Dib16, header, stored);
  Raster raster = CopyRows(RasterKind::Dib15, header, stored);
  std::vector<std::uint8_t>& bytes = raster.planes[0].bytes;
  for (std::size_t i = 1; i < bytes.size(); i += 2)
    bytes[i] &= 0x7F;  // some programs keep an alpha bit there
  return raster;
}

/// The byte of a 32-bit pixel that a mask selects; 4 if the mask is no whole byte.
std::size_t ByteOf(std::uint32_t mask) {
  for (std::size_t byte = 0; byte < 4; ++byte) {
    if (mask == std::rotl(0xFFU, static_cast<int>(8 * byte))) return byte;
  }
  return 4;
}

Raster From32(const ByteSource& source, const Header& header, std::span<const std::uint8_t> stored) {
  const std::size_t red = ByteOf(header.masks[0]);
  const std::size_t green = ByteOf(header.masks[1]);
  const std::size_t blue = ByteOf(header.masks[2]);
  // Whichever byte the colours leave is alpha.
  const std::size_t alpha = header.masks[3] != 0 ? ByteOf(header.masks[3]) : (6 - red - green - blue) & 3U;
  std::array<bool, 5> used{};
  for (const std::size_t byte : {red, green, blue, alpha}) used[byte] = true;
  if (used != std::array<bool, 5>{true, true, true, true, false}) {
    source.Fail("these 32-bit colour masks are not read; four different whole bytes are");
  }
  Raster raster = RasterFor(RasterKind::Dib32, header);
  std::uint8_t anyAlpha = 0;
  ForRows(header, stored, raster, [&](auto out, auto in) {
    for (std::size_t x = 0; x < out.size(); x += 4) {
      out[x] = in[x + blue];
      out[x + 1] = in[x + green];
      out[x + 2] = in[x + red];
      out[x + 3] = in[x + alpha];
      anyAlpha |= out[x + 3];
    }
  });
  if (header.masks[3] == 0 && anyAlpha == 0) {
    std::vector<std::uint8_t>& bytes = raster.planes[0].bytes;
    for (std::size_t i = 3; i < bytes.size(); i += 4) bytes[i] = 255;
  }
  return raster;
}

}  // namespace

Raster ReadBmp(ByteSource& source) {
  const Header header = ReadHeader(source);
  const std::vector<std::uint8_t> palette = ReadPalette(source, header);
  const std::vector<std::uint8_t> stored = ReadStoredRows(source, header);
  switch (header.bits) {
    case 16:
      return From16(source, header, stored);
    case 24:
      return CopyRows(RasterKind::Dib24, header, stored);
    case 32:
      return From32(source, header, stored);
    default:
      return FromPalette(source, header, palette, stored);
  }
}

}  // namespace kv_host
