#include <algorithm>
#include <memory>
#include <utility>

#include "frame/interfaces/alpha_layer_color_based.h"
#include "frame/interfaces/average_filter.h"
#include "host/commands/command.h"
#include "host/commands/levels_option.h"
#include "host/errors.h"
#include "host/fields.h"
#include "host/frames.h"
#include "host/raster_image.h"
#include "run/composition.h"

namespace kv_host {
namespace {

using Frame422 = kv_img::Image<kv_img::PixelYUV422>;
using GreyPixel = kv_img::PixelNoColor<unsigned char>;
using Grey = kv_img::Image<GreyPixel>;

/// Calls `work(first, end)` for bands of rows on the threads of the pool.
template <class Work>
void ForEachBand(int height, const Engine& with, Work work) {
  with.pool.Run([&](kv_std::SpinBarrier& barrier, std::uint32_t index) {
    const auto threads = static_cast<std::int64_t>(barrier.GetThreadCount());
    const auto first = static_cast<int>(height * std::int64_t{index} / threads);
    const auto end = static_cast<int>(height * (std::int64_t{index} + 1) / threads);
    if (first < end) work(first, end);
  });
}

template <class Work>
void ForEachRow(int height, const Engine& with, Work work) {
  ForEachBand(height, with, [&](int first, int end) {
    for (int y = first; y < end; ++y) work(y);
  });
}

std::uint8_t* RowOf(Grey& mask, int y) {
  return mask.PlaneRow(kv_img::PixelComponent::Luma, y).data();
}

/// A picture of one colour, of the size of `like`.
Raster Coloured(const Raster& like, const std::vector<int>& colour) {
  Raster plate = MakeRaster(RasterKind::Yuv422, like.width, like.height, LayoutLumaFirst);
  Describe(plate, like);
  std::vector<std::uint8_t>& bytes = plate.planes[0].bytes;
  for (std::size_t at = 0; at < bytes.size(); at += 4) {
    bytes[at + 1] = static_cast<std::uint8_t>(colour[0]);
    bytes[at + 3] = static_cast<std::uint8_t>(colour[1]);
  }
  return plate;
}

/// A mask smoothed by a box, which stays within a field.
Raster Smoothed(Raster mask, bool hasFields, unsigned window, const Engine& with) {
  const auto& smooth = with.family.Require<kv_img::AverageFilterAlgorithmInterface<Grey>>(
      "AverageFilter", {GreyPixel::ClassID});
  for (const RowSet& rows : TimesOf(hasFields, mask.height)) {
    const Raster part = TakeRows(mask, rows);
    const auto to = MakeWorkingImage<GreyPixel>(part.width, part.height);
    const kv_img::RunRegion whole(kv_img::ImageRect(0, 0, part.width - 1, part.height - 1));
    with.Run("AverageFilter", smooth, *ToImage<GreyPixel>(part), *to, whole, window);
    PutRows(ToRaster(*to, part), rows, mask);
  }
  return mask;
}

struct KeyOptions {
  std::string foreground;
  std::string plate;
  std::string color;
  std::vector<std::string> others;  ///< The background, if there is one, and the output.
  OutputOptions output;
  LevelsOptions levels{.levels = {.low = 130, .high = 255, .isInverted = true}};
  unsigned window = 1;
  InputOptions input;
  EngineOptions engine;
  RegionOptions region;

  void Run();

