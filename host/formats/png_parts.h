#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "host/formats/byte_sink.h"
#include "host/formats/byte_source.h"
#include "host/formats/raster.h"

/// What reading and writing of PNG share, whichever library unpacks the samples.
namespace kv_host::png {

inline constexpr std::array<std::uint8_t, 8> signature = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};

/// Throws FormatError unless the signature is next.
void RequireSignature(ByteSource& source);

/// Largest chunk of other things than samples.
inline constexpr std::uint32_t mostChunkBytes = 8U << 20U;

/// What a cICP chunk says of the samples of a PNG picture: code points of ITU-T H.273.
struct CodePoints {
  static constexpr std::uint8_t chunk[5] = {'c', 'I', 'C', 'P', 0};
  static constexpr std::size_t size = 4;

  std::uint8_t primaries = 0;
  std::uint8_t transfer = 0;

  /// Those of a chunk. Throws FormatError where the samples are not full-range RGB.
  static CodePoints Of(std::span<const std::uint8_t, size> data, const ByteSource& source);
  /// Marks a picture that was read.
  void Declare(Raster& raster) const;
};

/// The cICP chunk of a picture; empty where it has none.
std::vector<std::uint8_t> CodePointsOf(const Raster& raster);
/// Whether a picture gets an sRGB chunk: RGB out of 4:2:2 of these matrices has the primaries of sRGB, as closely
/// as screens show them.
bool IsScreenRgb(const Raster& raster);

enum ColourType : std::uint8_t { grey = 0, rgb = 2, palette = 3, greyAlpha = 4, rgbAlpha = 6 };

/// How a picture is written. Throws FormatError for kinds that PNG cannot hold.
ColourType ColourTypeOf(const Raster& raster, const ByteSink& sink);

/// One of the seven small pictures of an interlaced one.
struct Pass {
  unsigned x, y, stepX, stepY;

  /// None where the other side has none: such a pass is not in the file.
  unsigned Columns(unsigned width) const { return width <= x ? 0 : (width - x + stepX - 1) / stepX; }
  unsigned Rows(unsigned width, unsigned height) const {
    return Columns(width) == 0 || height <= y ? 0 : (height - y + stepY - 1) / stepY;
  }
};
inline constexpr std::array<Pass, 7> passes = {
    {{0, 0, 8, 8}, {4, 0, 8, 8}, {0, 4, 4, 8}, {2, 0, 4, 4}, {0, 2, 2, 4}, {1, 0, 2, 2}, {0, 1, 1, 2}}};

/// The picture out of the pixels of its passes, one pass after the other.
void WeavePasses(std::span<const std::uint8_t> pixels, std::size_t channels, Raster& raster);

}  // namespace kv_host::png
