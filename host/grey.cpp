#include "host/grey.h"

#include "host/raster_image.h"

namespace kv_host {
namespace {

void PutPixel(RasterKind kind, std::uint8_t grey, std::uint8_t* out) {
  const auto putWord = [&](unsigned word) {
    out[0] = static_cast<std::uint8_t>(word);
    out[1] = static_cast<std::uint8_t>(word >> 8U);
  };
  const unsigned five = grey >> 3U;
  switch (kind) {
    case RasterKind::Dib15:
      return putWord(five << 10U | five << 5U | five);
    case RasterKind::Dib16:
      return putWord(five << 11U | (grey >> 2U) << 5U | five);
    case RasterKind::Dib32:
      out[3] = 255;
      [[fallthrough]];
    default:
      out[0] = out[1] = out[2] = grey;
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
    PutPixel(kind, value, out);
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
