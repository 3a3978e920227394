#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace kv_host {

/// What the samples of a picture are and how they are stored.
enum class RasterKind {
  Yuv422,        ///< One plane of packed pairs, 4 bytes for two pixels in the order that `layout` names.
  Yuva422,       ///< Plane 0 as `Yuv422`, plane 1 alpha, one byte a pixel.
  Yuv422Planar,  ///< Planes luma, Cb, Cr; a chroma row holds (width + 1) / 2 samples; every row has chroma.
  Dib15,         ///< Little-endian words, 0 rrrrr ggggg bbbbb.
  Dib16,         ///< Little-endian words, rrrrr gggggg bbbbb.
  Dib24,         ///< Bytes blue, green, red.
  Dib32,         ///< Bytes blue, green, red, alpha (255 = opaque, colours not multiplied by it).
  Grey8,         ///< One byte a pixel.
};

/// Byte order of a packed 4:2:2 pair.
inline constexpr int LayoutChromaFirst = 4097;  ///< UYVY: Cb Y0 Cr Y1.
inline constexpr int LayoutLumaFirst = 4098;    ///< YUY2: Y0 Cb Y1 Cr.

enum class Interlace { Unknown, Progressive, TopFieldFirst, BottomFieldFirst };

/// Which byte values mean black and white: 16 and 235 (limited, "studio") or 0 and 255 (full).
enum class ColourRange { Unknown, Limited, Full };

/// The weights of red, green and blue in the luma that a picture has, or had before it became RGB.
enum class ColourMatrix { Unknown, Bt601, Bt709, Bt2020 };

/// Where the chroma sample of a pair of pixels is: at the left one, or halfway between them.
enum class ChromaSite { Unknown, Left, Centre };

/// The curve between light and samples, where it is one of high dynamic range. It stays as it is.
enum class Transfer { Unknown, Pq, Hlg };

/// A ratio as video headers write it; 0:0 is "not known".
struct Ratio {
  int numerator = 0;
  int denominator = 0;

  bool operator==(const Ratio&) const = default;
};

/// Rows of equal length, top row first, without gaps.
struct Plane {
  std::size_t stride = 0;  ///< Bytes of a row.
  int rows = 0;
  std::vector<std::uint8_t> bytes;  ///< stride · rows bytes.

  std::span<std::uint8_t> Row(int y) { return {bytes.data() + stride * static_cast<std::size_t>(y), stride}; }
  std::span<const std::uint8_t> Row(int y) const {
    return {bytes.data() + stride * static_cast<std::size_t>(y), stride};
  }

  bool operator==(const Plane&) const = default;
};

/// One picture in memory, as files hold it: tight rows, the top one first. It owns its samples; copies are
/// deep.
struct Raster {
  RasterKind kind = RasterKind::Grey8;
  int width = 0;   ///< Pixels; any from 1, odd ones too.
  int height = 0;  ///< Rows.
  int layout = 0;  ///< LayoutChromaFirst or LayoutLumaFirst for the packed kinds, 0 for all others.
  Interlace interlace = Interlace::Unknown;
  ColourRange range = ColourRange::Unknown;
  ColourMatrix matrix = ColourMatrix::Unknown;
  ChromaSite chroma = ChromaSite::Unknown;
  Transfer transfer = Transfer::Unknown;
  Ratio frameRate;    ///< Frames a second.
  Ratio pixelAspect;  ///< Width of a pixel : its height.
  double time = -1;  ///< Seconds after the clip's start, where its rate is variable; below 0 where it is not.
  std::vector<Plane> planes;

  bool operator==(const Raster&) const = default;

  /// Bytes of all planes.
  std::uint64_t ByteCount() const;
};

/// A picture of zeros; a grey one is of full range. Throws std::invalid_argument, before it allocates, for a
/// size that `SizeProblem` names or a layout that does not belong to the kind.
Raster MakeRaster(RasterKind kind, int width, int height, int layout = 0);

/// As `MakeRaster`, with strides and row counts set and every `bytes` empty: for readers, which let the bytes
/// grow as they arrive.
Raster MakeEmptyRaster(RasterKind kind, int width, int height, int layout = 0);

inline constexpr std::int64_t LongestSide = 32768;
inline constexpr std::int64_t MostPixels = std::int64_t{1} << 28;

/// Why a picture cannot have this size, as the end of a message; empty if it can. Sides are 1 to LongestSide,
/// pixels at most MostPixels.
std::string SizeProblem(std::int64_t width, std::int64_t height);

/// Whether the picture is luma and chroma.
bool IsVideo(RasterKind kind);

/// Short name of a kind for messages.
const char* NameOf(RasterKind kind);

}  // namespace kv_host
