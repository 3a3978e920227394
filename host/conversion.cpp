#include "host/conversion.h"

#include <optional>

#include "frame/interfaces/color_conversion.h"
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

/// By "Copy" alone: directly where a member offers the pair, else through packed 4:2:2.
Raster ConvertByCopy(const Raster& source, RasterKind kind, int layout, const Engine& engine) {
  if (IsAlready(source, kind, layout)) return source;
  if (IsBitmap(kind) && source.range == ColourRange::Full && !IsBitmap(source.kind)) {
    throw UsageError(
        "full-range 4:2:2 cannot become RGB by \"Copy\", which takes limited range alone; --range full "
        "converts it");
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
  throw NoMemberError(std::string("no member of the family converts ") + NameOf(source.kind) + " to " +
                      NameOf(kind) + engine.family.ForcedNote());
}

/// Between RGB kinds.
Raster ConvertBitmap(const Raster& source, RasterKind kind, const Engine& engine) {
  if (source.kind == kind) return source;
  if (auto direct = ConvertDirectly(source, kind, 0, engine)) return *std::move(direct);
  const bool isWhole = source.kind == RasterKind::Dib24 || source.kind == RasterKind::Dib32;
  return isWhole ? BitmapOfBitmap(source, kind)
                 : BitmapOfBitmap(ConvertByCopy(source, RasterKind::Dib24, 0, engine), kind);
}

constexpr std::string_view matrixNames[] = {"", "601", "709", "2020"};

/// The colours of the YUV side of a crossing, `source` being either side.
struct Colours {
  ColourMatrix matrix;
  ColourRange range;
  kv_img::ColorConversionParameters parameters;
};

Colours ColoursFor(const Raster& source, const Engine& engine) {
  const ColourOptions& given = engine.colours;
  const bool toRgb = !IsBitmap(source.kind);
  Colours colours{.matrix = MatrixOf(source, given), .range = ColourRange::Limited, .parameters = {}};
  const bool isDeclared = toRgb && source.range != ColourRange::Unknown;
  if (isDeclared) colours.range = source.range;
  if (given.range) colours.range = *given.range;
  auto& parameters = colours.parameters;
  parameters.yuv.matrix = colours.matrix == ColourMatrix::Bt709    ? kv_img::ColorMatrix::Bt709
                          : colours.matrix == ColourMatrix::Bt2020 ? kv_img::ColorMatrix::Bt2020
                                                                   : kv_img::ColorMatrix::Bt601;
  const bool isFull = colours.range == ColourRange::Full;
  parameters.yuv.range = isFull ? kv_img::ColorRange::Full : kv_img::ColorRange::Limited;
  parameters.yuv.chroma = given.chroma.value_or(parameters.yuv.chroma);
  parameters.resample = given.resample.value_or(parameters.resample);
  if (engine.log != nullptr) {
    const auto from = [](bool isOption) { return isOption ? "option" : "default"; };
    const bool isLeft = parameters.yuv.chroma == kv_img::ChromaPosition::Left;
    const bool isLinear = parameters.resample == kv_img::ChromaResampling::Linear;
    engine.log->Add(
        Crossing{.to = toRgb ? "rgb" : "yuv",
                 .matrix = {matrixNames[static_cast<std::size_t>(colours.matrix)],
                            given.matrix                             ? "option"
                            : source.matrix != ColourMatrix::Unknown ? "source"
                                                                     : "height"},
                 .range = {isFull ? "full" : "limited",
                           isDeclared && !given.range ? "source" : from(given.range.has_value())},
                 .chroma = {isLeft ? "left" : "centre", from(given.chroma.has_value())},
                 .resample = {isLinear ? "linear" : "nearest", from(given.resample.has_value())}});
  }
  return colours;
}

/// One "ColorConversion". Its images have the picture's own width: every pixel of any width is written.
template <class In, class Out>
Raster Cross(const Raster& source, int layout, const Engine& engine) {
  using Interface = kv_img::ColorConversionAlgorithmInterface<Image<In>, Image<Out>>;
  const auto* operation = engine.family.Find<Interface>("ColorConversion", {In::ClassID, Out::ClassID});
  if (operation == nullptr) {
    throw NoMemberError("no member of the family offers ColorConversion for these pictures" +
                        engine.family.ForcedNote() +
                        "; without --matrix, --range, --chroma and --resample \"Copy\" converts them");
  }
  const Colours colours = ColoursFor(source, engine);
  const auto from = ToImageOfWidth<In>(source.width, source);
  kv_img::ImageOptions options;
  if (IsPacked(kindOf<Out>)) options.layout = layout;
  Image<Out> to(source.width, source.height, options);
  engine.Run("ColorConversion", *operation, *from, to, colours.parameters);
  Raster result = ToRaster(to, source);
  result.matrix = colours.matrix;
  result.range = IsBitmap(result.kind) ? ColourRange::Unknown : colours.range;
  return result;
}

Raster ToRgb(const Raster& source, RasterKind kind, const Engine& engine) {
  using kv_img::PixelYUV422;
  if (kind == RasterKind::Dib15 || kind == RasterKind::Dib16) {
    return BitmapOfBitmap(ToRgb(source, RasterKind::Dib24, engine), kind);
  }
  if (kind == RasterKind::Dib32 && source.kind == RasterKind::Yuva422) {
    return Cross<kv_img::PixelYUVA422, kv_img::PixelDIB32>(source, 0, engine);
  }
  const Raster packed = ConvertByCopy(source, RasterKind::Yuv422,
                                      IsPacked(source.kind) ? source.layout : LayoutLumaFirst, engine);
  return kind == RasterKind::Dib24 ? Cross<PixelYUV422, kv_img::PixelDIB24>(packed, 0, engine)
                                   : Cross<PixelYUV422, kv_img::PixelDIB32>(packed, 0, engine);
}

Raster ToYuv(const Raster& source, RasterKind kind, int layout, const Engine& engine) {
  if (kind == RasterKind::Yuv422Planar) {
    return ConvertByCopy(ToYuv(source, RasterKind::Yuv422, LayoutLumaFirst, engine), kind, 0, engine);
  }
  if (kind == RasterKind::Yuva422) {
    return Cross<kv_img::PixelDIB32, kv_img::PixelYUVA422>(ConvertBitmap(source, RasterKind::Dib32, engine),
                                                           layout, engine);
  }
  if (source.kind == RasterKind::Dib32) {
    return Cross<kv_img::PixelDIB32, kv_img::PixelYUV422>(source, layout, engine);
  }
  return Cross<kv_img::PixelDIB24, kv_img::PixelYUV422>(ConvertBitmap(source, RasterKind::Dib24, engine),
                                                        layout, engine);
}

/// The picture; RGB takes the matrix of the 4:2:2 picture that it will meet.
Raster WithMatrixOf(const Raster& picture, const Raster& other, const Engine& engine) {
  Raster result = picture;
  const bool otherIsVideo = !IsBitmap(other.kind) && other.kind != RasterKind::Grey8;
  if (IsBitmap(picture.kind) && otherIsVideo) result.matrix = MatrixOf(other, engine.colours);
  return result;
}

}  // namespace

