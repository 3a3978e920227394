#include <algorithm>
#include <cmath>
#include <cstdio>
#include <memory>
#include <nlohmann/json.hpp>
#include <sstream>

#include "frame/interfaces/feature_find.h"
#include "host/annotate.h"
#include "host/commands/command.h"
#include "host/errors.h"
#include "host/formats/byte_sink.h"
#include "host/formats/format_error.h"
#include "host/frames.h"
#include "host/raster_image.h"

namespace kv_host {
namespace {

/// A score map of either search, as a table of positions.
struct Surface {
  double left = 0;
  double top = 0;
  double stepX = 1;
  double stepY = 1;
  std::size_t columns = 0;
  std::vector<double> scores;

  std::size_t Rows() const { return columns == 0 ? 0 : scores.size() / columns; }
};

struct Match {
  double x = 0;
  double y = 0;
  double score = 0;
  Surface surface;
};

struct FindOptions {
  std::string templateImage;
  std::string searchImage;
  std::string at;
  std::string half;
  std::string range;
  std::string around;
  std::optional<double> subpixel;
  int levels = 1;
  std::string map;
  std::string annotate;
  std::int64_t frame = 0;
  InputOptions input;
  EngineOptions engine;

  int Run() const;

 private:
  struct Request {
    std::vector<int> at;
    std::vector<int> half;
    std::vector<int> range;
    std::vector<int> around;
  };

