#include <algorithm>
#include <cmath>
#include <cstdio>
#include <memory>
#include <nlohmann/json.hpp>
#include <sstream>

#include "frame/interfaces/feature_find.h"
#include "host/annotate.h"
#include "host/commands/command.h"
#include "host/commands/feature_search.h"
#include "host/errors.h"
#include "host/formats/byte_sink.h"
#include "host/formats/format_error.h"
#include "host/frames.h"

namespace kv_host {
namespace {

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
  FeatureSearch Parse() const;
  void WriteMap(const Surface& surface, const Engine& with) const;
  void WriteAnnotated(const Raster& first, const Raster& second, const FeatureSearch& request,
                      const Match& match, const Engine& with) const;
};

FeatureSearch FindOptions::Parse() const {
  FeatureSearch request;
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
  if (subpixel && !(*subpixel > 0 && *subpixel <= 1)) {
    throw UsageError("--subpixel: the step must be above 0 and at most 1 pixel");
  }
  request.subpixel = subpixel;
  request.levels = levels;
  return request;
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

void FindOptions::WriteAnnotated(const Raster& first, const Raster& second, const FeatureSearch& request,
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
  const FeatureSearch request = Parse();
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
  const std::optional<Match> match = Search(first, second, request, with);
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
