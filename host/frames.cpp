#include "host/frames.h"

#include <algorithm>
#include <chrono>
#include <utility>

#include "host/errors.h"
#include "host/formats/format_error.h"
#include "host/progress.h"

namespace kv_host {
namespace {

/// All frames: the range is the other input's.
ReadOptions WithAllFrames(ReadOptions options) {
  options.frames = {};
  return options;
}

/// With the colours that JPEG has: 601, full range, centred chroma.
Raster AsJpeg(const Raster& frame, const Engine& engine) {
  if (IsVideo(frame.kind)) {
    const bool hasThem = frame.range == ColourRange::Full && frame.matrix == ColourMatrix::Bt601 &&
                         frame.chroma == ChromaSite::Centre;
    return hasThem ? Convert(frame, RasterKind::Yuv422Planar, 0, engine)
                   : AsJpeg(Convert(frame, RasterKind::Dib24, 0, engine), engine);
  }
  // The options are about the 4:2:2 that comes in.
  Engine own = engine;
  own.colours = {};
  return ConvertToVideo(frame, RasterKind::Yuv422Planar, 0,
                        {.matrix = ColourMatrix::Bt601,
                         .range = ColourRange::Full,
                         .chroma = ChromaSite::Centre,
                         .height = frame.height},
                        own);
}

}  // namespace

CompanionInput::CompanionInput(const std::string& name, const ReadOptions& options, const PictureReader& main)
    : reader_(name, WithAllFrames(options)), main_(main.Name()) {
  const auto length = reader_.Length();
  const auto needed = ClipPart{main.Range(), main.Length()}.Count();
  if (!length || *length < 2 || !main.Length() || !needed) return;
  if (*length < main.Range().first + *needed) FailForFrames(*length);
}

void CompanionInput::FailForFrames(std::int64_t count) const {
  throw UsageError(Name() + ": has " + std::to_string(count) + " frames, fewer than the other input (" +
                   main_ + "); give as many, or one for all");
}

const Raster& CompanionInput::FrameBeside(std::int64_t number) {
  while (number >= count_) {
    auto next = reader_.Next();
    if (next) {
      current_ = std::move(next);
      ++count_;
    } else if (count_ == 1) {
      break;
    } else {
      FailForFrames(count_);
    }
  }
  return *current_;
}

void RequireEqualSizes(const Raster& a, const std::string& aName, const Raster& b, const std::string& bName) {
  if (a.width == b.width && a.height == b.height) return;
  throw UsageError(aName + " is " + std::to_string(a.width) + "x" + std::to_string(a.height) + ", " + bName +
                   " is " + std::to_string(b.width) + "x" + std::to_string(b.height) +
                   "; they must be of one size");
}

RasterKind KindToWrite(const PictureWriter& writer, RasterKind source) {
  const auto canWrite = [&](RasterKind kind) {
    return std::ranges::find(writer.Rasters(), kind) != writer.Rasters().end();
  };
  if (canWrite(source)) return source;
  if (source == RasterKind::Yuva422 && canWrite(RasterKind::Dib32)) return RasterKind::Dib32;
  return writer.Rasters().front();
}

void WriteConverted(PictureWriter& writer, Raster frame, const Engine& engine, int layout) {
  if (writer.Format() == FileFormat::Jpeg) return writer.Write(AsJpeg(frame, engine));
  const FormatTraits& format = TraitsOf(writer.Format());
  if (format.layout != 0) layout = format.layout;
  const RasterKind kind = KindToWrite(writer, frame.kind);
  writer.Write(Convert(std::move(frame), kind, layout, engine));
}

void WriteLuma(PictureWriter& writer, Raster result, const Raster& source, const Engine& engine) {
  const FormatTraits& format = TraitsOf(writer.Format());
  if (writer.Format() == FileFormat::Jpeg) return writer.Write(AsJpeg(result, engine));
  const RasterKind kind = KindToWrite(writer, result.kind);
  if (kind == result.kind) return writer.Write(std::move(result));
  writer.Write(IsVideo(source.kind) ? ConvertLuma(result, kind, format.layout, engine)
                                    : Convert(result, kind, format.layout, engine));
}

void Recorded(Session& session, std::int64_t number, const std::function<void()>& work) {
  if (!session.lines) return work();
  using Clock = std::chrono::steady_clock;
  session.record = JsonText::Object();
  session.record->Add("frame", number);
  const auto begin = Clock::now();
  work();
  const std::chrono::duration<double, std::milli> taken = Clock::now() - begin;
  session.record->Add("milliseconds", taken.count());
  session.PrintLine(session.record->Line());
  session.record.reset();
}

std::optional<Raster> NextWhole(ReadAhead& reader, Session& session, bool hasFrames) {
  try {
    return reader.Next();
  } catch (const TruncatedError& error) {
    if (!hasFrames) throw;
    session.failure = {BadInput, "format", error.what(), error.File(), error.Offset()};
    return std::nullopt;
  }
}

void ForEachFrame(PictureReader& reader, Session& session,
                  const std::function<void(Raster&, std::int64_t)>& work) {
  Progress progress("frames", ClipPart{reader.Range(), reader.Length()}.Count().value_or(0));
  ReadAhead ahead(reader, session.threads);
  for (bool hasFrames = false;; hasFrames = true) {
    auto frame = NextWhole(ahead, session, hasFrames);
    if (!frame) return;
    Recorded(session, ahead.Number(), [&] { work(*frame, ahead.Number()); });
    progress.Advance();
  }
}

}  // namespace kv_host
