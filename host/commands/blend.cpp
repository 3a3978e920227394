#include <memory>
#include <utility>

#include "frame/interfaces/blend_boost.h"
#include "host/commands/command.h"
#include "host/errors.h"
#include "host/frames.h"
#include "host/raster_image.h"

namespace kv_host {
namespace {

using Frame422 = kv_img::Image<kv_img::PixelYUV422>;
using GreyPixel = kv_img::PixelNoColor<unsigned char>;

struct BlendOptions {
  std::string b;
  std::string a;
  std::string mask;
  OutputOptions output;
  InputOptions input;
  EngineOptions engine;
  RegionOptions region;

  void Run() const {
    const OwnedEngine owned(engine);
    const Engine with = owned.Get();
    ClipSet clips({b, a, mask}, input.GetClips());
    input.RequireUse(clips.Readers());
    PictureWriter writer = output.Open(clips.Part());
    clips.ForEach(*engine.session, [&](const auto& frames, std::int64_t) {
      const Raster& frame = *frames[0];
      const Raster& other = *frames[1];
      const Raster& weight = *frames[2];
      RequireEqualSizes(frame, b, other, a);
      RequireEqualSizes(frame, b, weight, mask);
      Raster result = Blended(frame, other, weight, with);
      if (frame.kind == RasterKind::Grey8 && other.kind == RasterKind::Grey8) {
        result = ConvertLuma(result, RasterKind::Grey8, 0, with);
      }
      WriteConverted(writer, std::move(result), with);
    });
    owned.Finish(writer);
  }

 private:
  /// Large frames need the room: nothing is kept longer than it is needed.
  Raster Blended(const Raster& frame, const Raster& other, const Raster& weight, const Engine& with) const {
    const auto& operation = with.family.Require<kv_img::BlendBoostAlgorithmInterface<Frame422>>(
        "BlendBoost", {kv_img::PixelYUV422::ClassID});
    Raster above = ConvertBeside(frame, other, LayoutLumaFirst, with);
    const auto over = ToImage<kv_img::PixelYUV422>(above);
    above.planes.clear();
    Raster below = ConvertBeside(other, frame, LayoutLumaFirst, with);
    const auto from = ToImage<kv_img::PixelYUV422>(below);
    // Outside the region the result is A.
    const auto to = ToImage<kv_img::PixelYUV422>(below);
    below.planes.clear();
    const auto alpha = ToImage<GreyPixel>(ConvertLuma(weight, RasterKind::Grey8, 0, with));
    with.Run("BlendBoost", operation, *over, *from, *alpha, *to, RegionOf(frame));
    return ToRaster(*to, above);
  }

  /// Runs must be multiples of four pixels; the working width is one, so the whole picture always works.
  kv_img::RunRegion RegionOf(const Raster& frame) const {
    if (!region.text.IsGiven()) {
      return kv_img::RunRegion(kv_img::ImageRect(0, 0, WorkingWidth(frame.width) - 1, frame.height - 1));
    }
    auto where = MakeRegion(region.text, frame.width, frame.height, b);
    for (int row = where.GetTop(); row <= where.GetBottom(); ++row) {
      const int width = where.GetRight(row) - where.GetLeft(row) + 1;
      if (width % 4 == 0) continue;
      throw UsageError("--region: row " + std::to_string(row) + " is " + std::to_string(width) +
                       " pixels wide; blending takes widths that are multiples of 4");
    }
    return where;
  }
};

}  // namespace

void AddBlendCommand(CLI::App& app, Session& session) {
  auto options = std::make_shared<BlendOptions>();
  CLI::App* command =
      app.add_subcommand("blend", "Blend B over A under a mask, more strongly where A is brighter than B");
  command->add_option("B", options->b, "picture or video that shows where the mask is bright")->required();
  command->add_option("A", options->a, "picture that shows where the mask is dark, of the same size")
      ->required();
  command->add_option("MASK", options->mask, "8-bit mask of the same size")->required();
  options->output.AddTo(*command, session, "file to write");
  options->input.AddClipsTo(*command, session);
  options->engine.AddTo(*command, session);
  options->region.AddTo(*command, "--region", "where to blend, in runs of multiples of 4 pixels");
  command->footer("Example: kv blend title.png scene.png mask.pgm out.png");
  command->callback([options] { options->Run(); });
}

}  // namespace kv_host
