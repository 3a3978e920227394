#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "host/av/av_reader.h"
#include "host/formats/byte_source.h"
#include "host/formats/file_format.h"
#include "host/formats/frame_range.h"
#include "host/formats/frame_reader.h"

namespace kv_host {

struct ReadOptions {
  std::optional<FileFormat> format;  ///< Overrides what content and name say.
  int width = 0;                     ///< Pixels and rows of raw frames; other files state their own.
  int height = 0;
  FrameRange frames = {};                 ///< Which of its pictures are read.
  Interlace fields = Interlace::Unknown;  ///< Of raw frames; other files state their own.
  Dither dither = Dither::None;           ///< For samples of 10 bits.
  AvOptions av = {};                      ///< For files that the module reads.
};

/// The pictures of a file or of standard input, in any format that FileFormat lists. The format is the
/// option's, else a raw one that the extension names, else what the first bytes show, else the extension's.
/// Pictures may follow one another in one BMP, PNM or PNG stream; other bytes after a picture are left
/// alone. A name with a place for a number (frame-%06d.png) or with `*` or `?` after its folder means all files of
/// such names, one after the other: in the order of their numbers, of which none may be missing, or of their names. A
/// file that has the name itself is that file.
class PictureReader {
 public:
  /// `-` is standard input. Throws FileError, or FormatError for a file that is in no known format or has a
  /// bad header.
  explicit PictureReader(const std::string& name, const ReadOptions& options = {});

  /// Of the file that is read, the first one before any is.
  const std::string& Name() const { return source_->Name(); }
  FileFormat Format() const { return format_; }
  /// Which of the file's pictures are read.
  const FrameRange& Range() const { return range_; }
  /// How many pictures the file holds, where its size shows it.
  std::optional<std::int64_t> Length() const;

  /// What its container declares; null for the formats that need no module.
  const KvAvInfo* Declared() const { return frames_->Declared(); }

  /// Whether another thread may read it while this one asks what it is: one file on a disk, which a child process does not
  /// read ahead already.
  bool MayBeReadAhead() const {
    return files_.size() == 1 && source_->Remaining().has_value() && Declared() == nullptr;
  }

  /// Reads all pictures in place of a range; before the first one is read.
  void TakeAll() { range_ = {}; }

  /// Number of the picture that Next gives next, from 0 for the file's first.
  std::int64_t NextNumber() const;
  /// The next picture of the range; empty after the last. Throws FileError or FormatError, also for a file
  /// without any picture and for one that ends before the range begins.
  std::optional<Raster> Next();

 private:
  std::optional<Raster> NextOfFiles();
  /// Goes to the next file; false after the last.
  bool OpenNext();

  ReadOptions options_;
  std::vector<std::string> files_;  // of one sequence
  std::size_t file_ = 0;
  std::optional<ByteSource> source_;
  FileFormat format_;
  std::unique_ptr<FrameReader> frames_;
  std::int64_t count_ = 0;  // pictures read, those before the range too
  FrameRange range_;
};

}  // namespace kv_host
