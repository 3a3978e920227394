#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <thread>
#include <utility>

#include "host/av/av_child.h"
#include "host/av/av_module.h"
#include "host/av/av_reader.h"
#include "host/av/wire.h"
#include "host/formats/file_format.h"

namespace kv_host {
namespace {

/// The module's file. Throws FormatError.
std::string ModuleFor(const ByteSource& source) {
  if (const auto module = AvModule()) return *module;
  throw FormatError(
      source.Name(), 0,
      "the format is not known; name it: " + FormatNames() +
          "; the package kv-algo-av, which is not installed, reads MP4, MOV, MXF, JPEG, TIFF and others");
}

std::int64_t QuarterOfTheMachine() {
  return sysconf(_SC_PHYS_PAGES) / 4 * sysconf(_SC_PAGESIZE);
}

std::vector<std::string> ArgumentsFor(const ByteSource& source, const AvOptions& options,
                                      std::int64_t first) {
  const unsigned wanted =
      options.threads > 0 ? static_cast<unsigned>(options.threads) : std::thread::hardware_concurrency();
  const unsigned threads = std::clamp(wanted, 1U, 16U);
  return {ModuleFor(source),
          std::to_string(options.stream),
          std::to_string(threads),
          options.skipDamaged ? "1" : "0",
          std::to_string(first),
          std::to_string(options.maxMemory > 0 ? options.maxMemory : QuarterOfTheMachine()),
          source.Remaining() ? "1" : "0",
          options.dither == Dither::Ordered ? "1" : "0"};
}

template <class Struct>
std::span<std::uint8_t> BytesOf(Struct& object) {
  return {reinterpret_cast<std::uint8_t*>(&object), sizeof object};
}

/// What the child says about one file.
class Conversation {
 public:
  Conversation(ByteSource& source, const AvOptions& options, std::int64_t first)
      : source_(source), child_(source, ArgumentsFor(source, options, first)) {
    WireHeader header = Expect();
    if (header.kind == WireKind::Failure) ThrowFailure();
    Read(header, WireKind::Info, info_);
  }

  const KvAvInfo& Info() const { return info_; }

  /// The header of the next frame; false after the last, `frames` then being the clip's.
  bool NextFrame(KvAvFrame& frame, std::int64_t& frames) {
    const WireHeader header = Expect();
    if (header.kind == WireKind::Failure) ThrowFailure();
    if (header.kind == WireKind::End) {
      WireEnd end{};
      Read(header, WireKind::End, end);
      frames = end.frames;
      return false;
    }
    Read(header, WireKind::Frame, frame);
    number_ = frame.number;
    return true;
  }

  void ReadRows(std::span<std::uint8_t> rows) {
    if (!child_.Read(rows)) ThrowEnding();
  }

 private:
  WireHeader Expect() {
    WireHeader header{};
    if (!child_.Read(BytesOf(header))) ThrowEnding();
    return header;
  }

  template <class Struct>
  void Read(const WireHeader& header, WireKind kind, Struct& body) {
    if (header.kind != kind || header.bytes != sizeof body || !child_.Read(BytesOf(body))) ThrowEnding();
  }

  [[noreturn]] void ThrowEnding() {
    throw FormatError(source_.Name(), child_.Ending() + " at frame " + std::to_string(number_ + 1));
  }

  [[noreturn]] void ThrowFailure() {
    WireFailure failure{};
    if (!child_.Read(BytesOf(failure))) ThrowEnding();
    failure.problem[KvAvProblemSize - 1] = '\0';
    std::string problem = failure.problem;
    if (failure.result == KvAvUnknownFormat) {
      throw FormatError(source_.Name(), 0, "the format is not known; name it: " + FormatNames());
    }
    if (failure.hasFrame != 0) {
      std::array<char, 32> time{};
      if (failure.time >= 0) std::snprintf(time.data(), time.size(), " at %.3f s", failure.time);
      problem = "frame " + std::to_string(failure.number) + time.data() + " cannot be decoded: " + problem;
    }
    throw FormatError(source_.Name(), problem);
  }

