#include <algorithm>
#include <exception>
#include <thread>

#include "host/av/av_module.h"
#include "host/av/av_writer.h"
#include "host/formats/limited_range.h"
#include "host/formats/packing.h"
#include "host/formats/raw_frames.h"

namespace kv_host {
namespace {

constexpr Ratio UsualRate = {.numerator = 25, .denominator = 1};

template <class Value>
constexpr int Number(Value value) {
  return static_cast<int>(value);
}
// Properties of rasters have the order of the door's.
static_assert(Number(Interlace::Unknown) == KvAvFieldsUnknown &&
              Number(Interlace::Progressive) == KvAvProgressive &&
              Number(Interlace::TopFieldFirst) == KvAvTopFirst &&
              Number(Interlace::BottomFieldFirst) == KvAvBottomFirst);
static_assert(Number(ColourRange::Unknown) == KvAvRangeUnknown &&
              Number(ColourRange::Limited) == KvAvLimited && Number(ColourRange::Full) == KvAvFull);
static_assert(Number(ColourMatrix::Unknown) == KvAvMatrixUnknown && Number(ColourMatrix::Bt601) == KvAv601 &&
              Number(ColourMatrix::Bt709) == KvAv709 && Number(ColourMatrix::Bt2020) == KvAv2020);
static_assert(Number(ChromaSite::Unknown) == KvAvSiteUnknown && Number(ChromaSite::Left) == KvAvLeft &&
              Number(ChromaSite::Centre) == KvAvCentre);
static_assert(Number(Transfer::Unknown) == KvAvTransferUnknown && Number(Transfer::Pq) == KvAvPq &&
              Number(Transfer::Hlg) == KvAvHlg);

Raster WithoutPlanes(const Raster& frame) {
  Raster shape = frame;
  shape.planes.clear();
  return shape;
}

bool HasFields(const Raster& frame) {
  return frame.interlace == Interlace::TopFieldFirst || frame.interlace == Interlace::BottomFieldFirst;
}

/// The shapes of picture that MPEG-2 has codes for, beside square pixels.
bool IsMpeg2Aspect(const Raster& frame) {
  const std::int64_t width = std::int64_t{frame.pixelAspect.numerator} * frame.width;
  const std::int64_t height = std::int64_t{frame.pixelAspect.denominator} * frame.height;
  return frame.pixelAspect.numerator == frame.pixelAspect.denominator || 3 * width == 4 * height ||
         9 * width == 16 * height || 100 * width == 221 * height;
}

}  // namespace

/// The module's side of one file.
class AvWriter::Recorder {
 public:
  Recorder(const KvAvTarget& target, ByteSink& sink) : sink_(&sink) {
    const auto module = AvModule();
    if (!module) {
      Refuse("this format is written by the package kv-algo-av, which is not installed");
    }
    std::string problem;
    door_ = LoadAvDoor(*module, problem);
    if (door_ == nullptr) Refuse(problem);
    const KvAvOutput output{
        .context = this, .write = WriteBytes, .seek = sink.WritesThrough() ? nullptr : Seek};
    char text[KvAvProblemSize] = "";
    Require(door_->create(&output, &target, &recording_, text), text);
  }
  Recorder(const Recorder&) = delete;
  Recorder& operator=(const Recorder&) = delete;
  ~Recorder() {
    if (recording_ != nullptr) door_->release(recording_);
  }

  void Add(const std::vector<std::uint8_t>& bytes, double time, ByteSink& sink) {
    sink_ = &sink;
    char text[KvAvProblemSize] = "";
    Require(door_->add(recording_, bytes.data(), bytes.size(), time, text), text);
  }

  void Finish(ByteSink& sink) {
    sink_ = &sink;
    char text[KvAvProblemSize] = "";
    Require(door_->finish(recording_, text), text);
  }

 private:
  static int WriteBytes(void* context, const std::uint8_t* bytes, int count) {
    return static_cast<Recorder*>(context)->Keep(
        [&](ByteSink& sink) { sink.Write(std::span(bytes, static_cast<std::size_t>(count))); });
  }

  static int Seek(void* context, std::int64_t position) {
    return static_cast<Recorder*>(context)->Keep([&](ByteSink& sink) { sink.Seek(position); });
  }

  /// Nothing may be thrown through the module.
  template <class Work>
  int Keep(const Work& work) {
    try {
      if (!thrown_) work(*sink_);
    } catch (...) {
      thrown_ = std::current_exception();
    }
    return thrown_ ? -1 : 0;
  }

  [[noreturn]] void Refuse(const std::string& problem) const { throw FormatError(sink_->Name(), problem); }

  void Require(int result, const char* problem) const {
    if (thrown_) std::rethrow_exception(thrown_);
    if (result != KvAvDone) Refuse(std::string("cannot be written: ") + problem);
  }

