#include <algorithm>
#include <map>
#include <memory>
#include <utility>
#include <vector>

#include "frame/interfaces/average_filter.h"
#include "host/commands/command.h"
#include "host/errors.h"
#include "host/fields.h"
#include "host/frames.h"
#include "host/raster_image.h"

namespace kv_host {
namespace {

using GreyPixel = kv_img::PixelNoColor<unsigned char>;
using GreyImage = kv_img::Image<GreyPixel>;
using kv_img::RunRegion;

/// Samples of one kind in a plane: every `step`-th byte of a row from byte `first` on.
struct Component {
  std::size_t plane;
  std::size_t first;
  std::size_t step;
  int columns;
  bool isOfPairs = false;

  std::size_t ByteOf(int column) const { return first + step * static_cast<std::size_t>(column); }
};

bool IsPackedVideo(const Raster& frame) {
  return frame.kind == RasterKind::Yuv422 || frame.kind == RasterKind::Yuva422;
}

/// Luma first, where there is luma.
std::vector<Component> ComponentsOf(const Raster& frame) {
  const int width = frame.width;
  const int pairs = (width + 1) / 2;
  if (IsPackedVideo(frame)) {
    const std::size_t luma = frame.layout == LayoutLumaFirst ? 0 : 1;
    std::vector<Component> components = {
        {0, luma, 2, width}, {0, 1 - luma, 4, pairs, true}, {0, 3 - luma, 4, pairs, true}};
    if (frame.kind == RasterKind::Yuva422) components.push_back({1, 0, 1, width});
    return components;
  }
  if (frame.kind == RasterKind::Yuv422Planar) {
    return {{0, 0, 1, width}, {1, 0, 1, pairs, true}, {2, 0, 1, pairs, true}};
  }
  if (frame.kind == RasterKind::Grey8) return {{0, 0, 1, width}};
  std::vector<Component> components;
  const std::size_t pixelBytes = frame.kind == RasterKind::Dib32 ? 4 : 3;
  for (std::size_t i = 0; i < pixelBytes; ++i) components.push_back({0, i, pixelBytes, width});
  return components;
}

/// The region's samples of a component. A sample of a pair belongs to it when one of its pixels does.
RunRegion SamplesIn(const RunRegion& where, const Component& component) {
  if (!component.isOfPairs) return where;
  std::vector<int> first;
  std::vector<int> last;
  for (int row = where.GetTop(); row <= where.GetBottom(); ++row) {
    const bool isEmpty = where.GetRight(row) < where.GetLeft(row);
    first.push_back(isEmpty ? 0 : where.GetLeft(row) / 2);
    last.push_back(isEmpty ? -1 : where.GetRight(row) / 2);
  }
  return {where.GetTop(), std::move(first), std::move(last)};
}

/// A row of samples, those of either side `step` bytes apart.
void CopySamples(const std::uint8_t* from, std::size_t fromStep, std::uint8_t* to, std::size_t toStep,
                 int count) {
  if (fromStep == 1 && toStep == 1) {
    std::copy_n(from, std::max(count, 0), to);
    return;
  }
  for (; count > 0; --count, from += fromStep, to += toStep) *to = *from;
}

void FilterComponent(Raster& frame, const Component& component, const RowSet& rows, const RunRegion& where,
                     unsigned window, const Engine& with) {
  const RunRegion region = SamplesIn(RegionIn(where, rows), component);
  if (region.GetBottom() < region.GetTop()) return;
  const auto& operation = with.family.Require<kv_img::AverageFilterAlgorithmInterface<GreyImage>>(
      "AverageFilter", {GreyPixel::ClassID});
  const int height = rows.CountIn(frame.height);
  const auto from = MakeWorkingImage<GreyPixel>(component.columns, height);
  const auto to = MakeWorkingImage<GreyPixel>(component.columns, height);
  const auto rowOf = [&](int y) { return frame.planes[component.plane].Row(rows.first + y * rows.step); };
  constexpr auto plane = kv_img::PixelComponent::Luma;
  for (int y = region.GetTop(); y <= region.GetBottom(); ++y) {
    CopySamples(rowOf(y).data() + component.first, component.step, from->PlaneRow(plane, y).data(), 1,
                component.columns);
  }
  with.Run("AverageFilter", operation, *from, *to, region, window);
  for (int y = region.GetTop(); y <= region.GetBottom(); ++y) {
    const int left = region.GetLeft(y);
    CopySamples(to->PlaneRow(plane, y).data() + left, 1, rowOf(y).data() + component.ByteOf(left),
                component.step, region.GetRight(y) - left + 1);
  }
}

/// Where the width of packed pairs is odd, the luma byte that has no pixel repeats the last one.
void RepeatLastLuma(Raster& frame, const Component& luma) {
  if (!IsPackedVideo(frame) || frame.width % 2 == 0) return;
  for (int y = 0; y < frame.height; ++y) {
    const auto row = frame.planes[0].Row(y);
    row[luma.ByteOf(frame.width)] = row[luma.ByteOf(frame.width - 1)];
  }
}

enum class FilterPlanes { Luma, All };

struct FilterOptions {
  std::string input;
  OutputOptions output;
  unsigned window = 0;
  FilterPlanes planes = FilterPlanes::All;
  InputOptions inputOptions;
  EngineOptions engine;
  RegionOptions region;

