#include "host/raster_image.h"

namespace kv_host {
namespace {

std::size_t UnitBytes(RasterKind kind, std::size_t plane) {
  if (plane > 0) return 1;
  switch (kind) {
    case RasterKind::Yuv422:
    case RasterKind::Yuva422:
    case RasterKind::Dib32:
      return 4;
    case RasterKind::Dib24:
      return 3;
    case RasterKind::Dib15:
    case RasterKind::Dib16:
      return 2;
    default:
      return 1;
  }
}

}  // namespace

void Describe(Raster& raster, const Raster& like) {
  raster.interlace = like.interlace;
  raster.range = like.range;
  raster.matrix = like.matrix;
  raster.chroma = like.chroma;
  raster.transfer = like.transfer;
  raster.frameRate = like.frameRate;
  raster.pixelAspect = like.pixelAspect;
  raster.time = like.time;
}

kv_img::PixelComponent::COMPONENT ComponentOfPlane(RasterKind kind, std::size_t index) {
  using enum kv_img::PixelComponent::COMPONENT;
  if (index == 0) return Luma;
  if (kind == RasterKind::Yuva422) return Alpha;
  return index == 1 ? Cb : Cr;
}

void RepeatLastUnit(std::span<std::uint8_t> row, std::size_t filled, RasterKind kind, std::size_t plane) {
  const std::size_t unit = UnitBytes(kind, plane);
  for (std::size_t at = filled; at < row.size(); ++at) row[at] = row[at - unit];
}

}  // namespace kv_host
