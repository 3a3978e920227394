#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "host/formats/byte_source.h"
#include "host/formats/raster.h"

namespace kv_host {

enum class FileFormat {
  Y4m,    ///< Uncompressed video with a header, planar 4:2:2.
  Uyvy,   ///< Raw packed 4:2:2, chroma first.
  Yuy2,   ///< Raw packed 4:2:2, luma first.
  Uyvya,  ///< Uyvy, each frame followed by its alpha rows.
  Yuy2a,  ///< Yuy2, each frame followed by its alpha rows.
  Bmp,
  Pgm,
  Ppm,
  Pnm,  ///< PGM or PPM, as the picture is grey or coloured.
  Png,
};

/// What is fixed about a format.
struct FormatTraits {
  FileFormat format;
  std::string_view name;  ///< As people write it: "y4m", "uyvy", …; also a file extension.
  bool raw;               ///< No header: the reader needs the size.
  bool stream;            ///< One file holds many frames; otherwise each frame gets its own file.
  int layout;             ///< Of the packed rows of raw formats; else 0.
  std::span<const RasterKind> writableRasters;  ///< What the writer takes, the format's own kind first.
};

const FormatTraits& TraitsOf(FileFormat format);

/// The format of this name, as given to an option; letter case does not matter.
std::optional<FileFormat> FormatNamed(std::string_view name);

/// The format that the extension of a file name stands for.
std::optional<FileFormat> FormatOfExtension(const std::string& fileName);

/// The format that the first bytes show. It looks at no more bytes than it needs to decide, so it does not
/// wait for bytes that a pipe will never bring.
std::optional<FileFormat> FormatOfContent(ByteSource& source);

/// All names, comma-separated, for messages and help.
std::string FormatNames();

}  // namespace kv_host
