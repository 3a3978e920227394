#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "host/av/av_codecs.h"
#include "host/av/av_log.h"
#include "host/formats/byte_sink.h"
#include "host/formats/raster.h"

namespace kv_host {

/// Writes one video file through the module. The first frame decides what is declared.
class AvWriter {
 public:
  /// `log`, if any, gets what the file does not hold.
  AvWriter(FileFormat container, const AvCodec& codec, int threads, AvLog* log);
  AvWriter(const AvWriter&) = delete;
  AvWriter& operator=(const AvWriter&) = delete;
  ~AvWriter();

  /// Takes the kinds that the codec lists. Throws FormatError for a frame that differs from the first in kind, size,
  /// interlace, range or chroma position, and where there is no module or its encoder refuses; FileError as the sink does.
  void Write(const Raster& frame, ByteSink& sink);
  /// After the last frame: the file is whole.
  void Finish(ByteSink& sink);

 private:
  class Recorder;

  void Begin(const Raster& frame, const AvSamples& samples, ByteSink& sink);
  void WarnOfLosses(const Raster& frame, const std::string& name);
  void Store(const Raster& frame, const AvSamples& samples);

  FileFormat container_;
  const AvCodec& codec_;
  int threads_;
  AvLog* log_;
  bool becomesLimited_ = false;
  std::unique_ptr<Recorder> recorder_;
  Raster first_;                     // without its planes
  std::vector<std::uint8_t> bytes_;  // of a frame, as the encoder takes it
};

}  // namespace kv_host
