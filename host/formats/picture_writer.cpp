#include "host/formats/picture_writer.h"

#include <algorithm>
#include <system_error>
#include <thread>
#include <utility>

#include "host/formats/bmp.h"
#include "host/formats/file_name.h"
#include "host/formats/format_error.h"
#include "host/formats/png_file.h"
#include "host/formats/pnm.h"
#include "host/formats/raw_frames.h"

namespace kv_host {
namespace {

FileFormat Decide(const std::string& name, const WriteOptions& options) {
  if (options.format) return *options.format;
  if (const auto named = FormatOfExtension(name)) return *named;
  // The format that programs for video pass on to one another.
  if (name == "-") return FileFormat::Y4m;
  throw FormatError(name, "the format is not known; name it: " + WritableFormatNames());
}

bool Exists(const std::string& name) {
  std::error_code error;
  return std::filesystem::exists(std::filesystem::symlink_status(PathOf(name), error));
}

}  // namespace

std::optional<std::int64_t> ClipPart::Count() const {
  if (!length) return frames.count;
  const std::int64_t rest = std::max<std::int64_t>(*length - frames.first, 0);
  return frames.count ? std::min(*frames.count, rest) : rest;
}

PictureWriter::PictureWriter(const std::string& name, const WriteOptions& options)
    : name_(name),
      options_(options),
      format_(Decide(name, options)),
      frameNames_(name, options.clip.has_value()),
      hasOwnFiles_(frameNames_.IsPattern() || !TraitsOf(format_).stream),
      isNumbered_(frameNames_.IsPattern()) {
  if (TraitsOf(format_).muxer != nullptr || !options_.codec.empty()) {
    codec_ = &AvCodecOf(format_, options_.codec, name);
    for (const AvSamples& samples : codec_->samples) rasters_.push_back(samples.kind);
  } else {
    const auto& kinds = TraitsOf(format_).writableRasters;
    rasters_.assign(kinds.begin(), kinds.end());
  }
  sinks_.emplace_back(isNumbered_ ? NumberedName(0) : name);
  if (!hasOwnFiles_ || !options_.clip || sinks_.front().WritesThrough()) return;
  // The requested count decides, not the frames left: the last part of a clip may be one frame.
  const auto wanted = options_.clip->frames.count ? options_.clip->frames.count : options_.clip->Count();
  if (wanted.value_or(1) > 1) isNumbered_ = true;
  if (isNumbered_ && !options_.overwrite) RequireNewFiles();
}

void PictureWriter::RequireNewFiles() const {
  // More names take too long; Commit() tries them all.
  constexpr std::int64_t MostNames = 100000;
  const std::int64_t count = std::min(options_.clip->Count().value_or(1), MostNames);
  for (std::int64_t i = 0; i < count; ++i) {
    const std::string name = NumberedName(i);
    if (Exists(name)) throw ExistsError(name);
  }
}

int PictureWriter::Digits() const {
  constexpr int Fewest = 4;
  constexpr int UnknownLength = 6;
  std::int64_t length = count_;
  if (options_.clip) {
    if (!options_.clip->length && options_.clip->frames.count) return UnknownLength;
    length = options_.clip->length.value_or(count_);
  }
  return std::max(Fewest, static_cast<int>(std::to_string(length - 1).size()));
}

std::string PictureWriter::NumberedName(std::int64_t index) const {
  return frameNames_.Of((options_.clip ? options_.clip->frames.first : 0) + index, Digits());
}

bool PictureWriter::MayWriteBehind() const {
  const unsigned threads =
      options_.threads > 0 ? static_cast<unsigned>(options_.threads) : std::thread::hardware_concurrency();
  // An encoder is a process of its own; frames with files of their own make and name them in order.
  return threads > 1 && codec_ == nullptr && (!hasOwnFiles_ || sinks_.front().WritesThrough());
}

void PictureWriter::WriteToOne(const Raster& frame) {
  ByteSink& sink = sinks_.back();
  Encode(frame, sink);
  if (sink.WritesThrough()) sink.Flush();
}

void PictureWriter::Write(Raster frame) {
  if (std::ranges::find(rasters_, frame.kind) == rasters_.end()) {
    throw FormatError(sinks_.front().Name(),
                      "a " + std::string(TraitsOf(format_).name) + " file cannot hold " + NameOf(frame.kind));
  }
  const bool ownFile = hasOwnFiles_ && !sinks_.front().WritesThrough();
  if (ownFile && count_ > 0) {
    sinks_.emplace_back(frameNames_.IsPattern() ? NumberedName(count_) : name_);
    y4m_ = Y4mWriter();
  }
  if (count_++ == 1 && MayWriteBehind()) {
    try {
      behind_ = std::make_unique<WriteBehind>([this](const Raster& next) { WriteToOne(next); });
    } catch (const std::system_error&) {
      // Without a thread every frame is written at once.
    }
  }
  if (behind_ != nullptr) return behind_->Put(std::move(frame));
  if (!ownFile) return WriteToOne(frame);
  Encode(frame, sinks_.back());
  sinks_.back().Finish();
}

void PictureWriter::Encode(const Raster& frame, ByteSink& sink) {
  if (codec_ != nullptr) {
    if (av_ == nullptr || hasOwnFiles_)
      av_ = std::make_unique<AvWriter>(format_, *codec_, options_.threads, options_.log);
    av_->Write(frame, sink);
    if (hasOwnFiles_) av_->Finish(sink);
    return;
  }
  if (TraitsOf(format_).raw != nullptr) return WriteRaw(frame, format_, sink);
  switch (format_) {
    case FileFormat::Y4m:
      y4m_.Write(frame, sink);
      break;
    case FileFormat::Bmp:
      WriteBmp(frame, sink);
      break;
    case FileFormat::Png:
      WritePng(frame, sink);
      break;
    default:
      WritePnm(frame, sink);
      break;
  }
}

void PictureWriter::NameFiles() {
  if (behind_ != nullptr) behind_->Finish();
  if (count_ == 0) throw FileError(sinks_.front().Name(), "no picture was written");
  if (av_ != nullptr) av_->Finish(sinks_.back());
  std::vector<std::string> names;
  if (sinks_.size() > 1) isNumbered_ = true;
  if (isNumbered_) {
    // All names are tried before the first file takes its own.
    for (std::size_t i = 0; i < sinks_.size(); ++i) {
      names.push_back(NumberedName(static_cast<std::int64_t>(i)));
      if (!options_.overwrite && Exists(names.back())) throw ExistsError(names.back());
      sinks_[i].Rename(names.back());
    }
  } else if (name_ != "-") {
    names.push_back(name_);
  }
  names_ = std::move(names);
}

void PictureWriter::Commit() {
  if (names_.empty()) NameFiles();
  for (ByteSink& sink : sinks_) {
    sink.Commit(!isNumbered_ || options_.overwrite);
    ++committed_;
  }
}

}  // namespace kv_host
