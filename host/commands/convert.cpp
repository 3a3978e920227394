#include <algorithm>
#include <memory>
#include <utility>

#include "host/commands/command.h"
#include "host/errors.h"
#include "host/frames.h"

namespace kv_host {
namespace {

struct ConvertOptions {
  std::string input;
  OutputOptions output;
  InputOptions inputOptions;
  EngineOptions engine;
  std::string layout;
  int depth = 0;
};

/// The kind with pixels of `depth` bits. Throws UsageError when the file cannot be written from it.
RasterKind KindOfDepth(const PictureWriter& writer, int depth) {
  const RasterKind kind = depth == 8    ? RasterKind::Grey8
                          : depth == 15 ? RasterKind::Dib15
                          : depth == 16 ? RasterKind::Dib16
                          : depth == 24 ? RasterKind::Dib24
                                        : RasterKind::Dib32;
  if (std::ranges::find(writer.Rasters(), kind) != writer.Rasters().end()) return kind;
  throw UsageError("--depth: a " + std::string(TraitsOf(writer.Format()).name) + " file cannot hold " +
                   std::to_string(depth) + "-bit pixels");
}

/// Throws UsageError when the output has no packed samples, or has them in the other order.
void RequireLayout(const FormatTraits& format, const ConvertOptions& options) {
  if (options.layout.empty() || ParseLayout(options.layout) == format.layout) return;
  throw UsageError(
      "--layout: " + options.output.name + " is written as " + std::string(format.name) +
      (format.layout == 0 ? ", which is not packed 4:2:2" : ", whose byte order is the other one") +
      "; --to-format uyvy and yuy2 name the order");
}

void ConvertFrames(const ConvertOptions& options) {
  const OwnedEngine engine(options.engine);
  PictureReader reader(options.input, options.inputOptions.Get());
  options.inputOptions.RequireUse({&reader});
  const int layout = ParseLayout(options.layout);
  PictureWriter writer = options.output.Open(reader);
  const FormatTraits& format = TraitsOf(writer.Format());
  RequireLayout(format, options);

  ForEachFrame(reader, *options.engine.session, [&](Raster& frame, std::int64_t) {
    if (options.depth == 0) return WriteConverted(writer, std::move(frame), engine.Get(), layout);
    writer.Write(Convert(frame, KindOfDepth(writer, options.depth), layout, engine.Get()));
  });
  engine.Finish(writer);
}

}  // namespace

void AddConvertCommand(CLI::App& app, Session& session) {
  auto options = std::make_shared<ConvertOptions>();
  CLI::App* command = app.add_subcommand("convert", "Convert pictures and video between formats");
  command->add_option("IN", options->input, "picture or video; - is standard input")->required();
  options->output.AddTo(*command, session, "file to write; - is standard output (Y4M)");
  options->inputOptions.AddWithFramesTo(*command, session);
  options->engine.AddTo(*command, session);
  command->add_option("--layout", options->layout, "byte order of packed 4:2:2: uyvy or yuy2")
      ->type_name("ORDER");
  command->add_option("--depth", options->depth, "bits of a bitmap's pixel: 8, 15, 16, 24 or 32")
      ->check(CLI::IsMember({8, 15, 16, 24, 32}))
      ->type_name("BITS");
  command->footer("Example: ffmpeg -i clip.mp4 -pix_fmt yuv422p -f yuv4mpegpipe - | kv convert - frame.png");
  command->callback([options] { ConvertFrames(*options); });
}

}  // namespace kv_host
