#include "host/formats/png_parts.h"

#include <algorithm>

#include "host/formats/format_error.h"

namespace kv_host::png {
namespace {

constexpr std::uint8_t bt2020 = 9;  // primaries
constexpr std::uint8_t pq = 16;     // transfer functions
constexpr std::uint8_t hlg = 18;

/// What samples of these matrix coefficients are; null for RGB.
const char* NameOfSamples(std::uint8_t matrix) {
  switch (matrix) {
    case 0:
      return nullptr;
    case 10:
      return "BT.2020 with constant luminance";
    case 13:
      return "constant luminance";
    case 14:
      return "ICtCp";
    default:
      return "luma and chroma in place of RGB";
  }
}

}  // namespace

void RequireSignature(ByteSource& source) {
  if (std::ranges::equal(source.Peek(signature.size()), signature)) return;
  source.Fail("not a PNG file: it does not begin with the PNG signature");
}

CodePoints CodePoints::Of(std::span<const std::uint8_t, size> data, const ByteSource& source) {
  const char* const samples = NameOfSamples(data[2]);
  if (samples != nullptr) {
    source.Fail(std::string("the PNG picture declares ") + samples + " (cICP); convert it to RGB first");
  }
  if (data[3] != 1) {
    source.Fail("the PNG picture declares RGB of limited range (cICP); convert it to full range first");
  }
  return {data[0], data[1]};
}

void CodePoints::Declare(Raster& raster) const {
  if (primaries == bt2020) raster.matrix = ColourMatrix::Bt2020;
  if (transfer == pq) raster.transfer = Transfer::Pq;
  if (transfer == hlg) raster.transfer = Transfer::Hlg;
}

std::vector<std::uint8_t> CodePointsOf(const Raster& raster) {
  if (raster.matrix != ColourMatrix::Bt2020 || raster.transfer == Transfer::Unknown) return {};
  return {bt2020, raster.transfer == Transfer::Pq ? pq : hlg, 0, 1};
}

bool IsScreenRgb(const Raster& raster) {
  return raster.kind != RasterKind::Grey8 &&
         (raster.matrix == ColourMatrix::Bt601 || raster.matrix == ColourMatrix::Bt709);
}

ColourType ColourTypeOf(const Raster& raster, const ByteSink& sink) {
  switch (raster.kind) {
    case RasterKind::Grey8:
      return grey;
    case RasterKind::Dib24:
      return rgb;
    case RasterKind::Dib32:
      return rgbAlpha;
    default:
      break;
  }
  throw FormatError(
      sink.Name(),
      std::string("a PNG file is written from 24- or 32-bit RGB or 8-bit grey, not ") + NameOf(raster.kind));
}

void WeavePasses(std::span<const std::uint8_t> pixels, std::size_t channels, Raster& raster) {
  const auto width = static_cast<unsigned>(raster.width);
  const auto height = static_cast<unsigned>(raster.height);
  Plane& plane = raster.planes[0];
  plane.bytes.resize(plane.stride * static_cast<std::size_t>(plane.rows));
  auto next = pixels.begin();
  for (const Pass& pass : passes) {
    for (unsigned y = 0; y < pass.Rows(width, height); ++y) {
      const auto out = plane.Row(static_cast<int>(pass.y + y * pass.stepY));
      for (unsigned x = 0; x < pass.Columns(width); ++x) {
        const std::size_t column = pass.x + x * pass.stepX;
        std::copy_n(next, channels, out.begin() + static_cast<std::ptrdiff_t>(column * channels));
        next += static_cast<std::ptrdiff_t>(channels);
      }
    }
  }
}

}  // namespace kv_host::png