  ByteSink* sink_;
  const KvAvDoor* door_ = nullptr;
  KvAvRecording* recording_ = nullptr;
  std::exception_ptr thrown_;
};

AvWriter::AvWriter(FileFormat container, const AvCodec& codec, int threads, AvLog* log)
    : container_(container), codec_(codec), threads_(threads), log_(log) {}

AvWriter::~AvWriter() = default;

void AvWriter::WarnOfLosses(const Raster& frame, const std::string& name) {
  if (log_ == nullptr || !IsVideo(frame.kind)) return;
  const unsigned declared = AvDeclared(container_, codec_);
  const std::string where = std::string(TraitsOf(container_).name) + " with " + std::string(codec_.name);
  const auto warn = [&](const std::string& text) {
    const std::string whole = name + ": " + text;
    if (std::ranges::find(log_->warnings, whole) == log_->warnings.end()) log_->warnings.push_back(whole);
  };
  const auto check = [&](bool isKnown, unsigned property, const char* what) {
    if (isKnown && (declared & property) == 0) {
      warn(std::string(what) + " is not declared: " + where + " has no place for it");
    }
  };
  if (frame.range == ColourRange::Full && (declared & AvRange) == 0) {
    warn("full range became limited: " + where + " holds no other");
  }
  check(HasFields(frame), AvFields, "the order of the fields");
  check(frame.matrix != ColourMatrix::Unknown, AvMatrix, "the matrix");
  // Left is what is assumed.
  check(frame.chroma == ChromaSite::Centre, AvSite, "the position of chroma");
  check(frame.transfer != Transfer::Unknown, AvTransfer, "the transfer function");
  check(frame.time >= 0, AvTimes, "the time of each frame");
  if (codec_.name == "mpeg2" && frame.pixelAspect.denominator != 0 && !IsMpeg2Aspect(frame)) {
    warn("the shape of pixels is not kept: MPEG-2 has square ones and pictures of 4:3, 16:9 and 2.21:1");
  }
}

void AvWriter::Begin(const Raster& frame, const AvSamples& samples, ByteSink& sink) {
  const bool isEven = frame.width % codec_.widthStep == 0 && frame.height % codec_.heightStep == 0;
  if (!isEven) {
    throw FormatError(sink.Name(), std::string(codec_.name) + " has pictures of an even number of pixels" +
                                       (codec_.heightStep > 1 ? " and rows" : " in a row") +
                                       "; this one has " + std::to_string(frame.width) + "x" +
                                       std::to_string(frame.height));
  }
  if (sink.WritesThrough() && TraitsOf(container_).stream && container_ != FileFormat::Mkv) {
    throw FormatError(sink.Name(), std::string(TraitsOf(container_).name) +
                                       " files are written forth and back, not to a pipe; mkv can be");
  }
  const bool isStream = TraitsOf(container_).stream;
  const Ratio rate = frame.frameRate.numerator > 0 ? frame.frameRate : UsualRate;
  becomesLimited_ = IsVideo(frame.kind) && frame.range == ColourRange::Full &&
                    (AvDeclared(container_, codec_) & AvRange) == 0;
  const bool keepsTimes = frame.time >= 0 && (AvDeclared(container_, codec_) & AvTimes) != 0;
  const unsigned threads =
      threads_ > 0 ? static_cast<unsigned>(threads_) : std::thread::hardware_concurrency();
  const KvAvTarget target{.container = TraitsOf(container_).muxer,
                          .encoder = codec_.encoder,
                          .options = codec_.options,
                          .pixels = samples.pixels,
                          .width = frame.width,
                          .height = frame.height,
                          .threads = static_cast<int>(std::clamp(threads, 1U, 16U)),
                          .interlace = isStream ? Number(frame.interlace) : KvAvProgressive,
                          .range = becomesLimited_ ? KvAvLimited : Number(frame.range),
                          .matrix = IsVideo(frame.kind) ? Number(frame.matrix) : KvAvMatrixUnknown,
                          .site = Number(frame.chroma),
                          .transfer = Number(frame.transfer),
                          .rate = {rate.numerator, rate.denominator},
                          .aspect = {frame.pixelAspect.numerator, frame.pixelAspect.denominator},
                          .isVariable = keepsTimes ? 1 : 0};
  WarnOfLosses(frame, sink.Name());
  recorder_ = std::make_unique<Recorder>(target, sink);
  first_ = WithoutPlanes(frame);
  if (log_ != nullptr && isStream) log_->couldHoldSound = true;
}

void AvWriter::Store(const Raster& frame, const AvSamples& samples) {
  bytes_.clear();
  ByteSink memory(bytes_);
  if (frame.kind == RasterKind::Yuva422) {
    Raster opaque = frame;
    opaque.kind = RasterKind::Yuv422;
    opaque.planes.resize(1);
    WriteRaw(opaque, samples.raw, memory);
    memory.Write(frame.planes[1].bytes);
  } else if (frame.kind == RasterKind::Dib24 && codec_.name == "ffv1") {
    // Four bytes a pixel, the last one unused.
    const std::vector<std::uint8_t>& from = frame.planes[0].bytes;
    bytes_.resize(from.size() / 3 * 4);
    for (std::size_t i = 0; i < from.size() / 3; ++i) std::copy_n(&from[3 * i], 3, &bytes_[4 * i]);
  } else {
    WriteRaw(frame, samples.raw, memory);
  }
}

void AvWriter::Write(const Raster& frame, ByteSink& sink) {
  const auto samples = std::ranges::find(codec_.samples, frame.kind, &AvSamples::kind);
  if (samples == codec_.samples.end()) {
    throw FormatError(sink.Name(), std::string(codec_.name) + " does not hold " + NameOf(frame.kind));
  }
  if (!recorder_) Begin(frame, *samples, sink);
  if (frame.width != first_.width || frame.height != first_.height || frame.kind != first_.kind ||
      frame.interlace != first_.interlace ||
      (frame.range == ColourRange::Full) != (first_.range == ColourRange::Full) ||
      (frame.chroma == ChromaSite::Centre) != (first_.chroma == ChromaSite::Centre)) {
    throw FormatError(sink.Name(),
                      "all frames of a video have one size, one kind of samples, one interlace, one colour "
                      "range and one chroma position; this one differs from the first");
  }
  Store(becomesLimited_ ? WithLimitedRange(frame) : frame, *samples);
  recorder_->Add(bytes_, frame.time, sink);
}

void AvWriter::Finish(ByteSink& sink) {
  if (recorder_) recorder_->Finish(sink);
  recorder_.reset();
}

}  // namespace kv_host
