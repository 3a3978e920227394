#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <memory>
#include <utility>

#include "host/commands/command.h"
#include "host/commands/template_update.h"
#include "host/errors.h"
#include "host/fields.h"
#include "host/frames.h"
#include "host/raster_image.h"
#include "host/track_pictures.h"
#include "run/tracker.h"

namespace kv_host {
namespace {

using kv_run::TrackedLines;
using kv_run::TrackedPoint;
using Tracker = kv_run::Tracker<kv_img::PixelYUV422>;

/// One point on its way.
struct Follower {
  std::vector<int> at;
  Tracker tracker;
  Path path = {};
  TrackedPoint point = {};
  double milliseconds = 0;
  std::int64_t lost = 0;  ///< In how many frames.
  std::int64_t firstLost = 0;
};

struct TrackCommand {
  std::string clip;
  std::vector<std::string> at;
  std::string half = "16x16";
  std::string range = "16x16";
  std::vector<std::string> update;
  std::optional<double> maxScore;
  int levels = 3;
  std::string annotate;
  std::string stabilise;
  InputOptions input;
  EngineOptions engine;

  void Run();

 private:
  kv_run::TrackOptions Parse();
  std::vector<Follower> Followers(const Raster& first, const kv_run::TrackOptions& options) const;
  void Report(const std::vector<Follower>& followers, std::int64_t frame) const;
  void Judge(const std::vector<Follower>& followers, std::int64_t frames) const;
};

kv_run::TrackOptions TrackCommand::Parse() {
  kv_run::TrackOptions options;
  // Of two words the second one is on-score's number, otherwise the clip.
  if (update.size() == 2 && update.front() != "on-score" && clip.empty()) {
    clip = update.back();
    update.pop_back();
  }
  options.update = ParseTemplateUpdate(update);
  if (clip.empty()) throw UsageError("CLIP is missing");
  const auto halves = ParseNumbers(half, 'x', 2, "--half", "16x16");
  const auto ranges = ParseNumbers(range, 'x', 2, "--range", "16x16");
  for (const int number : {halves[0], halves[1], ranges[0], ranges[1]}) {
    if (number < 0 || number > kv_img::maxImageSide) {
      throw UsageError("--half and --range are 0 or more pixels, and no more than a picture has");
    }
  }
  options.halfWidth = halves[0];
  options.halfHeight = halves[1];
  options.rangeX = ranges[0];
  options.rangeY = ranges[1];
  options.levels = levels;
  if (maxScore) options.maxScore = *maxScore;
  for (const auto& [option, file] :
       {std::pair{"--annotate", annotate}, std::pair{"--stabilise", stabilise}}) {
    if (file == "-")
      throw UsageError(std::string(option) + ": - is no file; the table goes to standard output");
  }
  return options;
}

/// Of a frame with fields the first one is searched.
TrackedLines LinesOf(const Raster& frame) {
  return HasFields(frame) ? TrackedLines::OfField(FirstParity(frame)) : TrackedLines{};
}

void RequireRoom(const Tracker& tracker, int width, int height) {
  const auto part = tracker.TemplateIn(width, height);
  if (part.width + Tracker::room <= width && part.height + Tracker::room <= height) return;
  throw UsageError("--half: a part of " + std::to_string(part.width) + "x" + std::to_string(part.height) +
                   " pixels is too large to be sought in " + std::to_string(width) + "x" +
                   std::to_string(height) + "; it has to be three smaller each way");
}

std::vector<Follower> TrackCommand::Followers(const Raster& first,
                                              const kv_run::TrackOptions& options) const {
  std::vector<Follower> followers;
  for (const std::string& text : at) {
    const auto point = ParseNumbers(text, ',', 2, "--at", "120,80 (x,y)");
    if (point[0] < 0 || point[1] < 0 || point[0] >= first.width || point[1] >= first.height) {
      throw UsageError("--at: " + text + " is outside " + clip + ", which is " + std::to_string(first.width) +
                       "x" + std::to_string(first.height));
    }
    const TrackedLines lines = LinesOf(first);
    const Tracker tracker(options, point[0], point[1], lines);
    RequireRoom(tracker, first.width, first.height / lines.step);
    followers.push_back({.at = point, .tracker = tracker});
  }
  return followers;
}

void Follow(std::vector<Follower>& followers, const Raster& packed, const Tracker::Search& search,
            const Engine& with) {
  const std::unique_ptr<const Tracker::Image> image = ToImageOfWidth<kv_img::PixelYUV422>(
      packed.width, HasFields(packed) ? TakeRows(packed, FieldRows(FirstParity(packed))) : packed);
  for (Follower& follower : followers) {
    using Clock = std::chrono::steady_clock;
    const auto begin = Clock::now();
    with.Time("FeatureFind", [&] { follower.point = follower.tracker.Next(search, *image); });
    follower.milliseconds = std::chrono::duration<double, std::milli>(Clock::now() - begin).count();
    follower.path.emplace_back(follower.point.x, follower.point.y);
    if (follower.path.size() > longestPath) follower.path.pop_front();
  }
}

void TrackCommand::Report(const std::vector<Follower>& followers, std::int64_t frame) const {
  Session& session = *engine.session;
  JsonText points = JsonText::Array();
  for (std::size_t id = 0; id < followers.size(); ++id) {
    const TrackedPoint& point = followers[id].point;
    const double milliseconds = followers[id].milliseconds;
    if (session.record) {
      points.Add(JsonText::Object()
                     .Add("id", id)
                     .Add("x", point.x)
                     .Add("y", point.y)
                     .Add("score", point.score)
                     .Add("lost", point.isLost)
                     .Add("milliseconds", milliseconds));
      continue;
    }
    if (session.json) continue;
    char row[200];
    char score[40] = "lost";
    if (!point.isLost) std::snprintf(score, sizeof score, "%.3f", point.score);
    std::snprintf(row, sizeof row, "%lld,%.3f,%.3f,%s,%.3f", static_cast<long long>(frame), point.x, point.y,
                  score, milliseconds);
    session.PrintLine(followers.size() == 1 ? row : std::to_string(id) + "," + row);
  }
  if (session.record) session.record->Add("points", points);
}

void TrackCommand::Judge(const std::vector<Follower>& followers, std::int64_t frames) const {
  Session& session = *engine.session;
  JsonText points = JsonText::Array();
  for (std::size_t id = 0; id < followers.size(); ++id) {
    const Follower& follower = followers[id];
    points.Add(JsonText::Object()
                   .Add("at", follower.at)
                   .Add("x", follower.point.x)
                   .Add("y", follower.point.y)
                   .Add("lost", follower.lost));
    if (follower.lost == 0 || session.failure) continue;
    session.failure = {NothingFound, "notFound",
                       clip + ": the point at " + at[id] + " was lost in " + std::to_string(follower.lost) +
                           " of " + std::to_string(frames) + " frames, first in frame " +
                           std::to_string(follower.firstLost)};
  }
  session.result = JsonText::Object();
  session.result->Add("frames", frames).Add("points", points);
}

void TrackCommand::Run() {
  const kv_run::TrackOptions options = Parse();
  const OwnedEngine owned(engine);
  const Engine with = owned.Get();
  PictureReader reader(clip, input.Get());
  input.RequireUse({&reader});
  const auto& search = with.family.Require<Tracker::Search>("FeatureFind", {kv_img::PixelYUV422::ClassID});
  Session& session = *engine.session;
  const WriteOptions write{.clip = ClipPart{reader.Range(), reader.Length()}, .threads = session.threads};
  std::optional<PictureWriter> paths;
  std::optional<PictureWriter> still;
  if (!annotate.empty()) paths.emplace(annotate, write);
  if (!stabilise.empty()) still.emplace(stabilise, write);
  std::vector<Follower> followers;
  Raster first;
  std::int64_t frames = 0;
  ForEachFrame(reader, session, [&](const Raster& frame, std::int64_t number) {
    const Raster packed = ConvertLuma(frame, RasterKind::Yuv422, LayoutLumaFirst, with);
    if (frames++ == 0) {
      first = MakeEmptyRaster(packed.kind, packed.width, packed.height, packed.layout);
      Describe(first, packed);
      followers = Followers(packed, options);
      if (!session.json) {
        session.PrintLine(followers.size() == 1 ? "frame,x,y,score,milliseconds"
                                                : "id,frame,x,y,score,milliseconds");
      }
    }
    RequireEqualSizes(first, clip, packed, clip + ", frame " + std::to_string(number));
    if (HasFields(packed) != HasFields(first) || FirstParity(packed) != FirstParity(first)) {
      throw UsageError(clip + ": frame " + std::to_string(number) + " has other fields than the first one");
    }
    Follow(followers, packed, search, with);
    for (Follower& follower : followers) {
      if (follower.point.isLost && follower.lost++ == 0) follower.firstLost = number;
    }
    Report(followers, number);
    if (paths) {
      Raster drawn = packed;
      for (const Follower& follower : followers) DrawPath(drawn, follower.path);
      WriteConverted(*paths, std::move(drawn), with);
    }
    if (still) {
      const Follower& follower = followers.front();
      const auto right = static_cast<int>(std::lround(follower.at[0] - follower.point.x));
      const double down = follower.at[1] - follower.point.y;
      // Lines stay in their field.
      const auto lines = static_cast<int>(HasFields(packed) ? 2 * std::lround(down / 2) : std::lround(down));
      WriteConverted(*still, Moved(packed, right, lines), with);
    }
  });
  Judge(followers, frames);
  for (auto* writer : {&paths, &still}) {
    if (*writer) owned.Finish(**writer);
  }
  owned.RequireUseOfColours();
  session.PrepareReport();
}

}  // namespace

void AddTrackCommand(CLI::App& app, Session& session) {
  auto options = std::make_shared<TrackCommand>();
  CLI::App* command = app.add_subcommand("track", "Follow points through a clip, to a part of a pixel");
  command->add_option("CLIP", options->clip, "video; - is standard input");
  command->add_option("--at", options->at, "a point of the first frame; again for more points")
      ->required()
      ->expected(1)
      ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll)
      ->type_name("X,Y");
  command->add_option("--half", options->half, "half-sizes of the part that is compared (default: 16x16)")
      ->type_name("WxH");
  command
      ->add_option("--range", options->range,
                   "how far to search from where the motion leads (default: 16x16)")
      ->type_name("WxH");
  command
      ->add_option(
          "--levels", options->levels,
          "levels of the search between pixels, of steps 1/2, 1/4, 1/8, ...; 0: whole pixels (default: 3)")
      ->check(CLI::Range(0, 8))
      ->type_name("L");
  command
      ->add_option(
          "--update", options->update,
          "when the compared part is taken anew, which drifts: never, always, after N frames, or on-score "
          "S, after a score above S (default: never)")
      ->expected(1, 2)
      ->type_name("RULE");
  command
      ->add_option("--max-score", options->maxScore,
                   "the point is lost when its mean difference is above this (default: never)")
      ->check(CLI::Range(0.0, 255.0))
      ->type_name("S");
  command->add_option("--annotate", options->annotate, "write the clip with the points' paths")
      ->type_name("FILE");
  command
      ->add_option("--stabilise", options->stabilise,
                   "write the clip moved so that the first point stays, by whole pixels")
      ->type_name("FILE");
  options->input.AddWithFramesTo(*command, session);
  // --range is how far it searches.
  options->engine.AddTo(*command, session, "--colour-range");
  command->footer("Example: kv track clip.y4m --at 120,80 --half 16x16 --range 24x24 --annotate path.y4m");
  command->callback([options] { options->Run(); });
}

}  // namespace kv_host
