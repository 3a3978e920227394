// alpha-color and alpha-prob: masks from the difference of two pictures.

#include <memory>
#include <utility>

#include "frame/interfaces/alpha_layer_color_based.h"
#include "frame/interfaces/alpha_layer_prob_mask.h"
#include "host/commands/command.h"
#include "host/commands/levels_option.h"
#include "host/fields.h"
#include "host/frames.h"
#include "host/raster_image.h"

namespace kv_host {
namespace {

using Frame422 = kv_img::Image<kv_img::PixelYUV422>;
using GreyPixel = kv_img::PixelNoColor<unsigned char>;
using Grey = kv_img::Image<GreyPixel>;

struct AlphaOptions {
  std::string first;
  std::string second;
  OutputOptions output;
  unsigned window = 0;
  std::optional<unsigned> gain;
  LevelsOptions levels;
  InputOptions input;
  EngineOptions engine;
  RegionOptions region;

  void AddTo(CLI::App& command, Session& session) {
    output.AddTo(command, session, "mask to write, such as mask.pgm");
    command.add_option("--window", window, "side of the box that smooths the mask, 1 to 255")
        ->required()
        ->check(CLI::Range(1, 255))
        ->type_name("K");
    levels.AddTo(command);
    input.AddClipsTo(command, session);
    engine.AddTo(command, session);
    region.AddTo(command, "--region", "where to make the mask");
  }

  /// `Interface` is that of the algorithm; `own` are the operation's own parameters, window included.
  template <class PixelClass, class Interface, class... Own>
  void ForEachPair(const char* algorithm, Own... own) const {
    const OwnedEngine owned(engine);
    const Engine with = owned.Get();
    const auto& operation = with.family.Require<Interface>(algorithm, {PixelClass::ClassID});
    ClipSet clips({first, second}, input.GetClips());
    input.RequireUse(clips.Readers());
    PictureWriter writer = output.Open(clips.Part());
    clips.ForEach(*engine.session, [&](const auto& frames, std::int64_t) {
      const Raster& frame = *frames[0];
      const Raster& other = *frames[1];
      RequireEqualSizes(frame, first, other, second);
      const Raster one = Operand<PixelClass>(frame, other, with);
      const Raster two = Operand<PixelClass>(other, frame, with);
      const auto where = MakeRegion(region.text, frame.width, frame.height, first);
      const auto maskOf = [&](const Raster& a, const Raster& b, const kv_img::RunRegion& part) {
        const auto to = MakeWorkingImage<GreyPixel>(a.width, a.height);
        // One raw mask for all threads: each smooths rows that others made.
        const std::shared_ptr<Grey> raw = MakeWorkingImage<GreyPixel>(a.width, a.height);
        with.Run(algorithm, operation, *ToImage<PixelClass>(a), *ToImage<PixelClass>(b), *to, part, own...,
                 raw);
        return ToRaster(*to, a);
      };
      Raster mask = MadeInFields(one, two, where, maskOf);
      MapLevels(mask, where);
      WriteLuma(writer, std::move(mask), frame, with);
    });
    owned.Finish(writer);
  }

  /// The box stays within a field where one of the pictures has fields.
  template <class Make>
  Raster MadeInFields(const Raster& a, const Raster& b, const kv_img::RunRegion& where, Make make) const {
    const bool hasFields = HasFields(a) || HasFields(b);
    if (window == 1 || !hasFields) return make(a, b, where);
    Raster whole = MakeRaster(RasterKind::Grey8, a.width, a.height);
    Describe(whole, a);
    for (const RowSet& rows : TimesOf(hasFields, a.height)) {
      const auto part = RegionIn(where, rows);
      if (part.GetBottom() < part.GetTop()) continue;
      PutRows(make(TakeRows(a, rows), TakeRows(b, rows), part), rows, whole);
    }
    return whole;
  }

  void MapLevels(Raster& mask, const kv_img::RunRegion& where) const {
    const kv_run::LevelTable table = TableOf(levels.Get());
    for (int y = where.GetTop(); y <= where.GetBottom(); ++y) {
      std::uint8_t* row = mask.planes[0].Row(y).data() + where.GetLeft(y);
      kv_run::MapLevels(table, row, row, static_cast<std::size_t>(where.GetRight(y) - where.GetLeft(y) + 1));
    }
  }

  /// What the operation takes of a picture: its chroma in the other one's colours, or its luma.
  template <class PixelClass>
  static Raster Operand(const Raster& picture, const Raster& other, const Engine& with) {
    return kindOf<PixelClass> == RasterKind::Yuv422 ? ConvertAs(picture, other, LayoutLumaFirst, with)
                                                    : ConvertLuma(picture, RasterKind::Grey8, 0, with);
  }

  void RunColor() const {
    using Interface = kv_img::AlphaLayerColorBasedAlgorithmInterface<Frame422>;
    return ForEachPair<kv_img::PixelYUV422, Interface>("AlphaLayerColorBased", window);
  }

  void RunProbability() const {
    using Interface = kv_img::AlphaLayerProbMaskAlgorithmInterface<Grey>;
    if (gain) return ForEachPair<GreyPixel, Interface>("AlphaLayerProbMask", *gain, window);
    return ForEachPair<GreyPixel, Interface>("AlphaLayerProbMask", window);
  }
};

}  // namespace

void AddAlphaCommands(CLI::App& app, Session& session) {
  auto colour = std::make_shared<AlphaOptions>();
  CLI::App* command =
      app.add_subcommand("alpha-color", "Mask from the chroma distance of two pictures, smoothed");
  command->add_option("A", colour->first, "picture or video; - is standard input")->required();
  command->add_option("B", colour->second, "colour reference of the same size")->required();
  colour->AddTo(*command, session);
  command->footer("Example: kv alpha-color scene.png background.png mask.pgm --window 5");
  command->callback([colour] { colour->RunColor(); });

  auto probability = std::make_shared<AlphaOptions>();
  command =
      app.add_subcommand("alpha-prob", "Mask from the difference of two probability pictures, smoothed");
  command->add_option("P", probability->first, "8-bit picture; - is standard input")->required();
  command->add_option("Q", probability->second, "8-bit picture of the same size")->required();
  probability->AddTo(*command, session);
  command->add_option("--gain", probability->gain, "factor of the difference")->type_name("G");
  command->footer("Example: kv alpha-prob foreground.pgm background.pgm mask.pgm --window 3 --gain 2");
  command->callback([probability] { probability->RunProbability(); });
}

}  // namespace kv_host
