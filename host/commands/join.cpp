#include <memory>

#include "host/commands/command.h"
#include "host/errors.h"
#include "host/frames.h"

namespace kv_host {
namespace {

struct JoinOptions {
  std::vector<std::string> parts;
  std::string output;
  std::string format;
  InputOptions input;
  EngineOptions engine;

  int Run() const {
    const OwnedEngine owned(engine);
    WriteOptions writeOptions;
    if (!format.empty()) writeOptions.format = ParseFormat(format, "--to-format");
    PictureWriter writer(output, writeOptions);
    std::optional<Raster> first;
    for (const std::string& part : parts) {
      PictureReader reader(part, input.Get());
      ForEachFrame(reader, [&](const Raster& frame, std::int64_t) {
        if (!first) first = frame;
        RequireEqualSizes(*first, parts.front(), frame, part);
        if (frame.frameRate != first->frameRate || frame.interlace != first->interlace) {
          throw UsageError(part + ": its frame rate or interlacing is not that of " + parts.front() +
                           "; parts of one recording have the same");
        }
        WriteConverted(writer, frame, owned.Get());
      });
    }
    return owned.Finish(writer);
  }
};

}  // namespace

void AddJoinCommand(CLI::App& app, Session& session) {
  auto options = std::make_shared<JoinOptions>();
  CLI::App* command = app.add_subcommand("join", "Put the parts of a recording one behind the other");
  command->add_option("PARTS", options->parts, "files in their order; - is standard input")->required();
  command->add_option("-o,--output", options->output, "file to write; - is standard output (Y4M)")
      ->required()
      ->type_name("FILE");
  command->add_option("--to-format", options->format, "format of the output (default: by its extension)")
      ->type_name("FORMAT");
  options->input.AddTo(*command);
  options->engine.AddTo(*command, session);
  command->footer("Example: kv join part-*.y4m -o whole.y4m");
  command->callback([options, &session] { session.status = options->Run(); });
}

}  // namespace kv_host
