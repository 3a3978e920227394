#pragma once

#include <cstdint>

#include "host/formats/byte_sink.h"
#include "host/formats/byte_source.h"
#include "host/formats/frame_reader.h"

namespace kv_host {

/// Frames without any header: 4:2:2 rows of (width + 1) / 2 pairs, and for Yuva422 the alpha rows of the
/// frame after them. Size and layout come from the person who knows them.
class RawYuvReader final : public FrameReader {
 public:
  /// `kind` is Yuv422 or Yuva422. Throws FormatError for an absurd size, and for a file whose length is no
  /// multiple of the frame's.
  RawYuvReader(ByteSource& source, RasterKind kind, int layout, int width, int height);

  std::optional<Raster> Next() override;
  std::optional<std::int64_t> Length() const override { return length_; }

 private:
  ByteSource& source_;
  Raster shape_;
  std::optional<std::int64_t> length_;
  std::int64_t frame_ = 0;
};

/// Writes a frame in the given layout: `kind` Yuv422 takes Yuv422 of either layout and Yuv422Planar, Yuva422
/// takes Yuva422. Throws FormatError for other rasters.
void WriteRawYuv(const Raster& frame, RasterKind kind, int layout, ByteSink& sink);

}  // namespace kv_host
