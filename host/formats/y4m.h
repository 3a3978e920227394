#pragma once

#include <cstdint>

#include "host/formats/byte_sink.h"
#include "host/formats/byte_source.h"
#include "host/formats/frame_reader.h"
#include "host/formats/sample_planes.h"

namespace kv_host {

/// What the first line of a Y4M stream says about all its frames.
struct Y4mHeader {
  int width = 0;
  int height = 0;
  Interlace interlace = Interlace::Unknown;
  bool mixedInterlace = false;  ///< Every frame states its own.
  ColourRange range = ColourRange::Unknown;
  ChromaSite chroma = ChromaSite::Unknown;  ///< C422jpeg is centred, C422mpeg2 left.
  Ratio frameRate;
  Ratio pixelAspect;
  PlaneStorage storage;

  bool operator==(const Y4mHeader&) const = default;
};

/// Y4M in 4:2:0, 4:2:2 or 4:4:4, as Yuv422Planar, and luma alone, as Grey8; with 8 or 10 bits. The chroma's position
/// goes along. Any other colour space is refused with the ffmpeg option that helps. A stream may end only
/// between two frames.
class Y4mReader final : public FrameReader {
 public:
  /// Reads the header line. Throws FormatError.
  explicit Y4mReader(ByteSource& source, Dither dither = Dither::None);

  std::optional<Raster> Next() override;
  /// Known for a file whose frames all begin with a line of the same length.
  std::optional<std::int64_t> Length() const override { return length_; }

 private:
  std::optional<std::int64_t> CountFrames();
  void ReadFrameLine(Interlace& interlace);

  ByteSource& source_;
  Y4mHeader header_;
  SamplePlanes planes_;
  std::optional<std::int64_t> length_;
  std::int64_t frame_ = 0;
};

/// Writes Y4M: the header once, from the first frame (25 frames a second where it knows no rate), then every
/// frame.
class Y4mWriter {
 public:
  /// Takes Yuv422Planar and Yuv422. Throws FormatError for other kinds and for a frame that differs from the
  /// first in size, interlace, range or chroma position.
  void Write(const Raster& frame, ByteSink& sink);

 private:
  Y4mHeader header_;
  bool started_ = false;
};

}  // namespace kv_host
