#pragma once

#include <cstdint>

#include "host/formats/byte_sink.h"
#include "host/formats/byte_source.h"
#include "host/formats/file_format.h"
#include "host/formats/frame_reader.h"

namespace kv_host {

/// What only the person who has a raw file knows of it.
struct RawShape {
  int width = 0;
  int height = 0;
  Interlace interlace = Interlace::Unknown;
  Dither dither = Dither::None;
};

/// Frames without any header, in any format that has RawTraits.
class RawReader final : public FrameReader {
 public:
  /// Throws FormatError for an absurd size, for fields of an odd number of rows, and for a file whose length is no
  /// multiple of the frame's.
  RawReader(ByteSource& source, FileFormat format, const RawShape& shape);

  std::optional<Raster> Next() override;
  std::optional<std::int64_t> Length() const override { return length_; }

 private:
  ByteSource& source_;
  FileFormat format_;
  Raster shape_;
  Dither dither_;
  SamplePlanes planes_;
  std::optional<std::int64_t> length_;
  std::int64_t frame_ = 0;
};

/// Bytes of a frame in a raw format.
std::uint64_t RawByteCount(FileFormat format, int width, int height);

/// Writes a frame in a raw format: one of the kinds that its traits list, packed rows of either layout. Throws
/// FormatError for other rasters.
void WriteRaw(const Raster& frame, FileFormat format, ByteSink& sink);

}  // namespace kv_host
