#include "host/conversion.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "frame/interfaces/copy.h"
#include "host/errors.h"
#include "host/formats/packing.h"
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

bool IsAlready(const Raster& picture, RasterKind kind, int layout) {
  return picture.kind == kind && (!IsPacked(kind) || picture.layout == layout);
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

/// The luma of planar 4:2:2 as a grey picture, or a grey picture as the luma of one without colour: nothing to convert.
std::optional<Raster> ExchangeLuma(const Raster& source, RasterKind kind) {
  const bool isOut = source.kind == RasterKind::Yuv422Planar && kind == RasterKind::Grey8;
  const bool isIn = source.kind == RasterKind::Grey8 && kind == RasterKind::Yuv422Planar;
  if (!isOut && !isIn) return std::nullopt;
  Raster result = MakeEmptyRaster(kind, source.width, source.height);
  Describe(result, source);
  result.planes[0].bytes = source.planes[0].bytes;
  for (std::size_t i = 1; i < result.planes.size(); ++i) {
    Plane& chroma = result.planes[i];
    chroma.bytes.assign(chroma.stride * static_cast<std::size_t>(chroma.rows), 128);
  }
  return result;
}

[[noreturn]] void ThrowNoConversion(const Raster& source, RasterKind kind, const Engine& engine) {
  throw NoMemberError(std::string("no member of the family converts ") + NameOf(source.kind) + " to " +
                      NameOf(kind) + engine.family.ForcedNote());
}

/// By "Copy" alone: directly where a member offers the pair, else through packed 4:2:2.
Raster ConvertByCopy(const Raster& source, RasterKind kind, int layout, const Engine& engine) {
  if (IsAlready(source, kind, layout)) return source;
  if (auto luma = ExchangeLuma(source, kind)) return *std::move(luma);
  if (IsBitmap(kind) && source.range == ColourRange::Full && !IsBitmap(source.kind)) {
    throw UsageError(
        "full-range 4:2:2 cannot become RGB by \"Copy\", which takes limited range alone; without "
        "--exact-copy it is converted");
  }
  // The planar copy fills luma-first images only.
  const bool isReordered =
      source.kind == RasterKind::Yuv422Planar && layout != LayoutLumaFirst && IsPacked(kind);
  if (!isReordered) {
    if (auto direct = ConvertDirectly(source, kind, layout, engine)) return *std::move(direct);
  }
  if (source.kind != RasterKind::Yuv422 || isReordered) {
    if (auto packed = ConvertDirectly(source, RasterKind::Yuv422, LayoutLumaFirst, engine)) {
      return ConvertByCopy(*packed, kind, layout, engine);
    }
  }
  ThrowNoConversion(source, kind, engine);
}

/// Between RGB kinds.
Raster ConvertBitmap(const Raster& source, RasterKind kind, const Engine& engine) {
  if (source.kind == kind) return source;
  if (auto direct = ConvertDirectly(source, kind, 0, engine)) return *std::move(direct);
  if (source.kind == RasterKind::Dib24 || source.kind == RasterKind::Dib32)
    return BitmapOfBitmap(source, kind);
  auto whole = ConvertDirectly(source, RasterKind::Dib24, 0, engine);
  if (!whole) ThrowNoConversion(source, kind, engine);
  return BitmapOfBitmap(*whole, kind);
}

/// 4:2:2 as RGB or grey.
Raster ConvertFromVideo(const Raster& source, RasterKind kind, const Engine& engine) {
  const bool isFew = kind == RasterKind::Dib15 || kind == RasterKind::Dib16;
  if (isFew) return BitmapOfBitmap(ConvertFromVideo(source, RasterKind::Dib24, engine), kind);
  if (source.kind != RasterKind::Yuva422) {
    const int layout = IsPacked(source.kind) ? source.layout : LayoutLumaFirst;
    return CrossFromVideo(ConvertByCopy(source, RasterKind::Yuv422, layout, engine), kind, engine);
  }
  if (kind == RasterKind::Dib32) return CrossFromVideo(source, kind, engine);
  Raster opaque = source;
  opaque.kind = RasterKind::Yuv422;
  opaque.planes.resize(1);
  return CrossFromVideo(opaque, kind, engine);
}

/// Whether black is 0 and white 255 in the picture's luma, as "Copy" takes it.
bool IsFullRange(const Raster& picture) {
  return picture.kind == RasterKind::Grey8 || (!IsBitmap(picture.kind) && picture.range == ColourRange::Full);
}

[[noreturn]] void RefuseRanges() {
  throw UsageError(
      "one picture is full-range 4:2:2, the other is not; convert the range of one first, as in "
      "ffmpeg -i full.y4m -vf scale=in_range=full:out_range=limited -pix_fmt yuv422p limited.y4m");
}

/// The 4:2:2 that the picture becomes beside another.
VideoSide SideBeside(const Raster& picture, const Raster& other) {
  if (IsVideo(other.kind)) return SideOf(other);
  // Either of the two gives the same answer.
  return {.matrix = picture.matrix == other.matrix ? picture.matrix : ColourMatrix::Unknown,
          .height = std::max(picture.height, other.height)};
}

}  // namespace

