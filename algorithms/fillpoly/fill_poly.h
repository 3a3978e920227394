#pragma once

#include <cstddef>
#include <vector>

#include "algorithms/fillpoly/scan_line.h"
#include "algorithms/kernel_sets.h"
#include "frame/interfaces/fill_poly.h"
#include "frame/member_name.h"
#include "frame/platform/platform.h"
#include "geometry/intersection.h"
#include "image/image.h"
#include "image/image_rect.h"

namespace kv_img {
namespace fillpoly {

/// True for the four corners of an axis-aligned rectangle in order, in either direction.
inline bool IsUprightRectangle(const std::vector<kv_math::Vector2>& p) {
  if (p.size() != 4) return false;
  return (p[0].x == p[1].x && p[2].x == p[3].x && p[0].y == p[3].y && p[1].y == p[2].y) ||
         (p[0].y == p[1].y && p[2].y == p[3].y && p[0].x == p[3].x && p[1].x == p[2].x);
}

/// The part of the rectangle with these corners inside `clip`; invalid if there is none.
inline kv_math::Rect2 ClippedRectangle(const std::vector<kv_math::Vector2>& corners,
                                       const kv_math::Rect2& clip) {
  kv_math::Rect2 rectangle;
  for (const kv_math::Vector2& corner : corners) rectangle.Expand(corner);
  return kv_math::Intersection(rectangle, clip).UnMirror();
}

/// The parts of the polygon with these vertices inside `clip`.
inline std::vector<kv_math::Polygon2> ClippedPolygon(const std::vector<kv_math::Vector2>& vertices,
                                                     const kv_math::Rect2& clip) {
  kv_math::Polygon2 polygon;
  for (const kv_math::Vector2& vertex : vertices) polygon.AddVertex(vertex);
  std::vector<kv_math::Polygon2> pieces;
  kv_math::Intersection(polygon, clip, pieces);
  return pieces;
}

/// Scratch memory for painting one row of an image.
struct RowBuffers {
  explicit RowBuffers(std::size_t width) : coverage(width + 2), crossings(2 * width + 4) {}

  std::vector<float> coverage;
  std::vector<float> crossings;
};

}  // namespace fillpoly

/// Prepares everything that filling a polygon needs and then paints nothing: the image stays unchanged, on
/// purpose.
template <class Member, class ImageType>
class FillPoly : public FillPolyAlgorithmInterface<ImageType> {
 public:
  ImageType& Apply(ImageType& image, const std::vector<kv_math::Vector2>& vertices, const Pixel& colour,
                   int /*unused1*/, int /*unused2*/, const RegionOfSupport& region) const override {
    kv_platform::ClearSimdState();
    if (region.GetClassID() != ImageRect::ClassID) return image;
    [[maybe_unused]] const PixelDIB24 paint(colour);
    const double opacity = PixelDIB32(colour).GetAlpha() / 255.0;
    if (opacity <= 0.0) return image;
    const ImageRect clip = region ^ ImageRect(image);
    if (!clip.IsValid()) return image;

    // Pixel x covers the plane from x to x + 1.
    const kv_math::Rect2 clipArea(clip.GetLeft(), clip.GetTop(), clip.GetRight() + 1.0,
                                  clip.GetBottom() + 1.0);
    if (fillpoly::IsUprightRectangle(vertices)) {
      [[maybe_unused]] const kv_math::Rect2 rectangle = fillpoly::ClippedRectangle(vertices, clipArea);
      const fillpoly::RowBuffers buffers(image.GetWidth());
      return image;
    }
    const std::vector<kv_math::Polygon2> pieces = fillpoly::ClippedPolygon(vertices, clipArea);
    const fillpoly::RowBuffers buffers(image.GetWidth());
    for (const kv_math::Polygon2& piece : pieces) {
      fillpoly::ScanLineWalk walk(piece, clip.GetTop(), clip.GetBottom());
      while (walk.NextRow()) {
        // A drawing variant paints the row here.
      }
    }
    return image;
  }
};

template <class ImageType>
class FillPolyC final : public FillPoly<Scalar, ImageType> {};

template <class ImageType>
class FillPolyMMX final : public FillPoly<Mmx, ImageType> {};

template <class ImageType>
class FillPolySSE2 final : public FillPoly<Widest, ImageType> {};

template <class ImageType>
class FillPolyNEON final : public FillPoly<Widest, ImageType> {};

}  // namespace kv_img