 private:
  std::vector<int> Colour() const;
  /// Consumes `against`, as large frames need the room.
  std::unique_ptr<Grey> MaskOf(const Raster& frame, Raster against, const Engine& with) const;
  void KeepInside(Grey& mask, const Raster& frame, const Engine& with) const;
};

std::vector<int> KeyOptions::Colour() const {
  if (plate.empty() == color.empty()) {
    throw UsageError(
        "kv key takes either --plate, the scene without what is to be kept, or --color, its colour");
  }
  if (color.empty()) return {};
  const auto colour = ParseNumbers(color, ',', 2, "--color", "90,60 (Cb,Cr)");
  if (std::ranges::any_of(colour, [](int sample) { return sample < 0 || sample > 255; })) {
    throw UsageError("--color: " + color + " is no colour; Cb and Cr are 0 to 255");
  }
  return colour;
}

/// 255 where the picture is to be seen.
std::unique_ptr<Grey> KeyOptions::MaskOf(const Raster& frame, Raster against, const Engine& with) const {
  using Mask = kv_img::AlphaLayerColorBasedAlgorithmInterface<Frame422>;
  const auto& makeMask = with.family.Require<Mask>("AlphaLayerColorBased", {kv_img::PixelYUV422::ClassID});
  const bool hasFields = HasFields(frame) || HasFields(against);
  const auto b = ToImage<kv_img::PixelYUV422>(against);
  against.planes.clear();
  const auto a = ToImage<kv_img::PixelYUV422>(frame);
  auto mask = MakeWorkingImage<GreyPixel>(frame.width, frame.height);
  const std::shared_ptr<Grey> raw = MakeWorkingImage<GreyPixel>(frame.width, frame.height);
  const int width = WorkingWidth(frame.width);
  with.Time("AlphaLayerColorBased", [&] {
    ForEachBand(frame.height, with, [&](int first, int end) {
      // Nothing is smoothed yet: no band has to wait for its neighbours, which takes long on a busy machine.
      kv_std::SpinBarrier alone(1);
      const kv_img::RunRegion rows(kv_img::ImageRect(0, first, width - 1, end - 1));
      makeMask.Apply(*a, *b, *mask, rows, 1U, raw, alone, 0);
    });
  });
  const kv_run::LevelTable table = TableOf(levels.Get());
  ForEachRow(frame.height, with, [&](int y) {
    kv_run::MapLevels(table, RowOf(*mask, y), RowOf(*mask, y), static_cast<std::size_t>(width));
  });
  if (window > 1) {
    mask = ToImage<GreyPixel>(Smoothed(ToRaster(*mask, frame), hasFields, window, with));
  }
  if (region.text.IsGiven()) KeepInside(*mask, frame, with);
  return mask;
}

/// Outside the region nothing of the picture is seen.
void KeyOptions::KeepInside(Grey& mask, const Raster& frame, const Engine& with) const {
  const auto where = MakeRegion(region.text, frame.width, frame.height, foreground);
  ForEachRow(frame.height, with, [&](int y) {
    const bool isIn = y >= where.GetTop() && y <= where.GetBottom();
    const int left = isIn ? where.GetLeft(y) : frame.width;
    const int right = isIn ? where.GetRight(y) + 1 : frame.width;
    std::uint8_t* row = RowOf(mask, y);
    std::fill(row, row + std::min(left, frame.width), std::uint8_t{0});
    std::fill(row + right, row + frame.width, std::uint8_t{0});
  });
}

/// The picture with the mask as its alpha.
Raster WithAlpha(const Raster& packed, Grey& mask) {
  Raster result = MakeRaster(RasterKind::Yuva422, packed.width, packed.height, packed.layout);
  Describe(result, packed);
  result.planes[0] = packed.planes[0];
  for (int y = 0; y < packed.height; ++y) {
    std::copy_n(RowOf(mask, y), packed.width, result.planes[1].Row(y).begin());
  }
  return result;
}

Raster Composed(const Raster& above, const Raster& below, Grey& mask, const Engine& with) {
  Raster result = MakeRaster(RasterKind::Yuv422, above.width, above.height, LayoutLumaFirst);
  Describe(result, above);
  ForEachRow(above.height, with, [&](int y) {
    kv_run::CompositePacked(above.planes[0].Row(y).data(), below.planes[0].Row(y).data(), RowOf(mask, y),
                            result.planes[0].Row(y).data(), static_cast<std::size_t>(above.width), true);
  });
  return result;
}

void KeyOptions::Run() {
  const std::vector<int> colour = Colour();
  output.name = others.back();
  const bool hasBackground = others.size() > 1;
  const OwnedEngine owned(engine);
  const Engine with = owned.Get();
  std::vector<std::string> names = {foreground};
  if (colour.empty()) names.push_back(plate);
  if (hasBackground) names.push_back(others.front());
  ClipSet clips(names, input.GetClips());
  input.RequireUse(clips.Readers());
  PictureWriter writer = output.Open(clips.Part());
  const RasterKind keyed = KindToWrite(writer, RasterKind::Yuva422);
  if (!hasBackground && keyed != RasterKind::Yuva422 && keyed != RasterKind::Dib32) {
    throw UsageError(output.name + ": " + std::string(TraitsOf(writer.Format()).name) +
                     " holds no alpha; name a background, or write png, uyvya, yuy2a, bgra or rgba");
  }
  clips.ForEach(*engine.session, [&](const auto& frames, std::int64_t) {
    const Raster& frame = *frames.front();
    const Raster* under = hasBackground ? frames.back() : nullptr;
    for (std::size_t i = 1; i < frames.size(); ++i)
      RequireEqualSizes(frame, foreground, *frames[i], names[i]);
    const Raster above = under != nullptr ? ConvertBeside(frame, *under, LayoutLumaFirst, with)
                                          : Convert(frame, RasterKind::Yuv422, LayoutLumaFirst, with);
    Raster against =
        colour.empty() ? ConvertAs(*frames[1], above, LayoutLumaFirst, with) : Coloured(above, colour);
    const std::unique_ptr<Grey> mask = MaskOf(above, std::move(against), with);
    if (under == nullptr) return WriteConverted(writer, WithAlpha(above, *mask), with);
    Raster result = Composed(above, ConvertBeside(*under, frame, LayoutLumaFirst, with), *mask, with);
    if (frame.kind == RasterKind::Grey8 && under->kind == RasterKind::Grey8) {
      result = ConvertLuma(result, RasterKind::Grey8, 0, with);
    }
    WriteConverted(writer, std::move(result), with);
  });
  owned.Finish(writer);
}

/// CLI11 has no words for an argument that may be left out before the last one.
class KeyHelp : public CLI::Formatter {
 public:
  std::string make_usage(const CLI::App*, std::string name) const override {
    return "Usage: " + name + " [OPTIONS] FOREGROUND [BACKGROUND] OUT\n";
  }
};

}  // namespace

void AddKeyCommand(CLI::App& app, Session& session) {
  auto options = std::make_shared<KeyOptions>();
  CLI::App* command = app.add_subcommand("key", "Key a picture by colour, over a background or with alpha");
  command->add_option("FOREGROUND", options->foreground, "picture or video; - is standard input")->required();
  command
      ->add_option("FILES", options->others,
                   "BACKGROUND to put it over, if any, and OUT, the file to write; without a background OUT "
                   "gets alpha")
      ->required()
      ->expected(1, 2)
      ->type_name("")
      ->each([&session](const std::string& file) { session.picturesOnStandardOutput = file == "-"; });
  options->output.AddFormatsTo(*command, session);
  command
      ->add_option("--plate", options->plate,
                   "the scene without what is to be kept: a picture, or a frame for each")
      ->type_name("FILE");
  command->add_option("--color", options->color, "or its one colour")->type_name("CB,CR");
  options->levels.AddTo(*command);
  command
      ->add_option("--window", options->window,
                   "side of the box that smooths the mask, 1 to 255 (default: 1)")
      ->check(CLI::Range(1, 255))
      ->type_name("K");
  options->input.AddClipsTo(*command, session);
  options->engine.AddTo(*command, session);
  options->region.AddTo(*command, "--region", "where the foreground may be seen");
  command->formatter(std::make_shared<KeyHelp>());
  command->footer("Example: kv key actor.y4m --plate studio.y4m beach.y4m out.y4m --window 3");
  command->callback([options] { options->Run(); });
}

}  // namespace kv_host
