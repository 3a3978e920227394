#include <memory>
#include <utility>

#include "host/commands/command.h"
#include "host/errors.h"
#include "host/frames.h"
#include "host/paste.h"

namespace kv_host {
namespace {

struct CopyRoiOptions {
  std::string source;
  std::string destination;
  OutputOptions output;
  RegionText from{"", "", "--from", "--from-mask"};
  std::string to;
  InputOptions input;
  EngineOptions engine;

  void Run() {
    const OwnedEngine owned(engine);
    const Engine with = owned.Get();
    if (output.name.empty()) output.name = destination;
    engine.session->picturesOnStandardOutput = output.name == "-";
    PictureWriter writer = WriteAll(with);
    owned.Finish(writer);
  }

 private:
  /// The inputs are closed again: the destination may be replaced.
  PictureWriter WriteAll(const Engine& with) const {
    ClipSet clips({source, destination}, input.GetClips());
    input.RequireUse(clips.Readers());
    PictureWriter writer = output.Open(clips.Part());
    clips.ForEach(*engine.session, [&](const auto& frames, std::int64_t) {
      const Raster& image = *frames[0];
      const Raster& canvas = *frames[1];
      const auto what = MakeRegion(from, image.width, image.height, source);
      const auto where = MovedRegion(what, canvas);
      WriteConverted(writer, PasteRegion(image, what, canvas, where, with), with);
    });
    return writer;
  }

  /// The source region at the place in the destination that --to gives (the region's own place without it).
  kv_img::RunRegion MovedRegion(const kv_img::RunRegion& region, const Raster& canvas) const {
    int x = region.GetLeft();
    int y = region.GetTop();
    if (!to.empty()) {
      const auto numbers = ParseNumbers(to, ',', 2, "--to", "40,16 (x,y)");
      x = numbers[0];
      y = numbers[1];
    }
    const auto width = static_cast<int>(region.GetWidth());
    const auto height = static_cast<int>(region.GetHeight());
    if (x < 0 || y < 0 || x > canvas.width - width || y > canvas.height - height) {
      throw UsageError("--to: a region of " + std::to_string(width) + "x" + std::to_string(height) + " at " +
                       std::to_string(x) + "," + std::to_string(y) + " reaches outside " + destination +
                       ", which is " + std::to_string(canvas.width) + "x" + std::to_string(canvas.height));
    }
    std::vector<int> first;
    std::vector<int> last;
    for (int row = region.GetTop(); row <= region.GetBottom(); ++row) {
      first.push_back(region.GetLeft(row) - region.GetLeft() + x);
      last.push_back(region.GetRight(row) - region.GetLeft() + x);
    }
    return {y, std::move(first), std::move(last)};
  }
};

}  // namespace

void AddCopyRoiCommand(CLI::App& app, Session& session) {
  auto options = std::make_shared<CopyRoiOptions>();
  CLI::App* command = app.add_subcommand("copy-roi", "Copy a region of a picture or clip into another");
  command->add_option("SRC", options->source, "picture or video to copy from; - is standard input")
      ->required();
  command
      ->add_option("DST", options->destination,
                   "what to copy into, written back unless --output is given; a single picture, SRC too, "
                   "serves all frames")
      ->required();
  command->add_option("-o,--output", options->output.name, "write the result here and leave DST as it is")
      ->type_name("FILE");
  command->add_option("--from", options->from.rect, "region of SRC as x,y,w,h (default: the whole picture)")
      ->type_name("RECT");
  command
      ->add_option("--from-mask", options->from.mask, "region of SRC as a grey picture, one run in each row")
      ->type_name("FILE");
  command
      ->add_option("--to", options->to, "where its left top corner goes in DST (default: where it is in SRC)")
      ->type_name("X,Y");
  options->input.AddClipsTo(*command, session);
  options->output.AddFormatsTo(*command, session);
  options->engine.AddTo(*command, session);
  command->footer("Example: kv copy-roi face.png frame.png --from 100,80,64,64 --to 16,16 --output both.png");
  command->callback([options] { options->Run(); });
}

}  // namespace kv_host
