#include <map>
#include <memory>
#include <utility>

#include "frame/interfaces/parity_change.h"
#include "host/commands/command.h"
#include "host/errors.h"
#include "host/formats/packing.h"
#include "host/frames.h"
#include "host/raster_image.h"
#include "run/parity_methods.h"

namespace kv_host {
namespace {

using Frame422 = kv_img::Image<kv_img::PixelYUV422>;
using kv_img::ImageRect;

enum class ParityMethod { Line, Field, Blend };

/// Bytes of a row that hold columns `first` to `last` of a plane whose samples have whole bytes.
struct ByteSpan {
  std::size_t first;
  std::size_t count;
};

ByteSpan BytesOf(const Raster& frame, std::size_t plane, int first, int last) {
  const bool isPairs = frame.kind == RasterKind::Yuv422Planar && plane > 0;
  const std::size_t unit = isPairs ? 1 : frame.planes[plane].stride / static_cast<std::size_t>(frame.width);
  const std::size_t begin = unit * static_cast<std::size_t>(isPairs ? first / 2 : first);
  return {begin, unit * (static_cast<std::size_t>(isPairs ? last / 2 : last) + 1) - begin};
}

/// A picture whose rows the methods move: in bytes that are samples, packed pairs taken apart where a region may cut them.
Raster InSamples(const Raster& frame, bool hasRegion, const Engine& with) {
  if (frame.kind == RasterKind::Dib15 || frame.kind == RasterKind::Dib16) {
    return Convert(frame, RasterKind::Dib24, 0, with);
  }
  if (!hasRegion) return frame;
  if (frame.kind == RasterKind::Yuva422) return Unpack(Convert(frame, RasterKind::Yuv422, 0, with));
  return frame.kind == RasterKind::Yuv422 ? Unpack(frame) : frame;
}

void MovePlane(const Raster& from, Raster& to, std::size_t plane, const ImageRect& where, ParityMethod method,
               const Engine& with) {
  const bool isWhole = where.GetLeft() == 0 && where.GetRight() == from.width - 1;
  const ByteSpan span = isWhole ? ByteSpan{0, from.planes[plane].stride}
                                : BytesOf(from, plane, where.GetLeft(), where.GetRight());
  const int height = where.GetBottom() - where.GetTop() + 1;
  const auto stride = static_cast<std::ptrdiff_t>(from.planes[plane].stride);
  const kv_run::PlaneRows<const std::uint8_t> source{
      from.planes[plane].Row(where.GetTop()).data() + span.first, stride};
  const kv_run::PlaneRows<std::uint8_t> destination{to.planes[plane].Row(where.GetTop()).data() + span.first,
                                                    stride};
  const auto shift =
      from.interlace == Interlace::BottomFieldFirst ? kv_run::LineShift::Up : kv_run::LineShift::Down;
  with.pool.Run([&](kv_std::SpinBarrier& barrier, std::uint32_t index) {
    const auto threads = static_cast<std::int64_t>(barrier.GetThreadCount());
    const auto first = static_cast<int>(height * std::int64_t{index} / threads);
    const auto last = static_cast<int>(height * (std::int64_t{index} + 1) / threads) - 1;
    if (method == ParityMethod::Line) {
      ShiftLines(source, destination, span.count, height, first, last, shift);
    } else {
      InterpolateFields(source, destination, span.count, height, first, last);
    }
  });
}

struct ParityOptions {
  std::string input;
  OutputOptions output;
  std::string region;
  ParityMethod method = ParityMethod::Line;
  bool isForced = false;
  InputOptions inputOptions;
  EngineOptions engine;

  void Run() const {
    const OwnedEngine owned(engine);
    const Engine with = owned.Get();
    PictureReader reader(input, inputOptions.Get());
    inputOptions.RequireUse({&reader});
    PictureWriter writer = output.Open(reader);
    ForEachFrame(reader, *engine.session, [&](const Raster& frame, std::int64_t) {
      if (frame.interlace == Interlace::Progressive && !isForced) {
        throw UsageError(
            reader.Name() +
            ": is progressive, it has no fields to change; --force moves its lines all the same, and "
            "--fields states the order of raw frames");
      }
      Raster result = method == ParityMethod::Blend ? Blended(frame, with) : Moved(frame, with);
      result.interlace = frame.interlace == Interlace::BottomFieldFirst ? Interlace::TopFieldFirst
                                                                        : Interlace::BottomFieldFirst;
      WriteConverted(writer, std::move(result), with);
    });
    owned.Finish(writer);
  }

 private:
  ImageRect Where(const Raster& frame) const {
    if (region.empty()) return {0, 0, frame.width - 1, frame.height - 1};
    return ParseRect(region, "--region", frame.width, frame.height);
  }

  Raster Moved(const Raster& frame, const Engine& with) const {
    const Raster from = InSamples(frame, !region.empty(), with);
    // Outside the region the picture stays as it is.
    Raster to = from;
    for (std::size_t plane = 0; plane < from.planes.size(); ++plane) {
      MovePlane(from, to, plane, Where(frame), method, with);
    }
    return to;
  }

  /// "ParityChange": every line is the mean of two neighbours of the woven frame.
  Raster Blended(const Raster& frame, const Engine& with) const {
    const auto& operation = with.family.Require<kv_img::ParityChangeAlgorithmInterface<Frame422, Frame422>>(
        "ParityChange", {kv_img::PixelYUV422::ClassID, kv_img::PixelYUV422::ClassID});
    const Raster packed = ConvertLuma(frame, RasterKind::Yuv422, 0, with);
    kv_img::ImageOptions properties;
    properties.properties.fieldOrder = frame.interlace == Interlace::BottomFieldFirst ? 1 : 0;
    const auto from = ToImage<kv_img::PixelYUV422>(packed, properties);
    const auto to = ToImage<kv_img::PixelYUV422>(packed, properties);
    with.Time("ParityChange", [&] {
      if (region.empty()) {
        operation.Apply(*from, *to);
      } else {
        operation.Apply(*from, *to, Where(frame));
      }
    });
    Raster result = ToRaster(*to, packed);
    return frame.kind == RasterKind::Grey8 ? ConvertLuma(result, RasterKind::Grey8, 0, with) : result;
  }
};

}  // namespace

void AddParityCommand(CLI::App& app, Session& session) {
  auto options = std::make_shared<ParityOptions>();
  CLI::App* command = app.add_subcommand("parity", "Change the field order of an interlaced clip");
  command->add_option("IN", options->input, "picture or video; - is standard input")->required();
  options->output.AddTo(*command, session, "file to write; - is standard output");
  const std::map<std::string, ParityMethod> methods = {
      {"line", ParityMethod::Line}, {"field", ParityMethod::Field}, {"blend", ParityMethod::Blend}};
  command
      ->add_option_function<std::string>(
          "--method", [options, methods](const std::string& name) { options->method = methods.at(name); },
          "line moves the picture by a line, field makes every line from the two beside it, blend is the "
          "mean of two "
          "lines, which mixes the fields (default: line)")
      ->check(CLI::IsMember(methods))
      ->type_name("NAME");
  command->add_flag("--force", options->isForced, "progressive clips too, as if their top field were first");
  command->add_option("--region", options->region, "work only inside the rectangle x,y,w,h")
      ->type_name("RECT");
  options->inputOptions.AddWithFramesTo(*command, session);
  options->engine.AddTo(*command, session);
  command->footer("Example: kv parity top-first.y4m bottom-first.y4m");
  command->callback([options] { options->Run(); });
}

}  // namespace kv_host
