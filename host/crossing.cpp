#include "host/crossing.h"

#include "frame/interfaces/color_conversion.h"
#include "host/errors.h"
#include "host/raster_image.h"

namespace kv_host {
namespace {

using kv_img::Image;

std::string_view NameOf(ColourMatrix matrix) {
  return matrix == ColourMatrix::Bt709 ? "709" : matrix == ColourMatrix::Bt2020 ? "2020" : "601";
}

std::string_view NameOf(Transfer transfer) {
  return transfer == Transfer::Pq ? "pq" : transfer == Transfer::Hlg ? "hlg" : "";
}

constexpr kv_img::ColorMatrix ParameterOf(ColourMatrix matrix) {
  return matrix == ColourMatrix::Bt709    ? kv_img::ColorMatrix::Bt709
         : matrix == ColourMatrix::Bt2020 ? kv_img::ColorMatrix::Bt2020
                                          : kv_img::ColorMatrix::Bt601;
}

/// The colours of a crossing's 4:2:2 side.
struct Colours {
  ColourMatrix matrix;
  ColourRange range;
  ChromaSite chroma;
  Resampling resample;

  Colours(const VideoSide& side, const ColourOptions& options)
      : matrix(MatrixOf(side, options)),
        range(RangeOf(side, options)),
        chroma(options.chroma.value_or(side.chroma == ChromaSite::Unknown ? ChromaSite::Left : side.chroma)),
        resample(options.resample.value_or(Resampling::Linear)) {}

  kv_img::ColorConversionParameters Parameters() const {
    using namespace kv_img;
    return {
        .yuv = {.matrix = ParameterOf(matrix),
                .range = range == ColourRange::Full ? ColorRange::Full : ColorRange::Limited,
                .chroma = chroma == ChromaSite::Left ? ChromaPosition::Left : ChromaPosition::Centre},
        .destination = {},
        .resample = resample == Resampling::Linear ? ChromaResampling::Linear : ChromaResampling::Nearest};
  }
};

/// Why each colour is what it is.
Crossing Describe(std::string_view to, const Colours& colours, const VideoSide& side,
                  const ColourOptions& options, Transfer transfer) {
  const auto from = [](bool isOption, bool isDeclared, std::string_view otherwise) {
    return isOption ? "option" : isDeclared ? "source" : otherwise;
  };
  return {.to = to,
          .matrix = {NameOf(colours.matrix),
                     from(options.matrix.has_value(), side.matrix != ColourMatrix::Unknown, "height")},
          .range = {colours.range == ColourRange::Full ? "full" : "limited",
                    from(options.range.has_value(), side.range != ColourRange::Unknown, "default")},
          .chroma = {colours.chroma == ChromaSite::Left ? "left" : "centre",
                     from(options.chroma.has_value(), side.chroma != ChromaSite::Unknown, "default")},
          .resample = {colours.resample == Resampling::Linear ? "linear" : "nearest",
                       from(options.resample.has_value(), false, "default")},
          .transfer = NameOf(transfer)};
}

/// One "ColorConversion". Its images have the picture's own width: every pixel of any width is written.
template <class In, class Out>
Raster Cross(const Raster& source, int layout, const VideoSide& side, const Engine& engine) {
  using Interface = kv_img::ColorConversionAlgorithmInterface<Image<In>, Image<Out>>;
  const auto* operation = engine.family.Find<Interface>("ColorConversion", {In::ClassID, Out::ClassID});
  if (operation == nullptr) {
    throw NoMemberError("no member of the family offers ColorConversion for these pictures" +
                        engine.family.ForcedNote() +
                        "; --exact-copy converts by \"Copy\", the rule of standard definition");
  }
  const bool toVideo = IsVideo(kindOf<Out>);
  const Colours colours(side, engine.colours);
  if (engine.log != nullptr) {
    const std::string_view to = toVideo ? "yuv" : kindOf<Out> == RasterKind::Grey8 ? "grey" : "rgb";
    engine.log->Add(Describe(to, colours, side, engine.colours, source.transfer));
  }
  const auto from = ToImageOfWidth<In>(source.width, source);
  kv_img::ImageOptions options;
  if (toVideo) options.layout = layout;
  Image<Out> to(source.width, source.height, options);
  engine.Run("ColorConversion", *operation, *from, to, colours.Parameters());
  Raster result = ToRaster(to, source);
  result.matrix = colours.matrix;
  result.range = toVideo                            ? colours.range
                 : kindOf<Out> == RasterKind::Grey8 ? ColourRange::Full
                                                    : ColourRange::Unknown;
  result.chroma = toVideo ? colours.chroma : ChromaSite::Unknown;
  return result;
}

}  // namespace

VideoSide SideOf(const Raster& picture) {
  if (!IsVideo(picture.kind)) return {.matrix = picture.matrix, .height = picture.height};
  return {picture.matrix, picture.range, picture.chroma, picture.height};
}

ColourMatrix MatrixOf(const VideoSide& side, const ColourOptions& options) {
  if (options.matrix) return *options.matrix;
  if (side.matrix != ColourMatrix::Unknown) return side.matrix;
  constexpr int mostRowsOfStandardDefinition = 576;
  return side.height <= mostRowsOfStandardDefinition ? ColourMatrix::Bt601 : ColourMatrix::Bt709;
}

ColourRange RangeOf(const VideoSide& side, const ColourOptions& options) {
  return options.range.value_or(side.range == ColourRange::Full ? ColourRange::Full : ColourRange::Limited);
}

Raster CrossFromVideo(const Raster& source, RasterKind kind, const Engine& engine) {
  using namespace kv_img;
  const VideoSide side = SideOf(source);
  if (source.kind == RasterKind::Yuva422) return Cross<PixelYUVA422, PixelDIB32>(source, 0, side, engine);
  if (kind == RasterKind::Dib24) return Cross<PixelYUV422, PixelDIB24>(source, 0, side, engine);
  if (kind == RasterKind::Dib32) return Cross<PixelYUV422, PixelDIB32>(source, 0, side, engine);
  return Cross<PixelYUV422, PixelNoColor<unsigned char>>(source, 0, side, engine);
}

Raster CrossToVideo(const Raster& source, RasterKind kind, int layout, const VideoSide& side,
                    const Engine& engine) {
  using namespace kv_img;
  if (kind == RasterKind::Yuva422) return Cross<PixelDIB32, PixelYUVA422>(source, layout, side, engine);
  if (source.kind == RasterKind::Dib24) return Cross<PixelDIB24, PixelYUV422>(source, layout, side, engine);
  if (source.kind == RasterKind::Dib32) return Cross<PixelDIB32, PixelYUV422>(source, layout, side, engine);
  return Cross<PixelNoColor<unsigned char>, PixelYUV422>(source, layout, side, engine);
}

}  // namespace kv_host
