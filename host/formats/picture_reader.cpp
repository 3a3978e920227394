#include "host/formats/picture_reader.h"

#include <algorithm>
#include <string>
#include <string_view>

#include "host/av/av_module.h"
#include "host/formats/bmp.h"
#include "host/formats/file_sequence.h"
#include "host/formats/format_error.h"
#include "host/formats/png_file.h"
#include "host/formats/pnm.h"
#include "host/formats/raw_frames.h"
#include "host/formats/y4m.h"

namespace kv_host {
namespace {

using ReadPicture = Raster (*)(ByteSource&);

ReadPicture PictureFunctionOf(FileFormat format) {
  switch (format) {
    case FileFormat::Bmp:
      return ReadBmp;
    case FileFormat::Png:
      return ReadPng;
    default:
      return ReadPnm;
  }
}

/// Pictures of a format for single ones, one after the other.
class PictureSequence final : public FrameReader {
 public:
  PictureSequence(ByteSource& source, FileFormat format)
      : source_(source), read_(PictureFunctionOf(format)) {}

  std::optional<Raster> Next() override {
    if (started_ && !AnotherBegins()) return std::nullopt;
    started_ = true;
    return read_(source_);
  }

 private:
  bool AnotherBegins() {
    const auto format = FormatOfContent(source_);
    return format && PictureFunctionOf(*format) == read_ && !TraitsOf(*format).stream;
  }

  ByteSource& source_;
  ReadPicture read_;
  bool started_ = false;
};

FileFormat Decide(ByteSource& source, const std::string& name, const ReadOptions& options) {
  if (options.format) return *options.format;
  const auto named = FormatOfExtension(name);
  // Raw samples may begin with any bytes, those of another format's signature too.
  if (named && TraitsOf(*named).raw) return *named;
  const auto shown = FormatOfContent(source);
  if (shown) return *shown;
  if (source.AtEnd()) throw FormatError(source.Name(), 0, "the file is empty");
  if (const auto start = source.Peek(2);
      !IsAvEnabled() && start.size() == 2 && start[0] == 0xFF && start[1] == 0xD8) {
    throw FormatError(source.Name(), 0,
                      "JPEG is not read; convert it first, as in ffmpeg -i photo.jpg photo.png");
  }
  if (named && TraitsOf(*named).muxer == nullptr) return *named;
  if (IsAvEnabled()) return FileFormat::Av;
  throw FormatError(source.Name(), 0, "the format is not known; name it: " + FormatNames());
}

/// Whether the file is JPEG or TIFF by its first bytes.
bool IsPhotograph(ByteSource& source) {
  using namespace std::string_view_literals;
  const auto start = source.Peek(4);
  const std::string_view bytes(reinterpret_cast<const char*>(start.data()), start.size());
  return bytes.starts_with("\xFF\xD8\xFF") || bytes == "II*\0"sv || bytes == "MM\0*"sv;
}

std::unique_ptr<FrameReader> MakeFrameReader(ByteSource& source, FileFormat format,
                                             const ReadOptions& options, std::int64_t first) {
  const FormatTraits& traits = TraitsOf(format);
  if (format == FileFormat::Y4m) return std::make_unique<Y4mReader>(source, options.dither);
  if (format == FileFormat::Av || traits.muxer != nullptr) {
    // One picture may accompany a clip of which a part is read.
    return OpenAv(source, options.av, IsPhotograph(source) ? 0 : first);
  }
  if (!traits.raw) return std::make_unique<PictureSequence>(source, format);
  if (options.width == 0 && options.height == 0) {
    throw FormatError(source.Name(),
                      "raw " + std::string(traits.name) + " states no size; give it, as in 720x576");
  }
  return std::make_unique<RawReader>(source, format,
                                     RawShape{.width = options.width,
                                              .height = options.height,
                                              .interlace = options.fields,
                                              .dither = options.dither});
}

}  // namespace

PictureReader::PictureReader(const std::string& name, const ReadOptions& options)
    : options_(options),
      files_(FilesOf(name)),
      source_(files_.front()),
      format_(Decide(*source_, files_.front(), options)),
      // Of a sequence those before the range are passed over here.
      frames_(MakeFrameReader(*source_, format_, options, files_.size() == 1 ? options.frames.first : 0)),
      count_(frames_->FirstNumber()),
      range_(options.frames) {}

std::optional<std::int64_t> PictureReader::Length() const {
  if (files_.size() == 1) return frames_->Length();
  // Single pictures, as files of sequences are.
  if (!TraitsOf(format_).stream) return static_cast<std::int64_t>(files_.size());
  return std::nullopt;
}

bool PictureReader::OpenNext() {
  if (file_ + 1 == files_.size()) return false;
  const std::string& name = files_[++file_];
  frames_.reset();
  source_.emplace(name);
  format_ = Decide(*source_, name, options_);
  frames_ = MakeFrameReader(*source_, format_, options_, 0);
  return true;
}

std::int64_t PictureReader::NextNumber() const {
  return std::max(count_, range_.first);
}

std::optional<Raster> PictureReader::Next() {
  if (range_.count && count_ - range_.first >= *range_.count) return std::nullopt;
  while (count_ < range_.first && NextOfFiles()) {
  }
  const bool isFirst = count_ <= range_.first;
  std::optional<Raster> frame = NextOfFiles();
  if (!frame && isFirst) {
    source_->Fail("the file holds " + std::to_string(count_) + (count_ == 1 ? " frame" : " frames") +
                  ", so there is no frame " + std::to_string(range_.first) + " (the first is 0)");
  }
  return frame;
}

std::optional<Raster> PictureReader::NextOfFiles() {
  do {
    if (std::optional<Raster> frame = frames_->Next()) {
      ++count_;
      return frame;
    }
    if (count_ == 0) source_->Fail("the file holds no frame");
  } while (OpenNext());
  return std::nullopt;
}

}  // namespace kv_host
