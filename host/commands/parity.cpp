#include <memory>

#include "frame/interfaces/parity_change.h"
#include "host/commands/command.h"
#include "host/frames.h"
#include "host/raster_image.h"

namespace kv_host {
namespace {

using Frame422 = kv_img::Image<kv_img::PixelYUV422>;

struct ParityOptions {
  std::string input;
  OutputOptions output;
  std::string region;
  InputOptions inputOptions;
  EngineOptions engine;

  void Run() const {
    const OwnedEngine owned(engine);
    const Engine with = owned.Get();
    PictureReader reader(input, inputOptions.Get());
    inputOptions.RequireUse({&reader});
    PictureWriter writer = output.Open(reader);
    const auto& operation = with.family.Require<kv_img::ParityChangeAlgorithmInterface<Frame422, Frame422>>(
        "ParityChange", {kv_img::PixelYUV422::ClassID, kv_img::PixelYUV422::ClassID});
    ForEachFrame(reader, [&](const Raster& frame, std::int64_t) {
      const Raster packed = ConvertLuma(frame, RasterKind::Yuv422, 0, with);
      kv_img::ImageOptions properties;
      properties.properties.fieldOrder = frame.interlace == Interlace::BottomFieldFirst ? 1 : 0;
      const auto from = ToImage<kv_img::PixelYUV422>(packed, properties);
      // Outside the region the picture stays as it is.
      const auto to = ToImage<kv_img::PixelYUV422>(packed, properties);
      with.Time("ParityChange", [&] {
        if (region.empty()) {
          operation.Apply(*from, *to);
        } else {
          operation.Apply(*from, *to, ParseRect(region, "--region", frame.width, frame.height));
        }
      });
      Raster result = ToRaster(*to, packed);
      if (frame.kind == RasterKind::Grey8) result = ConvertLuma(result, RasterKind::Grey8, 0, with);
      result.interlace =
          to->GetProperties().fieldOrder != 0 ? Interlace::BottomFieldFirst : Interlace::TopFieldFirst;
      WriteConverted(writer, result, with);
    });
    owned.Finish(writer);
  }
};

}  // namespace

void AddParityCommand(CLI::App& app, Session& session) {
  auto options = std::make_shared<ParityOptions>();
  CLI::App* command = app.add_subcommand("parity", "Move frames by half a line to the other field parity");
  command->add_option("IN", options->input, "picture or video; - is standard input")->required();
  options->output.AddTo(*command, session, "file to write; - is standard output");
  command->add_option("--region", options->region, "work only inside the rectangle x,y,w,h")
      ->type_name("RECT");
  options->inputOptions.AddWithFramesTo(*command);
  options->engine.AddTo(*command, session);
  command->footer("Example: kv parity top-first.y4m bottom-first.y4m");
  command->callback([options] { options->Run(); });
}

}  // namespace kv_host
