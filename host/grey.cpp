#include "host/grey.h"

#include <algorithm>
#include <array>

#include "host/raster_image.h"

namespace kv_host {
namespace {

/// `pixel`: blue, green, red and alpha.
void PutPixel(RasterKind kind, std::array<std::uint8_t, 4> pixel, std::uint8_t* out) {
  const auto putWord = [&](unsigned word) {
    out[0] = static_cast<std::uint8_t>(word);
    out[1] = static_cast<std::uint8_t>(word >> 8U);
  };
  const unsigned blue = pixel[0] >> 3U;
  const unsigned red = pixel[2] >> 3U;
  switch (kind) {
    case RasterKind::Dib15:
      return putWord(red << 10U | (pixel[1] >> 3U) << 5U | blue);
    case RasterKind::Dib16:
      return putWord(red << 11U | (pixel[1] >> 2U) << 5U | blue);
    case RasterKind::Dib32:
      out[3] = pixel[3];
      [[fallthrough]];
    default:
      std::copy_n(pixel.begin(), 3, out);
  }
}

}  // namespace

Raster BitmapOfGrey(const Raster& grey, RasterKind kind) {
  Raster bitmap = MakeRaster(kind, grey.width, grey.height);
  Describe(bitmap, grey);
  bitmap.range = ColourRange::Unknown;
  const std::size_t pixelBytes = bitmap.planes[0].stride / static_cast<std::size_t>(grey.width);
  std::uint8_t* out = bitmap.planes[0].bytes.data();
  for (const std::uint8_t value : grey.planes[0].bytes) {
    PutPixel(kind, {value, value, value, 255}, out);
    out += pixelBytes;
  }
  return bitmap;
}

Raster BitmapOfBitmap(const Raster& from, RasterKind kind) {
  Raster bitmap = MakeRaster(kind, from.width, from.height);
  Describe(bitmap, from);
  const auto columns = static_cast<std::size_t>(from.width);
  const std::size_t pixelBytes = bitmap.planes[0].stride / columns;
  const bool hasAlpha = from.kind == RasterKind::Dib32;
  const std::uint8_t* in = from.planes[0].bytes.data();
  std::uint8_t* out = bitmap.planes[0].bytes.data();
  for (std::size_t left = columns * static_cast<std::size_t>(from.height); left > 0; --left) {
    PutPixel(kind, {in[0], in[1], in[2], hasAlpha ? in[3] : std::uint8_t{255}}, out);
    in += hasAlpha ? 4 : 3;
    out += pixelBytes;
  }
  return bitmap;
}

Raster GreyOfBitmap(const Raster& bitmap) {
  Raster grey = MakeRaster(RasterKind::Grey8, bitmap.width, bitmap.height);
  Describe(grey, bitmap);
  grey.range = ColourRange::Full;
  const std::size_t pixelBytes = bitmap.kind == RasterKind::Dib32 ? 4 : 3;
  const std::uint8_t* in = bitmap.planes[0].bytes.data();
  for (std::uint8_t& value : grey.planes[0].bytes) {
    value = static_cast<std::uint8_t>((19595U * in[2] + 38470U * in[1] + 7471U * in[0] + 32768U) >> 16U);
    in += pixelBytes;
  }
  return grey;
}

}  // namespace kv_host
