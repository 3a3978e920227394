#include "host/paste.h"

#include <algorithm>

#include "frame/interfaces/copy_roi.h"
#include "host/conversion.h"
#include "host/raster_image.h"

namespace kv_host {
namespace {

using kv_img::PixelYUV422;
using kv_img::RunRegion;
using Frame422 = kv_img::Image<PixelYUV422>;

/// Calls `work(source row, destination row)` for every row of the regions.
template <class Work>
void ForRows(const RunRegion& what, const RunRegion& where, Work work) {
  for (int row = what.GetTop(); row <= what.GetBottom(); ++row) {
    work(row, row - what.GetTop() + where.GetTop());
  }
}

/// A region and its place in the other picture.
struct Regions {
  RunRegion what;
  RunRegion where;
};

/// The regions with every pair that both cut at the same place completed: of a cut pair the operation writes
/// one chroma sample alone. Images of WorkingWidth have the columns.
Regions WithWholePairs(const RunRegion& what, const RunRegion& where) {
  std::vector<int> first[2];
  std::vector<int> last[2];
  ForRows(what, where, [&](int from, int to) {
    const bool isEmpty = what.GetRight(from) < what.GetLeft(from);
    const int before = !isEmpty && (what.GetLeft(from) & where.GetLeft(to) & 1) != 0 ? 1 : 0;
    const int after = !isEmpty && ((what.GetRight(from) | where.GetRight(to)) & 1) == 0 ? 1 : 0;
    first[0].push_back(what.GetLeft(from) - before);
    last[0].push_back(what.GetRight(from) + after);
    first[1].push_back(where.GetLeft(to) - before);
    last[1].push_back(where.GetRight(to) + after);
  });
  return {{what.GetTop(), first[0], last[0]}, {where.GetTop(), first[1], last[1]}};
}

void CopyRegion(const Raster& image, Frame422& to, const RunRegion& what, const RunRegion& where,
                const Engine& engine) {
  const auto& operation = engine.family.Require<kv_img::CopyROIAlgorithmInterface<Frame422, Frame422>>(
      "CopyROI", {PixelYUV422::ClassID, PixelYUV422::ClassID});
  const auto from = ToImage<PixelYUV422>(image);
  engine.Run("CopyROI", operation, *from, to, what, where);
}

void PasteAlpha(const Raster& image, const RunRegion& what, Raster& canvas, const RunRegion& where) {
  const auto alphaOf = [](auto& raster, int x, int y) {
    const auto at = static_cast<std::size_t>(x);
    return raster.kind == RasterKind::Dib32 ? &raster.planes[0].Row(y)[4 * at + 3]
                                            : &raster.planes[1].Row(y)[at];
  };
  const bool hasAlpha = image.kind == RasterKind::Dib32 || image.kind == RasterKind::Yuva422;
  ForRows(what, where, [&](int from, int to) {
    const int offset = where.GetLeft(to) - what.GetLeft(from);
    for (int x = what.GetLeft(from); x <= what.GetRight(from); ++x) {
      *alphaOf(canvas, x + offset, to) = hasAlpha ? *alphaOf(image, x, from) : std::uint8_t{255};
    }
  });
}

/// The pairs on both sides of each run take those at its ends, so that filters of chroma find what they find
/// at the borders of a picture.
void RepeatEnds(Raster& video, const RunRegion& runs) {
  constexpr int pairBytes = 4;
  for (int row = runs.GetTop(); row <= runs.GetBottom(); ++row) {
    if (runs.GetRight(row) < runs.GetLeft(row)) continue;
    const auto bytes = video.planes[0].Row(row);
    const auto pair = [&](int index) { return bytes.begin() + std::ptrdiff_t{pairBytes} * index; };
    const int first = runs.GetLeft(row) / 2;
    const int last = runs.GetRight(row) / 2;
    if (first > 0) std::copy_n(pair(first), pairBytes, pair(first - 1));
    if (last + 1 < (video.width + 1) / 2) std::copy_n(pair(last), pairBytes, pair(last + 1));
  }
}

/// A canvas of 4:2:2: the operation works on its own samples.
Raster PasteVideo(const Raster& image, const RunRegion& what, const Raster& canvas, const RunRegion& where,
                  const Engine& engine) {
  const int layout = canvas.layout != 0 ? canvas.layout : LayoutLumaFirst;
  const auto to = ToImage<PixelYUV422>(ConvertBeside(canvas, image, layout, engine));
  CopyRegion(ConvertBeside(image, canvas, layout, engine), *to, what, where, engine);
  if (canvas.kind != RasterKind::Yuva422) return ToRaster(*to, canvas);
  Raster result = canvas;
  result.planes[0] = ToRaster(*to, canvas).planes[0];
  PasteAlpha(image, what, result, where);
  return result;
}

/// Another canvas: the operation works on an empty frame, of which the region's pixels are taken.
Raster PastePixels(const Raster& image, const RunRegion& what, const Raster& canvas, const RunRegion& where,
                   const Engine& engine) {
  const bool isGrey = canvas.kind == RasterKind::Grey8;
  const Raster source = isGrey ? ConvertLuma(Convert(image, canvas.kind, 0, engine), RasterKind::Yuv422,
                                             LayoutLumaFirst, engine)
                               : ConvertBeside(image, canvas, LayoutLumaFirst, engine);
  const auto to = MakeWorkingImage<PixelYUV422>(canvas.width, canvas.height);
  const Regions pairs = WithWholePairs(what, where);
  CopyRegion(source, *to, pairs.what, pairs.where, engine);
  Raster shape = source;
  shape.width = canvas.width;
  shape.height = canvas.height;
  if (!engine.colours.exactCopy) shape.matrix = MatrixOf(SideOf(source), engine.colours);
  Raster video = ToRaster(*to, shape);
  RepeatEnds(video, where);
  const Raster pixels =
      isGrey ? ConvertLuma(video, canvas.kind, 0, engine) : Convert(video, canvas.kind, 0, engine);

  Raster result = canvas;
  const std::size_t pixelBytes = canvas.planes[0].stride / static_cast<std::size_t>(canvas.width);
  for (int row = where.GetTop(); row <= where.GetBottom(); ++row) {
    if (where.GetRight(row) < where.GetLeft(row)) continue;
    const std::size_t begin = pixelBytes * static_cast<std::size_t>(where.GetLeft(row));
    const std::size_t end = pixelBytes * static_cast<std::size_t>(where.GetRight(row) + 1);
    std::ranges::copy(pixels.planes[0].Row(row).subspan(begin, end - begin),
                      result.planes[0].Row(row).subspan(begin).begin());
  }
  if (canvas.kind == RasterKind::Dib32) PasteAlpha(image, what, result, where);
  return result;
}

}  // namespace

Raster PasteRegion(const Raster& image, const RunRegion& what, const Raster& canvas, const RunRegion& where,
                   const Engine& engine) {
  const bool isVideo = canvas.kind == RasterKind::Yuv422 || canvas.kind == RasterKind::Yuv422Planar ||
                       canvas.kind == RasterKind::Yuva422;
  return isVideo ? PasteVideo(image, what, canvas, where, engine)
                 : PastePixels(image, what, canvas, where, engine);
}

}  // namespace kv_host
