#include "host/formats/raster.h"

#include <stdexcept>

namespace kv_host {
namespace {

std::vector<std::size_t> StridesOf(RasterKind kind, std::size_t width) {
  const std::size_t pairs = (width + 1) / 2;
  switch (kind) {
    case RasterKind::Yuv422:
      return {4 * pairs};
    case RasterKind::Yuva422:
      return {4 * pairs, width};
    case RasterKind::Yuv422Planar:
      return {width, pairs, pairs};
    case RasterKind::Dib15:
    case RasterKind::Dib16:
      return {2 * width};
    case RasterKind::Dib24:
      return {3 * width};
    case RasterKind::Dib32:
      return {4 * width};
    case RasterKind::Grey8:
      return {width};
  }
  throw std::invalid_argument("not a kind of raster");
}

bool LayoutFits(RasterKind kind, int layout) {
  if (kind == RasterKind::Yuv422 || kind == RasterKind::Yuva422) {
    return layout == LayoutChromaFirst || layout == LayoutLumaFirst;
  }
  return layout == 0;
}

}  // namespace

std::uint64_t Raster::ByteCount() const {
  std::uint64_t count = 0;
  for (const Plane& plane : planes) {
    count += static_cast<std::uint64_t>(plane.stride) * static_cast<std::uint64_t>(plane.rows);
  }
  return count;
}

Raster MakeEmptyRaster(RasterKind kind, int width, int height, int layout) {
  const std::string problem = SizeProblem(width, height);
  if (!problem.empty()) throw std::invalid_argument(problem);
  if (!LayoutFits(kind, layout)) {
    throw std::invalid_argument("layout code " + std::to_string(layout) + " does not belong to " +
                                NameOf(kind));
  }
  Raster raster;
  raster.kind = kind;
  raster.width = width;
  raster.height = height;
  raster.layout = layout;
  if (kind == RasterKind::Grey8) raster.range = ColourRange::Full;
  for (const std::size_t stride : StridesOf(kind, static_cast<std::size_t>(width))) {
    raster.planes.push_back({.stride = stride, .rows = height, .bytes = {}});
  }
  return raster;
}

Raster MakeRaster(RasterKind kind, int width, int height, int layout) {
  Raster raster = MakeEmptyRaster(kind, width, height, layout);
  for (Plane& plane : raster.planes) plane.bytes.resize(plane.stride * static_cast<std::size_t>(plane.rows));
  return raster;
}

std::string SizeProblem(std::int64_t width, std::int64_t height) {
  const bool sidesFit = width >= 1 && width <= LongestSide && height >= 1 && height <= LongestSide;
  if (sidesFit && width * height <= MostPixels) return {};
  return "size " + std::to_string(width) + "x" + std::to_string(height) +
         " is out of range: sides are 1 to " + std::to_string(LongestSide) + ", at most " +
         std::to_string(MostPixels) + " pixels";
}

bool IsVideo(RasterKind kind) {
  return kind == RasterKind::Yuv422 || kind == RasterKind::Yuva422 || kind == RasterKind::Yuv422Planar;
}

const char* NameOf(RasterKind kind) {
  switch (kind) {
    case RasterKind::Yuv422:
      return "packed 4:2:2";
    case RasterKind::Yuva422:
      return "packed 4:2:2 with alpha";
    case RasterKind::Yuv422Planar:
      return "planar 4:2:2";
    case RasterKind::Dib15:
      return "15-bit RGB";
    case RasterKind::Dib16:
      return "16-bit RGB";
    case RasterKind::Dib24:
      return "24-bit RGB";
    case RasterKind::Dib32:
      return "32-bit RGB with alpha";
    case RasterKind::Grey8:
      return "8-bit grey";
  }
  return "unknown";
}

}  // namespace kv_host
