#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <thread>
#include <utility>

#include "host/av/av_child.h"
#include "host/av/av_messages.h"
#include "host/av/av_module.h"
#include "host/av/av_reader.h"
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

/// By default a quarter of the machine's.
std::int64_t MemoryOf(const AvOptions& options) {
  return options.maxMemory > 0 ? options.maxMemory : sysconf(_SC_PHYS_PAGES) / 4 * sysconf(_SC_PAGESIZE);
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
          std::to_string(MemoryOf(options)),
          source.Remaining() ? "1" : "0",
          options.dither == Dither::Ordered ? "1" : "0"};
}

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
  AvReader(ByteSource& source, std::unique_ptr<AvPeer> peer, const AvOptions& options, std::int64_t first)
      : source_(source),
        peer_(std::move(peer)),
        messages_(*peer_, source.Name()),
        log_(options.log),
        rate_(options.rate),
        first_(first) {
    if (log_ == nullptr) return;
    const KvAvInfo& info = messages_.Info();
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
                           .rotation = info.rotation,
                           .times = {}});
    note_ = log_->notes.size() - 1;
  }

  std::int64_t FirstNumber() const override { return first_; }
  const KvAvInfo* Declared() const override { return &messages_.Info(); }

  std::optional<Raster> Next() override {
    if (hasEnded_) return std::nullopt;
    KvAvFrame frame{};
    try {
      if (messages_.NextFrame(frame, frames_)) return RasterOf(frame);
    } catch (const FormatError& error) {
      // The pictures before it are good.
      if (given_ == 0 || log_ == nullptr) throw;
      log_->damage = error;
    }
    hasEnded_ = true;
    if (given_ == 0 && first_ > 0) {
      source_.Fail("the file holds " + std::to_string(frames_) + (frames_ == 1 ? " frame" : " frames") +
                   ", so there is no frame " + std::to_string(first_) + " (the first is 0)");
    }
    return std::nullopt;
  }

 private:
  Raster RasterOf(const KvAvFrame& frame) {
    const std::string problem = SizeProblem(frame.width, frame.height);
    if (!problem.empty()) throw FormatError(source_.Name(), problem);
    const RasterKind kind = KindOf(frame);
    const bool isPacked = kind == RasterKind::Yuv422 || kind == RasterKind::Yuva422;
    Raster raster = MakeEmptyRaster(kind, frame.width, frame.height,
                                    !isPacked                  ? 0
                                    : frame.isChromaFirst != 0 ? LayoutChromaFirst
                                                               : LayoutLumaFirst);
    std::span<const std::uint8_t> bytes = peer_->Frame();
    if (raster.ByteCount() > bytes.size()) {
      throw FormatError(source_.Name(), "a frame of " + std::to_string(frame.width) + "x" +
                                            std::to_string(frame.height) +
                                            " takes more memory than --max-memory allows");
    }
    for (Plane& plane : raster.planes) {
      const auto rows = bytes.first(plane.stride * static_cast<std::size_t>(plane.rows));
      plane.bytes.assign(rows.begin(), rows.end());
      bytes = bytes.subspan(rows.size());
    }
    peer_->ReleaseFrame();
    raster.interlace = Among(
        {Interlace::Unknown, Interlace::Progressive, Interlace::TopFieldFirst, Interlace::BottomFieldFirst},
        frame.interlace);
    raster.frameRate = rate_ != Ratio{} ? rate_ : Ratio{frame.rate[0], frame.rate[1]};
    raster.pixelAspect = {frame.aspect[0], frame.aspect[1]};
    if (messages_.Info().isVariable != 0 && rate_ == Ratio{}) raster.time = frame.time;
    const bool isYuv = isPacked || kind == RasterKind::Yuv422Planar;
    if (isYuv) {
      raster.matrix =
          Among({ColourMatrix::Unknown, ColourMatrix::Bt601, ColourMatrix::Bt709, ColourMatrix::Bt2020},
                frame.matrix);
      raster.chroma = Among({ChromaSite::Unknown, ChromaSite::Left, ChromaSite::Centre}, frame.site);
      raster.range = Among({ColourRange::Unknown, ColourRange::Limited, ColourRange::Full}, frame.range);
    }
    raster.transfer = Among({Transfer::Unknown, Transfer::Pq, Transfer::Hlg}, frame.transfer);
    if (log_ != nullptr) {
      AvNote& note = log_->notes[note_];
      note.path = Among({"direct", "rule", "swscale"}, frame.path);
      if (messages_.Info().isVariable != 0) note.times.push_back(frame.time);
    }
    ++given_;
    return raster;
  }

  ByteSource& source_;
  std::unique_ptr<AvPeer> peer_;
  AvMessages messages_;
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
  return ReadAv(source,
                std::make_unique<AvChild>(source, MemoryOf(options), ArgumentsFor(source, options, first)),
                options, first);
}

std::unique_ptr<FrameReader> ReadAv(ByteSource& source, std::unique_ptr<AvPeer> peer,
                                    const AvOptions& options, std::int64_t first) {
  return std::make_unique<AvReader>(source, std::move(peer), options, first);
}

}  // namespace kv_host
