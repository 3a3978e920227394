#pragma once

#include <algorithm>
#include <memory>
#include <span>

#include "host/formats/raster.h"
#include "image/image.h"

namespace kv_host {

/// The raster kind that holds the pixels of a pixel class.
template <class PixelClass>
inline constexpr RasterKind kindOf{};
template <>
inline constexpr RasterKind kindOf<kv_img::PixelYUV422> = RasterKind::Yuv422;
template <>
inline constexpr RasterKind kindOf<kv_img::PixelYUVA422> = RasterKind::Yuva422;
template <>
inline constexpr RasterKind kindOf<kv_img::PixelYUV411P> = RasterKind::Yuv422Planar;
template <>
inline constexpr RasterKind kindOf<kv_img::PixelDIB15> = RasterKind::Dib15;
template <>
inline constexpr RasterKind kindOf<kv_img::PixelDIB16> = RasterKind::Dib16;
template <>
inline constexpr RasterKind kindOf<kv_img::PixelDIB24> = RasterKind::Dib24;
template <>
inline constexpr RasterKind kindOf<kv_img::PixelDIB32> = RasterKind::Dib32;
template <>
inline constexpr RasterKind kindOf<kv_img::PixelNoColor<unsigned char>> = RasterKind::Grey8;

/// Calls `work.operator()<PixelClass>()` with the pixel class of a raster kind.
template <class Work>
decltype(auto) WithPixelClass(RasterKind kind, Work&& work) {
  switch (kind) {
    case RasterKind::Yuv422:
      return work.template operator()<kv_img::PixelYUV422>();
    case RasterKind::Yuva422:
      return work.template operator()<kv_img::PixelYUVA422>();
    case RasterKind::Yuv422Planar:
      return work.template operator()<kv_img::PixelYUV411P>();
    case RasterKind::Dib15:
      return work.template operator()<kv_img::PixelDIB15>();
    case RasterKind::Dib16:
      return work.template operator()<kv_img::PixelDIB16>();
    case RasterKind::Dib24:
      return work.template operator()<kv_img::PixelDIB24>();
    case RasterKind::Dib32:
      return work.template operator()<kv_img::PixelDIB32>();
    case RasterKind::Grey8:
      break;
  }
  return work.template operator()<kv_img::PixelNoColor<unsigned char>>();
}

/// The width that the program works on: the next multiple of eight. The members convert eight pixels at a
/// time and leave what is over at a row's end as it was; people want whole pictures.
constexpr int WorkingWidth(int width) {
  return (width + 7) / 8 * 8;
}

/// An empty image of WorkingWidth(width) for a picture of this size.
template <class PixelClass>
std::unique_ptr<kv_img::Image<PixelClass>> MakeWorkingImage(int width, int height,
                                                            const kv_img::ImageOptions& options = {}) {
  return std::make_unique<kv_img::Image<PixelClass>>(WorkingWidth(width), height, options);
}

/// Gives `raster` the interlace, colours, rate and aspect of `like`.
void Describe(Raster& raster, const Raster& like);

/// The plane of an image that plane `index` of a raster corresponds to.
kv_img::PixelComponent::COMPONENT ComponentOfPlane(RasterKind kind, std::size_t index);

/// Fills the end of a row by repeating its last pixel, pair or sample from byte `filled` on.
void RepeatLastUnit(std::span<std::uint8_t> row, std::size_t filled, RasterKind kind, std::size_t plane);

/// The raster as an image of this width, at least its own: the last pixel or pair of each row is repeated.
/// `PixelClass` must be that of the raster's kind; packed images take the raster's layout.
template <class PixelClass>
std::unique_ptr<kv_img::Image<PixelClass>> ToImageOfWidth(int width, const Raster& raster,
                                                          kv_img::ImageOptions options = {}) {
  if (raster.layout != 0) options.layout = raster.layout;
  auto image = std::make_unique<kv_img::Image<PixelClass>>(width, raster.height, options);
  for (std::size_t plane = 0; plane < raster.planes.size(); ++plane) {
    for (int y = 0; y < raster.height; ++y) {
      const auto from = raster.planes[plane].Row(y);
      const auto to = image->PlaneRow(ComponentOfPlane(raster.kind, plane), y);
      std::ranges::copy(from, to.begin());
      RepeatLastUnit(to, from.size(), raster.kind, plane);
    }
  }
  return image;
}

/// The raster as an image of WorkingWidth.
template <class PixelClass>
std::unique_ptr<kv_img::Image<PixelClass>> ToImage(const Raster& raster,
                                                   const kv_img::ImageOptions& options = {}) {
  return ToImageOfWidth<PixelClass>(WorkingWidth(raster.width), raster, options);
}

/// The left `shape.width` columns of the image as a raster with the description of `shape`: size, interlace,
/// colours, rate and aspect.
template <class PixelClass>
Raster ToRaster(const kv_img::Image<PixelClass>& image, const Raster& shape) {
  constexpr RasterKind kind = kindOf<PixelClass>;
  constexpr bool isPacked = kind == RasterKind::Yuv422 || kind == RasterKind::Yuva422;
  Raster raster = MakeEmptyRaster(kind, shape.width, shape.height, isPacked ? image.GetPixelLayout() : 0);
  Describe(raster, shape);
  for (std::size_t index = 0; index < raster.planes.size(); ++index) {
    Plane& plane = raster.planes[index];
    plane.bytes.reserve(plane.stride * static_cast<std::size_t>(plane.rows));
    for (int y = 0; y < raster.height; ++y) {
      const auto row = image.PlaneRow(ComponentOfPlane(kind, index), y).first(plane.stride);
      plane.bytes.insert(plane.bytes.end(), row.begin(), row.end());
    }
  }
  return raster;
}

}  // namespace kv_host
