#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "host/formats/byte_source.h"
#include "host/formats/raster.h"
#include "host/formats/sample_planes.h"

namespace kv_host {

enum class FileFormat {
  Y4m,    ///< Uncompressed video with a header, planar.
  Uyvy,   ///< Raw packed 4:2:2, chroma first.
  Yuy2,   ///< Raw packed 4:2:2, luma first.
  Yvyu,   ///< As Yuy2, Cr before Cb.
  Uyvya,  ///< Uyvy, each frame followed by its alpha rows.
  Yuy2a,  ///< Yuy2, each frame followed by its alpha rows.
  Nv16,
  Yuv422p,
  Yuv420p,
  Nv12,
  V210,
  Yuv422p10,
  Grey,
  Bgr24,
  Rgb24,
  Bgra,
  Rgba,
  Bmp,
  Pgm,
  Ppm,
  Pnm,  ///< PGM or PPM, as the picture is grey or coloured.
  Png,
  Mkv,
  Mov,
  Mp4,
  Mxf,
  Avi,
  Jpeg,
  Tiff,
  Av,  ///< Whatever FFmpeg's libraries read, through the module.
};

/// Two bytes of every unit that a file has the other way round than the raster.
struct ByteExchange {
  std::size_t unit = 0;  ///< Bytes of a unit; 0: none are exchanged.
  std::size_t first = 0;
  std::size_t second = 0;
};

/// How frames without a header are stored.
struct RawTraits {
  RasterKind kind;                      ///< Of the frames that are read.
  std::optional<PlaneStorage> storage;  ///< Planes of samples; none: rows as the raster has them, or V210.
  ByteExchange exchange = {};           ///< In rows that are otherwise the raster's.
};

/// What is fixed about a format.
struct FormatTraits {
  FileFormat format;
  std::string_view name;   ///< As people write it: "y4m", "uyvy", …; also a file extension.
  std::string_view alias;  ///< Another one, that of other programs; empty where they have the same.
  const RawTraits* raw;    ///< Where there is no header: the reader needs the size. Else null.
  bool stream;             ///< One file holds many frames; otherwise each frame gets its own file.
  int layout;              ///< Of the packed rows of raw formats; else 0.
  /// What the writer takes, the format's own kind first; of containers each codec has its own.
  std::span<const RasterKind> writableRasters;
  const char* muxer = nullptr;  ///< As FFmpeg's libraries name what writes it; null where kv does.
};

const FormatTraits& TraitsOf(FileFormat format);

/// The format of this name, as given to an option; letter case does not matter.
std::optional<FileFormat> FormatNamed(std::string_view name);

/// The format that the extension of a file name stands for.
std::optional<FileFormat> FormatOfExtension(const std::string& fileName);

/// The format that the first bytes show. It looks at no more bytes than it needs to decide, so it does not
/// wait for bytes that a pipe will never bring.
std::optional<FileFormat> FormatOfContent(ByteSource& source);

/// The names of what needs no module, comma-separated, for messages and help.
std::string FormatNames();
/// Those and the ones that the module writes.
std::string WritableFormatNames();
/// Those of raw formats.
std::string RawFormatNames();

}  // namespace kv_host
