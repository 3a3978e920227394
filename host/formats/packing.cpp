#include "host/formats/packing.h"

#include <stdexcept>
#include <utility>

namespace kv_host {
namespace {

/// Positions of the four bytes of a pair.
struct PairOrder {
  int luma0, cb, luma1, cr;
};

PairOrder OrderOf(int layout) {
  return layout == LayoutChromaFirst ? PairOrder{.luma0 = 1, .cb = 0, .luma1 = 3, .cr = 2}
                                     : PairOrder{.luma0 = 0, .cb = 1, .luma1 = 2, .cr = 3};
}

void RequireKind(const Raster& raster, RasterKind kind) {
  if (raster.kind == kind) return;
  throw std::invalid_argument(std::string("the raster is ") + NameOf(raster.kind) + ", not " + NameOf(kind));
}

Raster Like(const Raster& raster, RasterKind kind, int layout) {
  Raster made = MakeRaster(kind, raster.width, raster.height, layout);
  made.interlace = raster.interlace;
  made.range = raster.range;
  made.matrix = raster.matrix;
  made.chroma = raster.chroma;
  made.transfer = raster.transfer;
  made.frameRate = raster.frameRate;
  made.pixelAspect = raster.pixelAspect;
  made.time = raster.time;
  return made;
}

}  // namespace

Raster Pack(const Raster& planar, int layout) {
  RequireKind(planar, RasterKind::Yuv422Planar);
  Raster packed = Like(planar, RasterKind::Yuv422, layout);
  const PairOrder order = OrderOf(layout);
  const auto width = static_cast<std::size_t>(planar.width);
  for (int y = 0; y < planar.height; ++y) {
    const std::uint8_t* luma = planar.planes[0].Row(y).data();
    const std::uint8_t* cb = planar.planes[1].Row(y).data();
    const std::uint8_t* cr = planar.planes[2].Row(y).data();
    std::uint8_t* out = packed.planes[0].Row(y).data();
    for (std::size_t x = 0; x < width; x += 2, out += 4) {
      out[order.luma0] = luma[x];
      out[order.luma1] = luma[x + 1 < width ? x + 1 : x];
      out[order.cb] = cb[x / 2];
      out[order.cr] = cr[x / 2];
    }
  }
  return packed;
}

Raster Unpack(const Raster& packed) {
  RequireKind(packed, RasterKind::Yuv422);
  Raster planar = Like(packed, RasterKind::Yuv422Planar, 0);
  const PairOrder order = OrderOf(packed.layout);
  const auto width = static_cast<std::size_t>(packed.width);
  for (int y = 0; y < packed.height; ++y) {
    const std::uint8_t* in = packed.planes[0].Row(y).data();
    std::uint8_t* luma = planar.planes[0].Row(y).data();
    std::uint8_t* cb = planar.planes[1].Row(y).data();
    std::uint8_t* cr = planar.planes[2].Row(y).data();
    for (std::size_t x = 0; x < width; x += 2, in += 4) {
      luma[x] = in[order.luma0];
      if (x + 1 < width) luma[x + 1] = in[order.luma1];
      cb[x / 2] = in[order.cb];
      cr[x / 2] = in[order.cr];
    }
  }
  return planar;
}

Raster WithLayout(const Raster& packed, int layout) {
  if (packed.kind != RasterKind::Yuva422) RequireKind(packed, RasterKind::Yuv422);
  if (layout != LayoutChromaFirst && layout != LayoutLumaFirst) {
    throw std::invalid_argument("layout code " + std::to_string(layout) + " is neither 4097 nor 4098");
  }
  Raster swapped = packed;
  if (packed.layout == layout) return swapped;
  swapped.layout = layout;
  std::vector<std::uint8_t>& bytes = swapped.planes[0].bytes;
  for (std::size_t i = 0; i + 1 < bytes.size(); i += 2) std::swap(bytes[i], bytes[i + 1]);
  return swapped;
}

}  // namespace kv_host
