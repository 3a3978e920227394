#include "host/formats/picture_writer.h"

#include <algorithm>

#include "host/formats/bmp.h"
#include "host/formats/file_name.h"
#include "host/formats/format_error.h"
#include "host/formats/png_file.h"
#include "host/formats/pnm.h"
#include "host/formats/raw_yuv.h"

namespace kv_host {
namespace {

FileFormat Decide(const std::string& name, const WriteOptions& options) {
  if (options.format) return *options.format;
  if (const auto named = FormatOfExtension(name)) return *named;
  // The format that programs for video pass on to one another.
  if (name == "-") return FileFormat::Y4m;
  throw FormatError(name, "the format is not known; name it: " + FormatNames());
}

/// out.png, 7, 4 → out-0007.png
std::string Numbered(const std::string& name, std::size_t number, std::size_t digits) {
  const std::filesystem::path path = PathOf(name);
  std::string text = std::to_string(number);
  text.insert(0, digits - std::min(digits, text.size()), '0');
  return Utf8Name(path.parent_path() / path.stem()) + "-" + text + Utf8Name(path.extension());
}

}  // namespace

PictureWriter::PictureWriter(const std::string& name, const WriteOptions& options)
    : name_(name), format_(Decide(name, options)) {
  sinks_.emplace_back(name);
}

void PictureWriter::Write(const Raster& frame) {
  const FormatTraits& traits = TraitsOf(format_);
  const auto& kinds = traits.writableRasters;
  if (std::find(kinds.begin(), kinds.end(), frame.kind) == kinds.end()) {
    throw FormatError(sinks_.front().Name(),
                      "a " + std::string(traits.name) + " file cannot hold " + NameOf(frame.kind));
  }
  const bool ownFile = !traits.stream && !sinks_.front().WritesThrough();
  if (ownFile && count_ > 0) sinks_.emplace_back(name_);
  ByteSink& sink = sinks_.back();
  Encode(frame, sink);
  if (ownFile) {
    sink.Finish();
  } else if (sink.WritesThrough()) {
    sink.Flush();
  }
  ++count_;
}

void PictureWriter::Encode(const Raster& frame, ByteSink& sink) {
  const FormatTraits& traits = TraitsOf(format_);
  switch (format_) {
    case FileFormat::Y4m:
      y4m_.Write(frame, sink);
      break;
    case FileFormat::Uyvy:
    case FileFormat::Yuy2:
    case FileFormat::Uyvya:
    case FileFormat::Yuy2a:
      WriteRawYuv(frame, traits.writableRasters.front(), traits.layout, sink);
      break;
    case FileFormat::Bmp:
      WriteBmp(frame, sink);
      break;
    case FileFormat::Png:
      WritePng(frame, sink);
      break;
    case FileFormat::Pgm:
    case FileFormat::Ppm:
    case FileFormat::Pnm:
      WritePnm(frame, sink);
      break;
  }
}

void PictureWriter::NameFiles() {
  if (count_ == 0) throw FileError(sinks_.front().Name(), "no picture was written");
  std::vector<std::string> names;
  if (sinks_.size() > 1) {
    // All names are tried before the first file takes its own.
    const std::size_t digits = std::max<std::size_t>(4, std::to_string(sinks_.size()).size());
    for (std::size_t i = 0; i < sinks_.size(); ++i) {
      names.push_back(Numbered(name_, i + 1, digits));
      sinks_[i].Rename(names.back());
    }
  } else if (name_ != "-") {
    names.push_back(name_);
  }
  names_ = std::move(names);
}

void PictureWriter::Commit() {
  if (names_.empty()) NameFiles();
  for (ByteSink& sink : sinks_) sink.Commit();
}

}  // namespace kv_host
