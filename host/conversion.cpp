#include "host/conversion.h"

#include <optional>

#include "frame/interfaces/copy.h"
#include "host/errors.h"
#include "host/grey.h"
#include "host/raster_image.h"

namespace kv_host {
namespace {

using kv_img::Image;

constexpr bool IsPacked(RasterKind kind) {
  return kind == RasterKind::Yuv422 || kind == RasterKind::Yuva422;
}

constexpr bool IsBitmap(RasterKind kind) {
  return kind == RasterKind::Dib15 || kind == RasterKind::Dib16 || kind == RasterKind::Dib24 ||
         kind == RasterKind::Dib32;
}

template <class In, class Out>
const kv_img::CopyAlgorithmInterface<Image<In>, Image<Out>>* FindCopy(const Family& family) {
  return family.Find<kv_img::CopyAlgorithmInterface<Image<In>, Image<Out>>>("Copy",
                                                                            {In::ClassID, Out::ClassID});
}

/// One "Copy"; nothing when no member offers the pair.
std::optional<Raster> ConvertDirectly(const Raster& source, RasterKind kind, int layout,
                                      const Engine& engine) {
  return WithPixelClass(source.kind, [&]<class In>() {
    return WithPixelClass(kind, [&]<class Out>() -> std::optional<Raster> {
      const auto* copy = FindCopy<In, Out>(engine.family);
      if (copy == nullptr) return std::nullopt;
      const auto from = ToImage<In>(source);
      kv_img::ImageOptions options;
      if (IsPacked(kind)) options.layout = layout;
      const auto to = MakeWorkingImage<Out>(source.width, source.height, options);
      engine.Run("Copy", *copy, *from, *to);
      return ToRaster(*to, source);
    });
  });
}

}  // namespace

Raster Convert(const Raster& source, RasterKind kind, int layout, const Engine& engine) {
  if (layout == 0) layout = IsPacked(source.kind) ? source.layout : LayoutLumaFirst;
  if (source.kind == kind && (!IsPacked(kind) || source.layout == layout)) return source;
  // For "Copy" grey is the luma of studio range, which a grey picture is not.
  if (source.kind == RasterKind::Grey8 && IsBitmap(kind)) return BitmapOfGrey(source, kind);
  if (kind == RasterKind::Grey8 && IsBitmap(source.kind)) {
    const bool isWhole = source.kind == RasterKind::Dib24 || source.kind == RasterKind::Dib32;
    return GreyOfBitmap(isWhole ? source : Convert(source, RasterKind::Dib24, 0, engine));
  }
  if (IsBitmap(kind) && source.range == ColourRange::Full && !IsBitmap(source.kind)) {
    throw UsageError(
        "full-range 4:2:2 cannot become RGB: kv converts limited range alone; convert the range first, as in "
        "ffmpeg -i full.y4m -vf scale=in_range=full:out_range=limited -pix_fmt yuv422p limited.y4m");
  }
  // The planar copy fills luma-first images only.
  const bool isReordered =
      source.kind == RasterKind::Yuv422Planar && layout != LayoutLumaFirst && IsPacked(kind);
  if (!isReordered) {
    if (auto direct = ConvertDirectly(source, kind, layout, engine)) return *std::move(direct);
  }
  if (source.kind != RasterKind::Yuv422 || isReordered) {
    if (auto packed = ConvertDirectly(source, RasterKind::Yuv422, LayoutLumaFirst, engine)) {
      return Convert(*packed, kind, layout, engine);
    }
  }
  throw NoMemberError(std::string("no member of the family converts ") + NameOf(source.kind) + " to " +
                      NameOf(kind) + engine.family.ForcedNote());
}

bool IsFullRange(const Raster& picture) {
  return picture.kind == RasterKind::Grey8 || (picture.range == ColourRange::Full && !IsBitmap(picture.kind));
}

Raster ConvertBeside(const Raster& picture, const Raster& other, int layout, const Engine& engine) {
  if (IsFullRange(picture) == IsFullRange(other)) {
    return Convert(picture, RasterKind::Yuv422, layout, engine);
  }
  const Raster& full = IsFullRange(picture) ? picture : other;
  if (full.kind != RasterKind::Grey8) {
    throw UsageError(
        "one picture is full-range 4:2:2, the other is not; convert the range of one first, as in "
        "ffmpeg -i full.y4m -vf scale=in_range=full:out_range=limited -pix_fmt yuv422p limited.y4m");
  }
  if (picture.kind != RasterKind::Grey8) return Convert(picture, RasterKind::Yuv422, layout, engine);
  return Convert(BitmapOfGrey(picture, RasterKind::Dib24), RasterKind::Yuv422, layout, engine);
}

Raster LumaBeside(const Raster& picture, const Raster& other, RasterKind kind, const Engine& engine) {
  const bool becomesGrey = IsBitmap(picture.kind) && IsFullRange(other);
  if (!becomesGrey) return Convert(picture, kind, LayoutLumaFirst, engine);
  return Convert(Convert(picture, RasterKind::Grey8, 0, engine), kind, LayoutLumaFirst, engine);
}

}  // namespace kv_host
