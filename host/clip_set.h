#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "host/formats/picture_reader.h"
#include "host/formats/picture_writer.h"
#include "host/read_ahead.h"
#include "host/session.h"

namespace kv_host {

/// The inputs of a command that takes several: clips of one length, frame beside frame, and single pictures, each of
/// which serves all frames.
class ClipSet {
 public:
  struct Options {
    ReadOptions read;
    bool endsWithShortest = false;
  };

  /// Opens the files. Throws UsageError when the lengths that files show differ, or are too short for the range.
  ClipSet(const std::vector<std::string>& names, const Options& options);

  std::vector<const PictureReader*> Readers() const;
  /// The frames that there will be.
  ClipPart Part() const;

  using Work = std::function<void(const std::vector<const Raster*>& frames, std::int64_t number)>;
  /// Calls `work` for every frame number with a frame of each input, in the order of the names, with progress and records.
  /// Ends where a clip ends inside a frame, and notes that as the failure. Throws UsageError when a clip ends before another
  /// one and nobody said that it may.
  void ForEach(Session& session, const Work& work);

 private:
  struct Clip {
    std::unique_ptr<PictureReader> reader;
    std::unique_ptr<ReadAhead> ahead = {};
    std::optional<Raster> current = {};
    std::int64_t count = 0;  ///< Frames up to the current one, those before the range too.
    bool hasEnded = false;

    bool IsPicture() const { return hasEnded && count == 1; }
    /// Whether it has a frame of this number of its own.
    bool Has(std::int64_t number, Session& session);
  };

  void RequireLengths() const;
  /// What a picture does not say of fields and rate is as in the clip that it accompanies.
  void DescribePictures();

  bool endsWithShortest_;
  std::vector<Clip> clips_;
  std::size_t lead_ = 0;  ///< The input whose frames are counted: the first that is no single picture.
};

}  // namespace kv_host
