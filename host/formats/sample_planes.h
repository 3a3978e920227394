#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "host/formats/byte_sink.h"
#include "host/formats/byte_source.h"
#include "host/formats/narrow.h"
#include "host/formats/raster.h"

namespace kv_host {

/// How many chroma samples a file stores.
enum class ChromaPlanes {
  None,  ///< Luma alone.
  Half,  ///< 4:2:0: one for two pixels and two rows.
  Pair,  ///< 4:2:2: one for two pixels.
  Full,  ///< 4:4:4: one for each pixel.
};

/// How a file stores a frame of luma and chroma planes.
struct PlaneStorage {
  ChromaPlanes chroma = ChromaPlanes::Pair;
  bool isInterleaved = false;  ///< One plane of Cb and Cr in turns.
  bool isTenBit = false;       ///< Little-endian words that hold 0 to 1023.

  bool operator==(const PlaneStorage&) const = default;
};

/// Reads and writes frames of stored planes, as Yuv422Planar, or Grey8 where there is no chroma. The scratch is kept
/// from frame to frame.
///
/// The rows of 4:2:0 are those of chroma_rows.h, with chroma between two rows. 4:4:4 is read with weights 1:2:1 about each even pixel, halves up, the outermost column
/// repeated. 10 bits are written as 8 bits shifted up by two.
class SamplePlanes {
 public:
  SamplePlanes(PlaneStorage storage, Dither dither) : storage_(storage), dither_(dither) {}

  RasterKind Kind() const {
    return storage_.chroma == ChromaPlanes::None ? RasterKind::Grey8 : RasterKind::Yuv422Planar;
  }
  /// Bytes of a stored frame.
  std::uint64_t ByteCount(int width, int height) const;
  /// Fills the planes of a raster of Kind() from MakeEmptyRaster, as its `interlace` says. Throws FormatError that counts
  /// the bytes which the whole of `what` lacks.
  void Read(ByteSource& source, Raster& frame, std::string_view what);
  /// Takes rasters of Kind().
  void Write(const Raster& frame, ByteSink& sink);

 private:
  /// Whether the planes of the file are those of the raster.
  bool IsDirect() const {
    return storage_.chroma != ChromaPlanes::Half && storage_.chroma != ChromaPlanes::Full &&
           !storage_.isInterleaved && !storage_.isTenBit;
  }
  std::vector<Plane> StoredPlanes(int width, int height) const;

  PlaneStorage storage_;
  Dither dither_;
  std::vector<std::uint8_t> bytes_;  // as the file has them
};

}  // namespace kv_host
