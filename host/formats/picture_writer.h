#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "host/av/av_writer.h"
#include "host/formats/byte_sink.h"
#include "host/formats/file_format.h"
#include "host/formats/frame_names.h"
#include "host/formats/frame_range.h"
#include "host/formats/write_behind.h"
#include "host/formats/y4m.h"

namespace kv_host {

/// The frames of a clip that a file is made of.
struct ClipPart {
  FrameRange frames = {};
  std::optional<std::int64_t> length = {};  ///< Frames of the whole clip, where it is known.

  /// How many frames there will be, where it is known: no more than that.
  std::optional<std::int64_t> Count() const;
};

struct WriteOptions {
  std::optional<FileFormat> format = {};  ///< Overrides what the extension says.
  std::optional<ClipPart> clip = {};      ///< None: single pictures, whose name is taken as it is.
  bool overwrite = false;                 ///< Numbered files may be replaced.
  std::string codec = {};                 ///< Of a container; empty: its usual one.
  int threads = 1;                        ///< 0: what the machine runs at once.
  AvLog* log = nullptr;                   ///< Gets what a file of the module does not hold.
};

/// Writes pictures to a file or to standard output. Y4M, raw files and containers take every frame. Of the other formats
/// one frame becomes the named file, as does the one that was asked for of a clip; several become files
/// numbered as the frames of the clip are: out-0000.png, out-0001.png, …, with as many digits as the clip's
/// last frame needs, four at least, and six where nobody knows the clip's length. With a place for the number
/// in the name (frame-%06d.png), files of every format are numbered, and single ones too. A single file
/// replaces an older one; numbered files do so where the options say so. Nothing stands under a final name
/// before Commit(), and nothing is left if Commit() is never called. Standard output, pipes and devices show
/// each frame at once, one picture after the other.
class PictureWriter {
 public:
  /// `-` is standard output, and Y4M when nothing else is said. Throws FileError if the file cannot be
  /// written, also for numbered files that exist; FormatError if the format is not known.
  explicit PictureWriter(const std::string& name, const WriteOptions& options = {});

  FileFormat Format() const { return format_; }
  /// What Write() takes, the format's own kind first.
  const std::vector<RasterKind>& Rasters() const { return rasters_; }
  bool WritesToStandardOutput() const { return name_ == "-"; }

  /// Throws FileError, or FormatError for a raster that Rasters() does not list. With more than one thread a frame of a
  /// clip in one file is written while the next one is made: what went wrong is then said by the next call, or by
  /// NameFiles().
  void Write(Raster frame);
  /// Decides on the final names of the files, which are tried. Throws FileError, also when no frame was
  /// written.
  void NameFiles();
  /// Gives the files their final names. Throws as NameFiles() does.
  void Commit();
  /// The names that NameFiles() or Commit() decided on; empty for standard output.
  const std::vector<std::string>& Names() const { return names_; }
  /// How many of them Commit() has made.
  std::size_t CommittedFiles() const { return committed_; }

 private:
  void RequireNewFiles() const;
  int Digits() const;
  std::string NumberedName(std::int64_t index) const;
  bool MayWriteBehind() const;
  void Encode(const Raster& frame, ByteSink& sink);
  void WriteToOne(const Raster& frame);

  std::string name_;
  WriteOptions options_;
  FileFormat format_;
  const AvCodec* codec_ = nullptr;  // of a file that the module writes
  std::vector<RasterKind> rasters_;
  FrameNames frameNames_;
  bool hasOwnFiles_;  // each frame
  bool isNumbered_;
  std::vector<ByteSink>
      sinks_;  // the first one is open from the start, so that an unwritable target is found early
  Y4mWriter y4m_;
  std::unique_ptr<AvWriter> av_;
  std::int64_t count_ = 0;
  std::vector<std::string> names_;
  std::size_t committed_ = 0;
  std::unique_ptr<WriteBehind> behind_;  // from the second frame on; ends before what it writes to
};

}  // namespace kv_host
