// diff and average: commands whose result is an 8-bit picture.

#include <memory>
#include <utility>

#include "frame/interfaces/absolute_difference.h"
#include "frame/interfaces/average.h"
#include "host/commands/command.h"
#include "host/commands/difference_table.h"
#include "host/errors.h"
#include "host/frames.h"
#include "host/raster_image.h"

namespace kv_host {
namespace {

using Frame422 = kv_img::Image<kv_img::PixelYUV422>;
using Grey = kv_img::Image<kv_img::PixelNoColor<unsigned char>>;
using GreyPixel = kv_img::PixelNoColor<unsigned char>;

struct TwoInputs {
  std::string a;
  std::string b;
  OutputOptions output;
  InputOptions input;
  EngineOptions engine;

  CLI::Option* AddTo(CLI::App& command, Session& session) {
    command.add_option("A", a, "first picture or video; - is standard input")->required();
    command
        .add_option("B", b,
                    "second one, of the same size and length; a single picture, A too, serves all frames")
        ->required();
    CLI::Option* const out =
        output.AddTo(command, session, "8-bit picture to write, such as out.pgm or out.png");
    input.AddClipsTo(command, session);
    engine.AddTo(command, session);
    return out;
  }

  /// Calls `work(a, b, number)` for each pair of frames, their luma as `kind`, and writes what it answers, if it goes
  /// anywhere.
  template <class Work>
  void ForEachPair(RasterKind kind, Work work) const {
    const OwnedEngine owned(engine);
    ClipSet clips({a, b}, input.GetClips());
    input.RequireUse(clips.Readers());
    std::optional<PictureWriter> writer;
    if (!output.name.empty()) writer.emplace(output.Open(clips.Part()));
    clips.ForEach(*engine.session, [&](const auto& frames, std::int64_t number) {
      const Raster& frame = *frames[0];
      const Raster& other = *frames[1];
      RequireEqualSizes(frame, a, other, b);
      const Engine with = owned.Get();
      Raster result =
          work(LumaBeside(frame, other, kind, with), LumaBeside(other, frame, kind, with), number, with);
      if (writer) WriteLuma(*writer, std::move(result), frame, with);
    });
    if (writer) return owned.Finish(*writer);
    owned.RequireUseOfColours();
    engine.session->PrepareReport();
  }
};

struct DifferenceOptions : TwoInputs {
  RegionOptions region;
  bool hasStats = false;
  int threshold = 0;
  std::optional<double> failAbove;

  void Run() const {
    if (output.name.empty() && !hasStats && !failAbove) {
      throw UsageError("OUT is missing: a picture to write, unless --stats or --fail-above is given");
    }
    DifferenceTable table(*engine.session, hasStats, failAbove);
    ForEachPair(RasterKind::Yuv422,
                [&](const Raster& first, const Raster& second, std::int64_t number, const Engine& with) {
                  const auto where = MakeRegion(region.text, first.width, first.height, TwoInputs::a);
                  if (hasStats || failAbove)
                    table.Add(number, StatsOf(first, second, where, threshold, with));
                  if (output.name.empty()) return Raster();
                  using Interface = kv_img::AbsoluteDifferenceAlgorithmInterface<Frame422, Grey>;
                  const auto& operation = with.family.Require<Interface>(
                      "AbsoluteDifference", {kv_img::PixelYUV422::ClassID, GreyPixel::ClassID});
                  const auto from = ToImage<kv_img::PixelYUV422>(first);
                  const auto against = ToImage<kv_img::PixelYUV422>(second);
                  const auto to = MakeWorkingImage<GreyPixel>(first.width, first.height);
                  with.Run("AbsoluteDifference", operation, *from, *against, *to, where);
                  return ToRaster(*to, first);
                });
    table.Judge(b);
  }
};

struct AverageOptions : TwoInputs {
  RegionOptions firstRegion;
  RegionOptions secondRegion;
  RegionOptions region;

  void Run() const {
    ForEachPair(
        RasterKind::Grey8, [&](const Raster& first, const Raster& second, std::int64_t, const Engine& with) {
          const auto& operation =
              with.family.Require<kv_img::AverageAlgorithmInterface<Grey>>("Average", {GreyPixel::ClassID});
          const auto ofFirst = MakeRegion(firstRegion.text, first.width, first.height, TwoInputs::a);
          const auto ofSecond = MakeRegion(secondRegion.text, first.width, first.height, TwoInputs::b);
          const auto where = MakeRegion(region.text, first.width, first.height, TwoInputs::a);
          const auto a = ToImage<GreyPixel>(first);
          const auto b = ToImage<GreyPixel>(second);
          const auto to = MakeWorkingImage<GreyPixel>(first.width, first.height);
          with.Run("Average", operation, *a, *b, *to, ofFirst, ofSecond, where);
          return ToRaster(*to, first);
        });
  }
};

}  // namespace

void AddDifferenceCommand(CLI::App& app, Session& session) {
  auto options = std::make_shared<DifferenceOptions>();
  CLI::App* command = app.add_subcommand("diff", "Absolute difference of the luma of two pictures");
  options->AddTo(*command, session)->required(false);
  options->region.AddTo(*command, "--region", "where to compare");
  command->add_flag(
      "--stats", options->hasStats,
      "print a table: each frame's mean and maximum difference, PSNR, and share of pixels above "
      "--threshold");
  command->add_option("--threshold", options->threshold, "for --stats: 0 to 255 (default: 0)")
      ->check(CLI::Range(0, 255))
      ->type_name("LEVEL");
  command
      ->add_option("--fail-above", options->failAbove,
                   "exit status 1 when the mean difference of a frame is above this")
      ->check(CLI::Range(0.0, 255.0))
      ->type_name("MEAN");
  command->footer("Example: kv diff before.y4m after.y4m --stats --fail-above 0.5");
  command->callback([options] { options->Run(); });
}

void AddAverageCommand(CLI::App& app, Session& session) {
  auto options = std::make_shared<AverageOptions>();
  CLI::App* command = app.add_subcommand(
      "average", "Mean of two 8-bit pictures, each valid in its own region; colour becomes grey");
  options->AddTo(*command, session);
  options->firstRegion.AddTo(*command, "--region-a", "where A is valid");
  options->secondRegion.AddTo(*command, "--region-b", "where B is valid");
  options->region.AddTo(*command, "--region", "where to write");
  command->footer(
      "Example: kv average left.pgm right.pgm both.pgm --region-a 0,0,400,576 --region-b 320,0,400,576");
  command->callback([options] { options->Run(); });
}

}  // namespace kv_host
