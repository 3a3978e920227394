#pragma once

#include <optional>
#include <string>
#include <vector>

#include "host/formats/byte_sink.h"
#include "host/formats/file_format.h"
#include "host/formats/y4m.h"

namespace kv_host {

struct WriteOptions {
  std::optional<FileFormat> format;  ///< Overrides what the extension says.
};

/// Writes pictures to a file or to standard output. Y4M and raw files take every frame; of the other formats
/// one frame becomes the named file, several become numbered ones (out-0001.png, out-0002.png, …; more digits
/// from 10000 on). Nothing stands under a final name before Commit(), and nothing is left if Commit() is
/// never called. Standard output, pipes and devices show each frame at once, pictures one behind the other.
class PictureWriter {
 public:
  /// `-` is standard output, and Y4M when nothing else is said. Throws FileError if the file cannot be
  /// written, FormatError if its format is not known.
  explicit PictureWriter(const std::string& name, const WriteOptions& options = {});

  FileFormat Format() const { return format_; }
  bool WritesToStandardOutput() const { return name_ == "-"; }

  /// Throws FileError, or FormatError for a raster that TraitsOf(Format()).writableRasters does not list.
  void Write(const Raster& frame);
  /// Decides on the final names of the files, which are tried. Throws FileError, also when no frame was
  /// written.
  void NameFiles();
  /// Gives the files their final names. Throws as NameFiles() does.
  void Commit();
  /// The names that NameFiles() or Commit() decided on; empty for standard output.
  const std::vector<std::string>& Names() const { return names_; }

 private:
  void Encode(const Raster& frame, ByteSink& sink);

  std::string name_;
  FileFormat format_;
  std::vector<ByteSink>
      sinks_;  // the first one is open from the start, so that an unwritable target is found early
  Y4mWriter y4m_;
  std::size_t count_ = 0;
  std::vector<std::string> names_;
};

}  // namespace kv_host
