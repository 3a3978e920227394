#include "host/conversion.h"

#include <optional>

#include "frame/interfaces/copy.h"
#include "host/errors.h"
#include "host/raster_image.h"

namespace kv_host {
namespace {

using kv_img::Image;

constexpr bool IsPacked(RasterKind kind) {
  return kind == RasterKind::Yuv422 || kind == RasterKind::Yuva422;
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

}  // namespace kv_host