  void Run() const {
    const OwnedEngine owned(engine);
    const Engine with = owned.Get();
    PictureReader reader(input, inputOptions.Get());
    inputOptions.RequireUse({&reader});
    PictureWriter writer = output.Open(reader);
    ForEachFrame(reader, *engine.session, [&](Raster& frame, std::int64_t) {
      if (KindToWrite(writer, frame.kind) == RasterKind::Grey8) {
        return WriteLuma(writer, Filtered(ConvertLuma(frame, RasterKind::Grey8, 0, with), with), frame, with);
      }
      const bool hasFewColours = frame.kind == RasterKind::Dib15 || frame.kind == RasterKind::Dib16;
      if (hasFewColours) frame = Convert(frame, RasterKind::Dib24, 0, with);
      WriteConverted(writer, Filtered(std::move(frame), with), with);
    });
    owned.Finish(writer);
  }

 private:
  /// Outside the region the picture stays as it is.
  Raster Filtered(Raster frame, const Engine& with) const {
    std::vector<Component> components = ComponentsOf(frame);
    if (planes == FilterPlanes::Luma) {
      if (!IsVideo(frame.kind) && frame.kind != RasterKind::Grey8) {
        throw UsageError("--planes y: " + input +
                         " is RGB, which has no luma of its own; convert it to 4:2:2 first, write grey, or "
                         "filter all components");
      }
      components.resize(1);
    }
    const RunRegion where = MakeRegion(region.text, frame.width, frame.height, input);
    for (const Component& component : components) {
      for (const RowSet& rows : TimesOf(HasFields(frame), frame.height)) {
        FilterComponent(frame, component, rows, where, window, with);
      }
    }
    RepeatLastLuma(frame, components.front());
    return frame;
  }
};

}  // namespace

void AddFilterCommand(CLI::App& app, Session& session) {
  auto options = std::make_shared<FilterOptions>();
  CLI::App* command = app.add_subcommand(
      "filter", "Box filter of every component, of each field of an interlaced clip by itself");
  command->add_option("IN", options->input, "picture or video; - is standard input")->required();
  options->output.AddTo(*command, session,
                        "file to write; - is standard output. A grey format, such as out.pgm, gets the luma");
  command->add_option("--window", options->window, "side of the box in samples, 1 to 255")
      ->required()
      ->check(CLI::Range(1, 255))
      ->type_name("K");
  const std::map<std::string, FilterPlanes> planes = {{"y", FilterPlanes::Luma}, {"all", FilterPlanes::All}};
  command
      ->add_option_function<std::string>(
          "--planes", [options, planes](const std::string& name) { options->planes = planes.at(name); },
          "y filters luma and keeps chroma and alpha, all filters each component by itself (default: all)")
      ->check(CLI::IsMember(planes))
      ->type_name("NAME");
  options->inputOptions.AddWithFramesTo(*command, session);
  options->engine.AddTo(*command, session);
  options->region.AddTo(*command, "--region", "where to filter");
  command->footer("Example: kv filter clip.y4m soft.y4m --window 9 --planes y");
  command->callback([options] { options->Run(); });
}

}  // namespace kv_host
