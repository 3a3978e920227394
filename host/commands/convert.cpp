#include <algorithm>
#include <memory>

#include "host/commands/command.h"
#include "host/errors.h"
#include "host/frames.h"

namespace kv_host {
namespace {

struct ConvertOptions {
  std::string input;
  std::string output;
  InputOptions inputOptions;
  EngineOptions engine;
  std::string format;
  std::string layout;
  int depth = 0;
};

/// The kind that holds pixels of so many bits. Throws UsageError when the format cannot be written from it.
RasterKind KindOfDepth(const FormatTraits& format, int depth) {
  const RasterKind kind = depth == 8    ? RasterKind::Grey8
                          : depth == 15 ? RasterKind::Dib15
                          : depth == 16 ? RasterKind::Dib16
                          : depth == 24 ? RasterKind::Dib24
                                        : RasterKind::Dib32;
  if (std::ranges::find(format.writableRasters, kind) != format.writableRasters.end()) return kind;
  throw UsageError("--depth: a " + std::string(format.name) + " file cannot hold " + std::to_string(depth) +
                   "-bit pixels");
}

int ConvertFrames(const ConvertOptions& options) {
  const OwnedEngine engine(options.engine);
  WriteOptions writeOptions;
  if (!options.format.empty()) writeOptions.format = ParseFormat(options.format, "--to-format");
  PictureReader reader(options.input, options.inputOptions.Get());
  PictureWriter writer(options.output, writeOptions);
  const FormatTraits& format = TraitsOf(writer.Format());
  const int layout = ParseLayout(options.layout);

  ForEachFrame(reader, [&](const Raster& frame, std::int64_t) {
    if (options.depth == 0) return WriteConverted(writer, frame, engine.Get(), layout);
    writer.Write(Convert(frame, KindOfDepth(format, options.depth), layout, engine.Get()));
  });
  return engine.Finish(writer);
}

}  // namespace

void AddConvertCommand(CLI::App& app, Session& session) {
  auto options = std::make_shared<ConvertOptions>();
  CLI::App* command = app.add_subcommand("convert", "Convert pictures and video between formats");
  command->add_option("IN", options->input, "picture or video; - is standard input")->required();
  command->add_option("OUT", options->output, "file to write; - is standard output (Y4M)")->required();
  options->inputOptions.AddWithFramesTo(*command);
  options->engine.AddTo(*command, session);
  command->add_option("--to-format", options->format, "format of the output (default: by its extension)")
      ->type_name("FORMAT");
  command->add_option("--layout", options->layout, "byte order of packed 4:2:2: uyvy or yuy2")
      ->type_name("ORDER");
  command->add_option("--depth", options->depth, "bits of a bitmap's pixel: 8, 15, 16, 24 or 32")
      ->check(CLI::IsMember({8, 15, 16, 24, 32}))
      ->type_name("BITS");
  command->footer("Example: ffmpeg -i clip.mp4 -pix_fmt yuv422p -f yuv4mpegpipe - | kv convert - frame.png");
  command->callback([options, &session] { session.status = ConvertFrames(*options); });
}

}  // namespace kv_host