Raster Convert(Raster&& source, RasterKind kind, int layout, const Engine& engine) {
  if (IsAlready(source, kind, layout == 0 ? source.layout : layout)) return std::move(source);
  return Convert(std::as_const(source), kind, layout, engine);
}

Raster Convert(const Raster& source, RasterKind kind, int layout, const Engine& engine) {
  if (layout == 0) layout = IsPacked(source.kind) ? source.layout : LayoutLumaFirst;
  if (IsAlready(source, kind, layout)) return source;
  // Grey is full range, and RGB of one value for all three.
  if (source.kind == RasterKind::Grey8 && IsBitmap(kind)) return BitmapOfGrey(source, kind);
  if (kind == RasterKind::Grey8 && IsBitmap(source.kind)) {
    const bool isWhole = source.kind == RasterKind::Dib24 || source.kind == RasterKind::Dib32;
    return GreyOfBitmap(isWhole ? source : Convert(source, RasterKind::Dib24, 0, engine));
  }
  if (engine.colours.exactCopy) return ConvertByCopy(source, kind, layout, engine);
  if (IsVideo(source.kind)) {
    return IsVideo(kind) ? ConvertByCopy(source, kind, layout, engine)
                         : ConvertFromVideo(source, kind, engine);
  }
  if (IsVideo(kind)) return ConvertToVideo(source, kind, layout, SideOf(source), engine);
  return ConvertBitmap(source, kind, engine);
}

Raster ConvertToVideo(const Raster& source, RasterKind kind, int layout, const VideoSide& side,
                      const Engine& engine) {
  if (engine.colours.exactCopy) return Convert(source, kind, layout, engine);
  if (kind == RasterKind::Yuv422Planar) {
    return Unpack(ConvertToVideo(source, RasterKind::Yuv422, LayoutLumaFirst, side, engine));
  }
  if (kind == RasterKind::Yuva422) {
    return CrossToVideo(Convert(source, RasterKind::Dib32, 0, engine), kind, layout, side, engine);
  }
  const bool isFew = source.kind == RasterKind::Dib15 || source.kind == RasterKind::Dib16;
  return CrossToVideo(isFew ? Convert(source, RasterKind::Dib24, 0, engine) : source, kind, layout, side,
                      engine);
}

Raster ConvertLuma(const Raster& source, RasterKind kind, int layout, const Engine& engine) {
  const bool hasBitmap = IsBitmap(source.kind) || IsBitmap(kind);
  if (hasBitmap) return Convert(source, kind, layout, engine);
  if (layout == 0) layout = IsPacked(source.kind) ? source.layout : LayoutLumaFirst;
  return ConvertByCopy(source, kind, layout, engine);
}

Raster ConvertAs(const Raster& picture, const Raster& other, int layout, const Engine& engine) {
  const bool areGrey = picture.kind == RasterKind::Grey8 && other.kind == RasterKind::Grey8;
  if (areGrey || IsVideo(picture.kind)) return ConvertLuma(picture, RasterKind::Yuv422, layout, engine);
  return ConvertToVideo(picture, RasterKind::Yuv422, layout, SideBeside(picture, other), engine);
}

Raster ConvertBeside(const Raster& picture, const Raster& other, int layout, const Engine& engine) {
  if (!engine.colours.exactCopy) {
    const auto rangeOf = [&](const Raster& video) { return RangeOf(SideOf(video), engine.colours); };
    if (IsVideo(picture.kind) && IsVideo(other.kind) && rangeOf(picture) != rangeOf(other)) RefuseRanges();
    return ConvertAs(picture, other, layout, engine);
  }
  if (IsFullRange(picture) == IsFullRange(other)) return Convert(picture, RasterKind::Yuv422, layout, engine);
  const Raster& full = IsFullRange(picture) ? picture : other;
  if (full.kind != RasterKind::Grey8) RefuseRanges();
  if (picture.kind != RasterKind::Grey8) return Convert(picture, RasterKind::Yuv422, layout, engine);
  return Convert(BitmapOfGrey(picture, RasterKind::Dib24), RasterKind::Yuv422, layout, engine);
}

Raster LumaBeside(const Raster& picture, const Raster& other, RasterKind kind, const Engine& engine) {
  const auto lumaOf = [&](const Raster& from) { return ConvertLuma(from, kind, LayoutLumaFirst, engine); };
  if (!IsBitmap(picture.kind) || IsBitmap(kind)) return lumaOf(picture);
  const bool becomesGrey = engine.colours.exactCopy ? IsFullRange(other) : other.kind == RasterKind::Grey8;
  if (becomesGrey) return lumaOf(Convert(picture, RasterKind::Grey8, 0, engine));
  return kind == RasterKind::Yuv422 ? ConvertAs(picture, other, LayoutLumaFirst, engine) : lumaOf(picture);
}

}  // namespace kv_host