ColourMatrix MatrixOf(const Raster& picture, const ColourOptions& options) {
  if (!options.IsGiven()) return ColourMatrix::Unknown;
  if (options.matrix) return *options.matrix;
  if (picture.matrix != ColourMatrix::Unknown) return picture.matrix;
  constexpr int mostRowsOfStandardDefinition = 576;
  return picture.height <= mostRowsOfStandardDefinition ? ColourMatrix::Bt601 : ColourMatrix::Bt709;
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
  if (!engine.colours.IsGiven() || (!IsBitmap(source.kind) && !IsBitmap(kind))) {
    return ConvertByCopy(source, kind, layout, engine);
  }
  if (!IsBitmap(source.kind)) return ToRgb(source, kind, engine);
  return IsBitmap(kind) ? ConvertBitmap(source, kind, engine) : ToYuv(source, kind, layout, engine);
}

bool IsFullRange(const Raster& picture, const ColourOptions& options) {
  if (picture.kind == RasterKind::Grey8) return true;
  const ColourRange own = IsBitmap(picture.kind) ? ColourRange::Limited : picture.range;
  return options.range.value_or(own) == ColourRange::Full;
}

Raster ConvertBeside(const Raster& picture, const Raster& other, int layout, const Engine& engine) {
  if (IsFullRange(picture, engine.colours) == IsFullRange(other, engine.colours)) {
    return Convert(WithMatrixOf(picture, other, engine), RasterKind::Yuv422, layout, engine);
  }
  const Raster& full = IsFullRange(picture, engine.colours) ? picture : other;
  if (full.kind != RasterKind::Grey8) {
    throw UsageError(
        "one picture is full-range 4:2:2, the other is not; convert the range of one first, as in "
        "ffmpeg -i full.y4m -vf scale=in_range=full:out_range=limited -pix_fmt yuv422p limited.y4m");
  }
  if (picture.kind != RasterKind::Grey8) return Convert(picture, RasterKind::Yuv422, layout, engine);
  return Convert(BitmapOfGrey(picture, RasterKind::Dib24), RasterKind::Yuv422, layout, engine);
}

Raster LumaBeside(const Raster& picture, const Raster& other, RasterKind kind, const Engine& engine) {
  const bool becomesGrey =
      IsBitmap(picture.kind) && !IsBitmap(other.kind) && IsFullRange(other, engine.colours);
  if (!becomesGrey) return Convert(WithMatrixOf(picture, other, engine), kind, LayoutLumaFirst, engine);
  return Convert(Convert(picture, RasterKind::Grey8, 0, engine), kind, LayoutLumaFirst, engine);
}

}  // namespace kv_host