  Request Parse() const;
  template <class PixelClass>
  std::optional<Match> Search(const Raster& first, const Raster& second, const Request& request,
                              const Engine& with) const;
  template <class ImageType>
  Match SearchWhole(const kv_img::FeatureFindAlgorithmInterface<ImageType>& operation, const ImageType& first,
                    const ImageType& second, const Request& request) const;
  template <class ImageType>
  Match SearchFine(const kv_img::FeatureFindAlgorithmInterface<ImageType>& operation, const ImageType& first,
                   const ImageType& second, const Request& request) const;
  void WriteMap(const Surface& surface, const Engine& with) const;
  void WriteAnnotated(const Raster& first, const Raster& second, const Request& request, const Match& match,
                      const Engine& with) const;
};

FindOptions::Request FindOptions::Parse() const {
  Request request;
  request.at = ParseNumbers(at, ',', 2, "--at", "120,80 (x,y)");
  request.half = ParseNumbers(half, 'x', 2, "--half", "16x16");
  request.range = ParseNumbers(range, 'x', 2, "--range", "32x32");
  request.around = around.empty() ? request.at : ParseNumbers(around, ',', 2, "--around", "130,84 (x,y)");
  constexpr int most = kv_img::maxImageSide;
  const auto isIn = [&](const std::vector<int>& numbers, int low) {
    return std::ranges::all_of(numbers, [&](int n) { return n >= low && n <= most; });
  };
  if (!isIn(request.half, 0))
    throw UsageError("--half: " + half + " does not fit; half-sizes are 0 or more pixels");
  if (!isIn(request.range, 0))
    throw UsageError("--range: " + range + " does not fit; ranges are 0 or more pixels");
  if (!isIn(request.around, -most)) throw UsageError("--around: " + around + " lies too far away");
  return request;
}

template <class ImageType>
Match FindOptions::SearchWhole(const kv_img::FeatureFindAlgorithmInterface<ImageType>& operation,
                               const ImageType& first, const ImageType& second,
                               const Request& request) const {
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
Match FindOptions::SearchFine(const kv_img::FeatureFindAlgorithmInterface<ImageType>& operation,
                              const ImageType& first, const ImageType& second, const Request& request) const {
  kv_std::SpinBarrier barrier(1);
  kv_img::SubPixelScoreMap scores;
  const double from[2] = {static_cast<double>(request.at[0]), static_cast<double>(request.at[1])};
  const double centre[2] = {static_cast<double>(request.around[0]), static_cast<double>(request.around[1])};
  double found[2] = {0, 0};
  operation.LocateFeatureSubPixel(first, second, from, centre, found, request.half[0], request.half[1],
                                  request.range[0], request.range[1], *subpixel, *subpixel, levels, &scores,
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
  const double finest = std::ldexp(*subpixel, -std::max(levels - 1, 0));
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
std::optional<Match> FindOptions::Search(const Raster& first, const Raster& second, const Request& request,
                                         const Engine& with) const {
  using ImageType = kv_img::Image<PixelClass>;
  const auto& operation = with.family.Require<kv_img::FeatureFindAlgorithmInterface<ImageType>>(
      "FeatureFind", {PixelClass::ClassID});
  // The pictures' own widths: a match must not lie in columns that are not there.
  const Raster a = Convert(first, kindOf<PixelClass>, LayoutLumaFirst, with);
  const Raster b = Convert(second, kindOf<PixelClass>, LayoutLumaFirst, with);
  const auto from = ToImageOfWidth<PixelClass>(a.width, a);
  const auto in = ToImageOfWidth<PixelClass>(b.width, b);
  Match match;
  with.Time("FeatureFind", [&] {
    match =
        subpixel ? SearchFine(operation, *from, *in, request) : SearchWhole(operation, *from, *in, request);
  });
  if (match.score == kv_img::unscored) return std::nullopt;
  return match;
}

void FindOptions::WriteMap(const Surface& surface, const Engine& with) const {
  const auto position = [&](std::size_t index) {
    return std::pair{surface.left + static_cast<double>(index % surface.columns) * surface.stepX,
                     surface.top + static_cast<double>(index / surface.columns) * surface.stepY};
  };
  if (map.ends_with(".csv")) {
    std::ostringstream text;
    text << "x,y,score\n";
    for (std::size_t i = 0; i < surface.scores.size(); ++i) {
      if (surface.scores[i] == kv_img::unscored) continue;
      const auto [x, y] = position(i);
      text << x << ',' << y << ',' << surface.scores[i] << '\n';
    }
    ByteSink sink(map);
    sink.Write(text.str());
    sink.Commit();
    return;
  }
  double best = kv_img::unscored;
  double worst = 0;
  for (const double score : surface.scores) {
    if (score == kv_img::unscored) continue;
    best = std::min(best, score);
    worst = std::max(worst, score);
  }
  Raster picture =
      MakeRaster(RasterKind::Grey8, static_cast<int>(surface.columns), static_cast<int>(surface.Rows()));
  const double scale = worst > best ? 255 / (worst - best) : 0;
  std::ranges::transform(surface.scores, picture.planes[0].bytes.begin(), [&](double score) {
    return score == kv_img::unscored ? std::uint8_t{255}
                                     : static_cast<std::uint8_t>((score - best) * scale + 0.5);
  });
  PictureWriter writer(map);
  WriteConverted(writer, picture, with);
  writer.Commit();
}

void FindOptions::WriteAnnotated(const Raster& first, const Raster& second, const Request& request,
                                 const Match& match, const Engine& with) const {
  Raster left = Convert(first, RasterKind::Dib24, 0, with);
  Raster right = Convert(second, RasterKind::Dib24, 0, with);
  const auto around = [&](int x, int y) {
    return kv_img::ImageRect(x - request.half[0], y - request.half[1], x + request.half[0],
                             y + request.half[1]);
  };
  DrawFrame(left, around(request.at[0], request.at[1]));
  DrawFrame(right, around(static_cast<int>(std::lround(match.x)), static_cast<int>(std::lround(match.y))));
  PictureWriter writer(annotate);
  WriteConverted(writer, SideBySide(left, right), with);
  writer.Commit();
}

int FindOptions::Run() const {
  const Request request = Parse();
  if (subpixel && !(*subpixel > 0 && *subpixel <= 1)) {
    throw UsageError("--subpixel: the step must be above 0 and at most 1 pixel");
  }
  const OwnedEngine owned(engine);
  const Engine with = owned.Get();
  ReadOptions read = input.Get();
  read.frames.first = frame;
  PictureReader searched(searchImage, read);
  CompanionInput templates(templateImage, input.Get());
  const Raster second = *searched.Next();
  const Raster& first = templates.FrameBeside(frame);
  if (request.at[0] < 0 || request.at[1] < 0 || request.at[0] >= first.width ||
      request.at[1] >= first.height) {
    throw UsageError("--at: " + at + " lies outside " + templateImage + ", which is " +
                     std::to_string(first.width) + "x" + std::to_string(first.height));
  }
  std::optional<Match> match;
  switch (first.kind) {
    case RasterKind::Dib32:
      match = Search<kv_img::PixelDIB32>(first, second, request, with);
      break;
    case RasterKind::Dib15:
    case RasterKind::Dib16:
    case RasterKind::Dib24:
      match = Search<kv_img::PixelDIB24>(first, second, request, with);
      break;
    default:
      match = Search<kv_img::PixelYUV422>(first, second, request, with);
  }
  if (!match) {
    std::fprintf(stderr, "kv: no position within --range of --around lies inside %s\n", searchImage.c_str());
    return NothingFound;
  }
  if (!map.empty()) WriteMap(match->surface, with);
  if (!annotate.empty()) WriteAnnotated(first, second, request, *match, with);
  for (const std::string& file : {map, annotate}) {
    if (!file.empty()) engine.session->files.push_back(file);
  }
  if (engine.json) {
    const nlohmann::ordered_json result = {
        {"x", match->x},    {"y", match->y},        {"score", match->score},
        {"at", request.at}, {"half", request.half}, {"member", with.family.AnsweredBy("FeatureFind")}};
    engine.session->Answer(result.dump(2) + "\n");
  } else {
    std::ostringstream text;
    text << "found at " << match->x << ',' << match->y << " with a mean difference of " << match->score
         << '\n';
    engine.session->Answer(text.str());
  }
  return Done;
}

}  // namespace

void AddFindCommand(CLI::App& app, Session& session) {
  auto options = std::make_shared<FindOptions>();
  CLI::App* command = app.add_subcommand("find", "Find a small part of one picture in another");
  command->add_option("TEMPLATE", options->templateImage, "picture that holds the feature")->required();
  command->add_option("SEARCH", options->searchImage, "picture to search")->required();
  command->add_option("--at", options->at, "the feature's place in TEMPLATE")->required()->type_name("X,Y");
  command->add_option("--half", options->half, "half-sizes of the part that is compared")
      ->required()
      ->type_name("WxH");
  command->add_option("--range", options->range, "how far to search from the centre")
      ->required()
      ->type_name("RxR");
  command->add_option("--around", options->around, "centre of the search in SEARCH (default: --at)")
      ->type_name("X,Y");
  command->add_option("--subpixel", options->subpixel, "search in steps of a part of a pixel, such as 0.5")
      ->type_name("STEP");
  command->add_option("--levels", options->levels, "levels of the sub-pixel search, each of half the step")
      ->check(CLI::Range(1, 16))
      ->type_name("L");
  command
      ->add_option("--map", options->map,
                   "write the score of every position: a picture (dark is good) or a .csv")
      ->type_name("FILE");
  command
      ->add_option("--annotate", options->annotate,
                   "write both pictures with the feature and the match framed")
      ->type_name("FILE");
  options->input.AddTo(*command);
  command
      ->add_option("--frame", options->frame,
                   "frame of SEARCH, and of TEMPLATE if it has several, from 0 (default: 0)")
      ->check(CLI::Range(0, 1'000'000'000))
      ->type_name("NUMBER");
  options->engine.AddTo(*command, session, "answer as JSON");
  command->footer("Example: kv find a.png b.png --at 120,80 --half 16x16 --range 32x32 --annotate found.png");
  command->callback([options, &session] { session.status = options->Run(); });
}

}  // namespace kv_host
