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
  std::string output;
  std::string format;
  RegionText from{"", "", "--from", "--from-mask"};
  std::string to;
  InputOptions input;
  EngineOptions engine;

  void Run() const {
    const OwnedEngine owned(engine);
    const Engine with = owned.Get();
    const std::string& result = output.empty() ? destination : output;
    engine.session->picturesOnStandardOutput = result == "-";
    const auto [image, canvas] = ReadPictures();
    const auto what = MakeRegion(from, image.width, image.height, source);
    const auto where = MovedRegion(what, canvas);

    const Raster picture = PasteRegion(image, what, canvas, where, with);
    WriteOptions options{.threads = engine.session->threads, .log = &engine.session->av};
    if (!format.empty()) options.format = ParseFormat(format, "--to-format");
    PictureWriter writer(result, options);
    WriteConverted(writer, picture, with);
    owned.Finish(writer);
  }

 private:
  /// Source and destination. Their files are closed again: the destination may be replaced.
  std::pair<Raster, Raster> ReadPictures() const {
    PictureReader sourceFile(source, input.Get());
    PictureReader destinationFile(destination, input.Get());
    input.RequireUse({&sourceFile, &destinationFile});
    Raster image = OnlyPicture(sourceFile);
    return {std::move(image), OnlyPicture(destinationFile)};
  }

  static Raster OnlyPicture(PictureReader& reader) {
    auto picture = reader.Next();
    if (reader.Next())
      throw UsageError(reader.Name() + ": holds several frames; copy-roi works on single pictures");
    return *std::move(picture);
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
  CLI::App* command = app.add_subcommand("copy-roi", "Copy a region of one picture into another");
  command->add_option("SRC", options->source, "picture to copy from")->required();
  command
      ->add_option("DST", options->destination, "picture to copy into; written back unless --output is given")
      ->required();
  command->add_option("-o,--output", options->output, "write the result here and leave DST as it is")
      ->type_name("FILE");
  command->add_option("--from", options->from.rect, "region of SRC as x,y,w,h (default: the whole picture)")
      ->type_name("RECT");
  command
      ->add_option("--from-mask", options->from.mask, "region of SRC as a grey picture, one run in each row")
      ->type_name("FILE");
  command
      ->add_option("--to", options->to, "where its left top corner goes in DST (default: where it is in SRC)")
      ->type_name("X,Y");
  options->input.AddTo(*command, session);
  command
      ->add_option("--to-format", options->format,
                   "format of the output: " + WritableFormatNames() + " (default: by its extension)")
      ->type_name("FORMAT");
  options->engine.AddTo(*command, session);
  command->footer("Example: kv copy-roi face.png frame.png --from 100,80,64,64 --to 16,16 --output both.png");
  command->callback([options] { options->Run(); });
}

}  // namespace kv_host
