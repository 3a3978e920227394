#include <algorithm>
#include <cmath>
#include <cstdio>
#include <memory>

#include "frame/interfaces/feature_find.h"
#include "host/annotate.h"
#include "host/commands/command.h"
#include "host/commands/feature_search.h"
#include "host/errors.h"
#include "host/formats/byte_sink.h"
#include "host/formats/format_error.h"
#include "host/frames.h"
#include "host/text_stream.h"

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
  std::optional<int> levels;
  std::string map;
  std::string annotate;
  std::int64_t frame = 0;
  InputOptions input;
  EngineOptions engine;

  void Run() const;

 private:
  FeatureSearch Parse() const;
  void RequireFiles() const;
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
  if (!isIn(request.around, -most)) throw UsageError("--around: " + around + " is too far away");
  if (subpixel && !(*subpixel > 0 && *subpixel <= 1)) {
    throw UsageError("--subpixel: the step must be above 0 and at most 1 pixel");
  }
  request.subpixel = subpixel;
  request.levels = levels.value_or(1);
  return request;
}

/// Standard output is for the answer.
void FindOptions::RequireFiles() const {
  for (const auto& [option, file] : {std::pair{"--map", map}, std::pair{"--annotate", annotate}}) {
    if (file == "-")
      throw UsageError(std::string(option) + ": - is no file; the answer goes to standard output");
  }
  if (!map.empty() && !map.ends_with(".csv") && !FormatOfExtension(map)) {
    throw UsageError("--map: " + map + ": the extension is not known; there are csv, " + FormatNames());
  }
  if (!subpixel && levels) throw UsageError("--levels is for --subpixel, which is not given");
}

std::string MapText(const Surface& surface) {
  TextStream text;
  text << "x,y,score\n";
  for (std::size_t i = 0; i < surface.scores.size(); ++i) {
    if (surface.scores[i] == kv_img::unscored) continue;
    text << surface.left + static_cast<double>(i % surface.columns) * surface.stepX << ','
         << surface.top + static_cast<double>(i / surface.columns) * surface.stepY << ',' << surface.scores[i]
         << '\n';
  }
  return text.str();
}

Raster MapPicture(const Surface& surface) {
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
  return picture;
}

/// Both pictures, with the feature and the match framed.
Raster Annotated(const Raster& first, const Raster& second, const FeatureSearch& request, const Match& match,
                 const Engine& with) {
  Raster left = Convert(first, RasterKind::Dib24, 0, with);
  Raster right = Convert(second, RasterKind::Dib24, 0, with);
  const auto around = [&](int x, int y) {
    return kv_img::ImageRect(x - request.half[0], y - request.half[1], x + request.half[0],
                             y + request.half[1]);
  };
  DrawFrame(left, around(request.at[0], request.at[1]));
  DrawFrame(right, around(static_cast<int>(std::lround(match.x)), static_cast<int>(std::lround(match.y))));
  return SideBySide(left, right);
}

void FindOptions::Run() const {
  const FeatureSearch request = Parse();
  RequireFiles();
  const OwnedEngine owned(engine);
  const Engine with = owned.Get();
  ReadOptions read = input.Get();
  read.frames = {frame, 1};
  PictureReader searched(searchImage, read);
  CompanionInput templates(templateImage, input.Get(), searched);
  input.RequireUse({&searched, &templates.Reader()});
  const Raster second = *searched.Next();
  const Raster& first = templates.FrameBeside(frame);
  if (request.at[0] < 0 || request.at[1] < 0 || request.at[0] >= first.width ||
      request.at[1] >= first.height) {
    throw UsageError("--at: " + at + " is outside " + templateImage + ", which is " +
                     std::to_string(first.width) + "x" + std::to_string(first.height));
  }
  // Opened before the search, which may take a while.
  std::optional<ByteSink> table;
  std::optional<PictureWriter> surface;
  std::optional<PictureWriter> annotated;
  if (map.ends_with(".csv")) {
    table.emplace(map);
  } else if (!map.empty()) {
    surface.emplace(map);
  }
  if (!annotate.empty()) annotated.emplace(annotate);
  const std::optional<Match> match = Search(first, second, request, with);
  Session& session = *engine.session;
  if (!match) {
    session.failure = {NothingFound, "notFound",
                       "no position within --range of --around is inside " + searchImage};
    return;
  }
  if (table) table->Write(MapText(match->surface));
  if (surface) WriteConverted(*surface, MapPicture(match->surface), with);
  if (annotated) WriteConverted(*annotated, Annotated(first, second, request, *match, with), with);
  owned.RequireUseOfColours();
  session.result = JsonText::Object();
  session.result->Add("x", match->x).Add("y", match->y).Add("score", match->score);
  session.result->Add("at", request.at).Add("half", request.half);
  session.result->Add("member", with.family.AnsweredBy("FeatureFind"));
  TextStream text;
  text << "found at " << match->x << ',' << match->y << " with a mean difference of " << match->score << '\n';
  session.answer = text.str();
  for (const std::string& file : {map, annotate}) {
    if (!file.empty()) session.files.push_back(file);
  }
  session.PrepareReport();
  if (table) table->Commit();
  if (surface) surface->Commit();
  if (annotated) annotated->Commit();
}

}  // namespace

void AddFindCommand(CLI::App& app, Session& session) {
  auto options = std::make_shared<FindOptions>();
  CLI::App* command =
      app.add_subcommand("find", "Find a small part of one picture in another; fields are not taken apart");
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
  options->input.AddTo(*command, session);
  command
      ->add_option("--frame", options->frame,
                   "frame of SEARCH, and of TEMPLATE if it has several, from 0 (default: 0)")
      ->check(CLI::Range(0, 1'000'000'000))
      ->type_name("NUMBER");
  // --range is how far it searches.
  options->engine.AddTo(*command, session, "--colour-range");
  command->footer("Example: kv find a.png b.png --at 120,80 --half 16x16 --range 32x32 --annotate found.png");
  command->callback([options] { options->Run(); });
}

}  // namespace kv_host
