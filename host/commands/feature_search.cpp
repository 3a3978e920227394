#include "host/commands/feature_search.h"

#include <algorithm>
#include <cmath>

#include "frame/interfaces/feature_find.h"
#include "host/conversion.h"
#include "host/raster_image.h"

namespace kv_host {
namespace {

template <class ImageType>
using FeatureFind = kv_img::FeatureFindAlgorithmInterface<ImageType>;

template <class ImageType>
Match SearchWhole(const FeatureFind<ImageType>& operation, const ImageType& first, const ImageType& second,
                  const FeatureSearch& request) {
  kv_std::SpinBarrier barrier(1);
  kv_img::MatchScoreMap scores;
  int found[2] = {0, 0};
  operation.LocateFeature(first, second, request.at.data(), request.around.data(), found, request.half[0],
                          request.half[1], request.range[0], request.range[1], &scores, barrier, 0);
  Match match{static_cast<double>(found[0]), static_cast<double>(found[1]), kv_img::unscored, {}};
  const kv_img::ImageRect& rect = scores.Rect();
  match.surface = {static_cast<double>(rect.GetLeft()),
                   static_cast<double>(rect.GetTop()),
                   1,
                   1,
                   rect.GetWidth(),
                   {scores.Scores().begin(), scores.Scores().end()}};
  if (!match.surface.scores.empty()) match.score = std::ranges::min(match.surface.scores);
  return match;
}

template <class ImageType>
Match SearchFine(const FeatureFind<ImageType>& operation, const ImageType& first, const ImageType& second,
                 const FeatureSearch& request) {
  kv_std::SpinBarrier barrier(1);
  kv_img::SubPixelScoreMap scores;
  const double step = *request.subpixel;
  const double from[2] = {static_cast<double>(request.at[0]), static_cast<double>(request.at[1])};
  const double centre[2] = {static_cast<double>(request.around[0]), static_cast<double>(request.around[1])};
  double found[2] = {0, 0};
  operation.LocateFeatureSubPixel(first, second, from, centre, found, request.half[0], request.half[1],
                                  request.range[0], request.range[1], step, step, request.levels, &scores,
                                  barrier, 0);
  Match match{found[0], found[1], kv_img::unscored, {}};
  const kv_img::DoubleRect& rect = scores.Rect();
  match.surface = {rect.GetLeft(),
                   rect.GetTop(),
                   scores.StepX(),
                   scores.StepY(),
                   static_cast<std::size_t>(scores.Columns()),
                   {scores.Scores().begin(), scores.Scores().end()}};
  if (match.surface.scores.empty() || std::ranges::min(match.surface.scores) == kv_img::unscored)
    return match;

  // The map holds the first level; the score of the refined position comes from a search of that position
  // alone.
  const double finest = std::ldexp(step, -std::max(request.levels - 1, 0));
  const double offset[2] = {from[0] - std::max(request.at[0] - request.half[0], 0),
                            from[1] - std::max(request.at[1] - request.half[1], 0)};
  const double place[2] = {found[0] - offset[0] + request.half[0], found[1] - offset[1] + request.half[1]};
  kv_img::SubPixelScoreMap one;
  double again[2] = {0, 0};
  operation.RefineFeature(first, second, from, place, again, request.half[0], request.half[1], 0, 0, finest,
                          finest, 0, 1, &one, barrier, 0);
  match.score =
      one.Scores().empty() ? std::ranges::min(match.surface.scores) : std::ranges::min(one.Scores());
  return match;
}

template <class PixelClass>
std::optional<Match> SearchAs(const Raster& first, const Raster& second, const FeatureSearch& request,
                              const Engine& with) {
  using ImageType = kv_img::Image<PixelClass>;
  const auto& operation = with.family.Require<FeatureFind<ImageType>>("FeatureFind", {PixelClass::ClassID});
  // The pictures' own widths: no match may include columns of padding.
  const Raster a = LumaBeside(first, second, kindOf<PixelClass>, with);
  const Raster b = LumaBeside(second, first, kindOf<PixelClass>, with);
  const auto from = ToImageOfWidth<PixelClass>(a.width, a);
  const auto in = ToImageOfWidth<PixelClass>(b.width, b);
  Match match;
  with.Time("FeatureFind", [&] {
    match = request.subpixel ? SearchFine(operation, *from, *in, request)
                             : SearchWhole(operation, *from, *in, request);
  });
  if (match.score == kv_img::unscored) return std::nullopt;
  return match;
}

}  // namespace

std::optional<Match> Search(const Raster& first, const Raster& second, const FeatureSearch& request,
                            const Engine& with) {
  switch (first.kind) {
    case RasterKind::Dib32:
      return SearchAs<kv_img::PixelDIB32>(first, second, request, with);
    case RasterKind::Dib15:
    case RasterKind::Dib16:
    case RasterKind::Dib24:
      return SearchAs<kv_img::PixelDIB24>(first, second, request, with);
    default:
      return SearchAs<kv_img::PixelYUV422>(first, second, request, with);
  }
}

}  // namespace kv_host
