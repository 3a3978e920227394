#pragma once

#include <functional>
#include <optional>
#include <string>

#include "host/conversion.h"
#include "host/formats/picture_reader.h"
#include "host/formats/picture_writer.h"
#include "host/read_ahead.h"
#include "host/session.h"

namespace kv_host {

/// An input that accompanies another: it has a frame for each of the other's, or one single frame for all of
/// them.
class CompanionInput {
 public:
  /// Throws UsageError when the files' sizes show that it has too few frames for `main`.
  CompanionInput(const std::string& name, const ReadOptions& options, const PictureReader& main);

  const std::string& Name() const { return reader_.Name(); }
  const PictureReader& Reader() const { return reader_; }
  /// The frame beside frame `number` (from 0) of the other input. Throws UsageError when the frames run out.
  const Raster& FrameBeside(std::int64_t number);

 private:
  [[noreturn]] void FailForFrames(std::int64_t count) const;

  PictureReader reader_;
  std::string main_;
  std::optional<Raster> current_;
  std::int64_t count_ = 0;
};

/// Throws UsageError naming both pictures when their sizes differ.
void RequireEqualSizes(const Raster& a, const std::string& aName, const Raster& b, const std::string& bName);

/// The kind that a file is written from, given what there is: that itself where the file can
/// hold it, a 32-bit bitmap for alpha where it can, else the format's usual kind.
RasterKind KindToWrite(const PictureWriter& writer, RasterKind source);

/// Writes a frame, converted to what the file's format holds. `layout` 0: the format's, or the frame's own.
void WriteConverted(PictureWriter& writer, Raster frame, const Engine& engine, int layout = 0);

/// Writes a grey result of an operation on the luma of `source`: where that is 4:2:2, luma goes into 4:2:2 as
/// it is.
void WriteLuma(PictureWriter& writer, Raster result, const Raster& source, const Engine& engine);

/// Calls `work()`, which makes frame `number`; where a person asked for lines, prints its record then.
void Recorded(Session& session, std::int64_t number, const std::function<void()>& work);

/// The next frame. Where the file ends inside it and `hasFrames` were before it, they are all that there is: notes the
/// failure and answers nothing.
std::optional<Raster> NextWhole(ReadAhead& reader, Session& session, bool hasFrames);

/// Calls `work(frame, number)` for every frame that is read of a file, numbered as in the file, with records, and progress
/// on a terminal. The frame is the work's own.
void ForEachFrame(PictureReader& reader, Session& session,
                  const std::function<void(Raster&, std::int64_t)>& work);

}  // namespace kv_host