  ByteSource& source_;
  AvChild child_;
  KvAvInfo info_{};
  std::int64_t number_ = -1;
};

RasterKind KindOf(const KvAvFrame& frame) {
  switch (frame.kind) {
    case KvAvPacked:
      return RasterKind::Yuv422;
    case KvAvPackedAlpha:
      return RasterKind::Yuva422;
    case KvAvPlanar:
      return RasterKind::Yuv422Planar;
    case KvAvBgr:
      return RasterKind::Dib24;
    case KvAvBgra:
      return RasterKind::Dib32;
    default:
      return RasterKind::Grey8;
  }
}

template <class Value, std::size_t count>
Value Among(const Value (&values)[count], int index) {
  return index >= 0 && index < static_cast<int>(count) ? values[index] : values[0];
}

class AvReader final : public FrameReader {
 public:
  AvReader(ByteSource& source, const AvOptions& options, std::int64_t first)
      : source_(source),
        child_(source, options, first),
        log_(options.log),
        rate_(options.rate),
        first_(first) {
    if (log_ == nullptr) return;
    const KvAvInfo& info = child_.Info();
    const std::span streams(info.streams,
                            static_cast<std::size_t>(std::min<int>(info.streamCount, KvAvMostStreams)));
    const bool hasSound = std::ranges::any_of(
        streams, [](const KvAvStream& stream) { return std::strcmp(stream.kind, "audio") == 0; });
    log_->notes.push_back({.file = source.Name(),
                           .container = info.container,
                           .codec = info.codec,
                           .pixels = info.pixels,
                           .path = "none",
                           .hasSound = hasSound,
                           .hasVariableRate = info.isVariable != 0 && rate_ == Ratio{},
                           .rotation = info.rotation});
    note_ = log_->notes.size() - 1;
  }

  std::int64_t FirstNumber() const override { return first_; }
  const KvAvInfo* Declared() const override { return &child_.Info(); }

  std::optional<Raster> Next() override {
    if (hasEnded_) return std::nullopt;
    KvAvFrame frame{};
    try {
      if (child_.NextFrame(frame, frames_)) return RasterOf(frame);
    } catch (const FormatError& error) {
      // The pictures before it are good.
      if (given_ == 0 || log_ == nullptr) throw;
      log_->damage = error;
    }
    hasEnded_ = true;
    if (given_ == 0 && first_ > 0) {
      source_.Fail("the file holds " + std::to_string(frames_) + " frames, so there is no frame " +
                   std::to_string(first_) + " (the first is 0)");
    }
    return std::nullopt;
  }

 private:
  Raster RasterOf(const KvAvFrame& frame) {
    const std::string problem = SizeProblem(frame.width, frame.height);
    if (!problem.empty()) throw FormatError(source_.Name(), problem);
    const RasterKind kind = KindOf(frame);
    const bool isPacked = kind == RasterKind::Yuv422 || kind == RasterKind::Yuva422;
    Raster raster = MakeRaster(kind, frame.width, frame.height,
                               !isPacked                  ? 0
                               : frame.isChromaFirst != 0 ? LayoutChromaFirst
                                                          : LayoutLumaFirst);
    for (Plane& plane : raster.planes) child_.ReadRows(plane.bytes);
    raster.interlace = Among(
        {Interlace::Unknown, Interlace::Progressive, Interlace::TopFieldFirst, Interlace::BottomFieldFirst},
        frame.interlace);
    raster.frameRate = rate_ != Ratio{} ? rate_ : Ratio{frame.rate[0], frame.rate[1]};
    raster.pixelAspect = {frame.aspect[0], frame.aspect[1]};
    const bool isYuv = isPacked || kind == RasterKind::Yuv422Planar;
    if (isYuv) {
      raster.matrix =
          Among({ColourMatrix::Unknown, ColourMatrix::Bt601, ColourMatrix::Bt709, ColourMatrix::Bt2020},
                frame.matrix);
      raster.chroma = Among({ChromaSite::Unknown, ChromaSite::Left, ChromaSite::Centre}, frame.site);
      raster.range = Among({ColourRange::Unknown, ColourRange::Limited, ColourRange::Full}, frame.range);
    }
    raster.transfer = Among({Transfer::Unknown, Transfer::Pq, Transfer::Hlg}, frame.transfer);
    if (log_ != nullptr) log_->notes[note_].path = Among({"direct", "rule", "swscale"}, frame.path);
    ++given_;
    return raster;
  }

  ByteSource& source_;
  Conversation child_;
  AvLog* log_;
  Ratio rate_;
  std::int64_t first_;
  std::int64_t frames_ = 0;
  std::int64_t given_ = 0;
  std::size_t note_ = 0;
  bool hasEnded_ = false;
};

}  // namespace

std::unique_ptr<FrameReader> OpenAv(ByteSource& source, const AvOptions& options, std::int64_t first) {
  return std::make_unique<AvReader>(source, options, first);
}

}  // namespace kv_host
