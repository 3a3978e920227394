#include <algorithm>
#include <memory>
#include <utility>

#include "frame/interfaces/scanning.h"
#include "host/commands/command.h"
#include "host/errors.h"
#include "host/frames.h"
#include "host/progress.h"
#include "host/raster_image.h"

namespace kv_host {
namespace {

using Frame422 = kv_img::Image<kv_img::PixelYUV422>;
using Operation = kv_img::ScanningAlgorithmInterface<Frame422, Frame422>;
using kv_img::ImageRect;

struct PanOptions {
  std::string photo;
  OutputOptions output;
  std::string size;
  std::string direction;
  std::string only;
  int frames = 0;
  bool isInterlaced = false;
  InputOptions input;
  EngineOptions engine;

  void Run() const {
    const OwnedEngine owned(engine);
    const Engine with = owned.Get();
    PictureReader reader(photo, input.Get());
    input.RequireUse({&reader});
    const Raster original = *reader.Next();
    const Size view = ParseSize(size, "--size");
    if (view.width > original.width || view.height > original.height) {
      throw UsageError("--size: " + size + " is larger than " + photo + ", which is " +
                       std::to_string(original.width) + "x" + std::to_string(original.height));
    }
    const Raster picture = VideoOf(original, view, with);
    const auto& operation = with.family.Require<Operation>(
        "Scanning", {kv_img::PixelYUV422::ClassID, kv_img::PixelYUV422::ClassID});
    const auto from = ToImage<kv_img::PixelYUV422>(picture);
    const FrameRange range = only.empty() ? FrameRange() : ParseFrameRange(only, "--only");
    if (range.first >= frames) {
      throw UsageError("--only: " + only + " begins after the last of " + std::to_string(frames) +
                       " frames (the first is 0)");
    }
    const auto first = static_cast<int>(range.first);
    const auto count = static_cast<int>(std::min<std::int64_t>(range.count.value_or(frames), frames - first));
    PictureWriter writer = output.Open({range, frames});
    Progress progress("frames", count);
    for (int frame = first; frame < first + count; ++frame) {
      Raster rendered = RenderFrame(operation, with, *from, picture, view, frame);
      if (original.kind == RasterKind::Grey8) rendered = ConvertLuma(rendered, RasterKind::Grey8, 0, with);
      WriteConverted(writer, std::move(rendered), with);
      progress.Advance();
    }
    owned.Finish(writer);
  }

 private:
  /// The photograph as 4:2:2, with the matrix of frames of the movie's height.
  static Raster VideoOf(const Raster& original, Size view, const Engine& with) {
    if (IsVideo(original.kind) || original.kind == RasterKind::Grey8) {
      return ConvertLuma(original, RasterKind::Yuv422, LayoutLumaFirst, with);
    }
    return ConvertToVideo(original, RasterKind::Yuv422, LayoutLumaFirst,
                          {.matrix = original.matrix, .height = view.height}, with);
  }

  bool IsHorizontal() const { return direction == "left" || direction == "right"; }

  std::uint8_t ModeFlags() const {
    if (direction == "right") return 0x01;
    if (direction == "left") return 0x02;
    return direction == "down" ? 0x04 : 0x08;
  }

  /// The part of the photograph that the viewport crosses: all of it along the pan, the middle across it.
  ImageRect Path(const Raster& picture, Size view) const {
    if (IsHorizontal()) {
      const int top = (picture.height - view.height) / 2;
      return {0, top, picture.width - 1, top + view.height - 1};
    }
    const int left = (picture.width - view.width) / 4 * 2;
    return {left, 0, left + view.width - 1, picture.height - 1};
  }

  Raster RenderFrame(const Operation& operation, const Engine& with, const Frame422& from,
                     const Raster& picture, Size view, int frame) const {
    Raster shape = MakeEmptyRaster(RasterKind::Yuv422, view.width, view.height, LayoutLumaFirst);
    Describe(shape, picture);
    shape.frameRate = {};
    if (!with.colours.exactCopy) shape.matrix = MatrixOf(SideOf(picture), with.colours);
    shape.interlace = isInterlaced ? Interlace::TopFieldFirst : Interlace::Progressive;
    if (!isInterlaced) return RenderStep(operation, with, from, picture, shape, frames, frame);
    // Each field at its own time, a step apart, woven into one frame with the top field first.
    Raster woven = RenderStep(operation, with, from, picture, shape, 2 * frames, 2 * frame);
    const Raster later = RenderStep(operation, with, from, picture, shape, 2 * frames, 2 * frame + 1);
    for (int row = 1; row < view.height; row += 2) {
      std::ranges::copy(later.planes[0].Row(row), woven.planes[0].Row(row).begin());
    }
    return woven;
  }

  Raster RenderStep(const Operation& operation, const Engine& with, const Frame422& from,
                    const Raster& picture, const Raster& shape, int steps, int step) const {
    kv_img::ImageOptions options;
    options.layout = LayoutLumaFirst;
    // The frame's parity as the step expects it: rows are rendered in place, none is moved by half a
    // line.
    options.properties.fieldParity = static_cast<std::uint8_t>(step & 1);
    Frame422 to(shape.width, shape.height, options);
    const ImageRect path = Path(picture, {shape.width, shape.height});
    const ImageRect view(0, 0, shape.width - 1, shape.height - 1);
    with.Run("Scanning", operation, from, to, path, view, ModeFlags(), steps,
             static_cast<std::uint32_t>(step));
    return ToRaster(to, shape);
  }
};

}  // namespace

void AddPanCommand(CLI::App& app, Session& session) {
  auto options = std::make_shared<PanOptions>();
  CLI::App* command = app.add_subcommand("pan", "Make a movie that moves across a photograph");
  command->add_option("PHOTO", options->photo, "picture to move across; - is standard input")->required();
  options->output.AddTo(*command, session, "movie to write, such as out.y4m; - is standard output");
  command->add_option("--size", options->size, "width and height of the movie, such as 720x576")
      ->required()
      ->type_name("WxH");
  command->add_option("--frames", options->frames, "frames of the movie")
      ->required()
      ->check(CLI::Range(1, 1000000))
      ->type_name("N");
  command->add_option("--direction", options->direction, "where the view moves: left, right, up or down")
      ->required()
      ->check(CLI::IsMember({"left", "right", "up", "down"}))
      ->type_name("DIRECTION");
  command
      ->add_option("--only", options->only, "write COUNT frames from FIRST on, counted from 0 (default: all)")
      ->type_name("FIRST:COUNT");
  command->add_flag("--interlaced", options->isInterlaced, "two fields in a frame, each at its own time");
  options->input.AddTo(*command, session, "--photo-size");
  options->engine.AddTo(*command, session);
  command->footer("Example: kv pan photo.png pan.y4m --size 720x576 --frames 100 --direction right");
  command->callback([options] { options->Run(); });
}

}  // namespace kv_host
