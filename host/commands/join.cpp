#include <memory>
#include <utility>

#include "host/commands/command.h"
#include "host/errors.h"
#include "host/frames.h"

namespace kv_host {
namespace {

struct JoinOptions {
  std::vector<std::string> parts;
  OutputOptions output;
  InputOptions input;
  EngineOptions engine;

  void Run() const {
    const OwnedEngine owned(engine);
    PictureWriter writer = output.Open(ClipPart());
    std::optional<Raster> first;
    for (const std::string& part : parts) {
      // One that ends inside a frame is the last.
      if (engine.session->failure) break;
      PictureReader reader(part, input.Get());
      input.RequireUse({&reader});
      ForEachFrame(reader, *engine.session, [&](Raster& frame, std::int64_t) {
        if (!first) first = frame;
        RequireEqualSizes(*first, parts.front(), frame, part);
        if (frame.frameRate != first->frameRate || frame.interlace != first->interlace) {
          throw UsageError(part + ": its frame rate or interlacing is not that of " + parts.front() +
                           "; parts of one recording have the same");
        }
        WriteConverted(writer, std::move(frame), owned.Get());
      });
    }
    owned.Finish(writer);
  }
};

}  // namespace

void AddJoinCommand(CLI::App& app, Session& session) {
  auto options = std::make_shared<JoinOptions>();
  CLI::App* command = app.add_subcommand("join", "Put the parts of a recording one after the other");
  command->add_option("PARTS", options->parts, "files in their order; - is standard input")->required();
  options->output.AddTo(*command, session, "file to write; - is standard output (Y4M)", "-o,--output");
  options->input.AddTo(*command, session);
  options->engine.AddTo(*command, session);
  command->footer("Example: kv join part-*.y4m -o whole.y4m");
  command->callback([options] { options->Run(); });
}

}  // namespace kv_host
