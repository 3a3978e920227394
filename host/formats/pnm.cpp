#include "host/formats/pnm.h"

#include <string>
#include <utility>

#include "host/formats/format_error.h"
#include "host/formats/planes_io.h"

namespace kv_host {
namespace {

bool IsSpace(int c) {
  return c == ' ' || (c >= '\t' && c <= '\r');
}

bool IsDigit(int c) {
  return c >= '0' && c <= '9';
}

int PeekByte(ByteSource& source) {
  const auto next = source.Peek(1);
  return next.empty() ? -1 : next[0];
}

void SkipComment(ByteSource& source) {
  for (int c = source.Get(); c >= 0 && c != '\n' && c != '\r';) c = source.Get();
}

/// Comments reach from # to the end of the line.
void SkipSpaceAndComments(ByteSource& source) {
  for (int c = PeekByte(source); IsSpace(c) || c == '#'; c = PeekByte(source)) {
    if (c == '#') {
      SkipComment(source);
    } else {
      source.Get();
    }
  }
}

std::int64_t ReadNumber(ByteSource& source, const char* what) {
  constexpr std::int64_t Greatest = 1'000'000'000;
  SkipSpaceAndComments(source);
  const int first = PeekByte(source);
  if (first < 0) source.Fail(std::string("the file ends where ") + what + " was expected");
  if (!IsDigit(first)) source.Fail(std::string("a whole number was expected as ") + what);
  std::int64_t value = 0;
  for (int c = first; IsDigit(c); c = PeekByte(source)) {
    value = value * 10 + (source.Get() - '0');
    if (value > Greatest) source.Fail(std::string("the number given as ") + what + " is too large");
  }
  return value;
}

void ReadPlain(ByteSource& source, Plane& plane) {
  const std::size_t count = plane.stride * static_cast<std::size_t>(plane.rows);
  while (plane.bytes.size() < count) {
    const std::int64_t value = ReadNumber(source, "a sample");
    if (value > 255) source.Fail("sample " + std::to_string(value) + " is greater than 255");
    plane.bytes.push_back(static_cast<std::uint8_t>(value));
  }
}

void ReadPlainBits(ByteSource& source, Plane& plane) {
  const std::size_t count = plane.stride * static_cast<std::size_t>(plane.rows);
  while (plane.bytes.size() < count) {
    SkipSpaceAndComments(source);
    const int c = PeekByte(source);
    if (c < 0) source.Fail("the file ends where a sample was expected");
    if (c != '0' && c != '1') source.Fail("a PBM sample is 0 or 1");
    source.Get();
    plane.bytes.push_back(c == '1' ? 0 : 255);
  }
}

void ReadPackedBits(ByteSource& source, Plane& plane) {
  const std::size_t stored = (plane.stride + 7) / 8;
  std::vector<std::uint8_t> bits;
  source.Append(bits, static_cast<std::uint64_t>(stored) * static_cast<std::uint64_t>(plane.rows),
                "the sample data");
  plane.bytes.resize(plane.stride * static_cast<std::size_t>(plane.rows));
  for (int y = 0; y < plane.rows; ++y) {
    const auto row = plane.Row(y);
    for (std::size_t x = 0; x < row.size(); ++x) {
      const unsigned byte = bits[static_cast<std::size_t>(y) * stored + x / 8];
      row[x] = (byte >> (7 - x % 8) & 1U) != 0 ? 0 : 255;
    }
  }
}

/// Red, green, blue in files; blue, green, red in rasters.
void SwapRedAndBlue(std::vector<std::uint8_t>& bytes) {
  for (std::size_t i = 0; i + 2 < bytes.size(); i += 3) std::swap(bytes[i], bytes[i + 2]);
}

char ReadMagic(ByteSource& source) {
  const auto magic = source.Peek(2);
  const bool known = magic.size() == 2 && magic[0] == 'P' && magic[1] >= '1' && magic[1] <= '6';
  if (!known) source.Fail("not a PNM file: it does not begin with P1 to P6");
  const char type = static_cast<char>(magic[1]);
  source.Skip(2, "the PNM header");
  const int next = PeekByte(source);
  if (!IsSpace(next) && next != '#') source.Fail("white space must follow the letters that begin a PNM file");
  return type;
}

}  // namespace

Raster ReadPnm(ByteSource& source) {
  const char type = ReadMagic(source);
  const std::int64_t width = ReadNumber(source, "the width");
  const std::int64_t height = ReadNumber(source, "the height");
  const std::string problem = SizeProblem(width, height);
  if (!problem.empty()) source.Fail(problem);
  if (type != '1' && type != '4') {
    const std::int64_t greatest = ReadNumber(source, "the greatest value");
    if (greatest != 255) {
      source.Fail("the greatest value is " + std::to_string(greatest) +
                  "; only 255 (8 bits a sample) is read");
    }
  }
  const int separator = source.Get();
  if (separator < 0) source.Fail("the file ends after the PNM header");
  if (!IsSpace(separator)) source.Fail("one white-space byte must end the PNM header");

  const bool colour = type == '3' || type == '6';
  Raster raster = MakeEmptyRaster(colour ? RasterKind::Dib24 : RasterKind::Grey8, static_cast<int>(width),
                                  static_cast<int>(height));
  switch (type) {
    case '1':
      ReadPlainBits(source, raster.planes[0]);
      break;
    case '2':
    case '3':
      ReadPlain(source, raster.planes[0]);
      break;
    case '4':
      ReadPackedBits(source, raster.planes[0]);
      break;
    default:
      ReadPlanes(source, raster, "the picture");
      break;
  }
  if (colour) SwapRedAndBlue(raster.planes[0].bytes);
  return raster;
}

void WritePnm(const Raster& raster, ByteSink& sink) {
  const bool colour = raster.kind == RasterKind::Dib24;
  if (!colour && raster.kind != RasterKind::Grey8) {
    throw FormatError(sink.Name(),
                      std::string("a PNM file holds 24-bit RGB or 8-bit grey, not ") + NameOf(raster.kind));
  }
  sink.Write((colour ? "P6\n" : "P5\n") + std::to_string(raster.width) + " " + std::to_string(raster.height) +
             "\n255\n");
  if (!colour) {
    WritePlanes(raster, sink);
    return;
  }
  std::vector<std::uint8_t> row;
  for (int y = 0; y < raster.height; ++y) {
    const auto pixels = raster.planes[0].Row(y);
    row.assign(pixels.begin(), pixels.end());
    SwapRedAndBlue(row);
    sink.Write(row);
  }
}

}  // namespace kv_host
