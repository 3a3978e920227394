#pragma once

#include <span>
#include <string>
#include <string_view>

#include "host/formats/file_format.h"

namespace kv_host {

/// How rasters of a kind go to an encoder: as raw frames of a format, which the library knows by a name of its own.
struct AvSamples {
  RasterKind kind;
  FileFormat raw;
  const char* pixels;
};

/// What is declared about frames, bit by bit.
enum AvProperties : unsigned {
  AvRange = 1,
  AvFields = 2,
  AvMatrix = 4,
  AvSite = 8,
  AvTransfer = 16,
  AvTimes = 32
};

struct AvCodec {
  std::string_view name;               ///< As --codec has it.
  const char* encoder;                 ///< As the library names it.
  const char* options;                 ///< Its, name=value:name=value.
  std::span<const AvSamples> samples;  ///< What it takes, its own kind first.
  unsigned declares;                   ///< The properties that the codec itself has a field for.
  unsigned never;                      ///< Those that are what they are, whatever the container says.
  int widthStep;                       ///< What the picture's sides are multiples of.
  int heightStep;
};

/// The codec that a container is written with: the one that has the name, or its first. `file` is for messages.
/// Throws FormatError, which lists the names, also for a name where the format is no container.
const AvCodec& AvCodecOf(FileFormat container, std::string_view name, const std::string& file);

/// Which properties of frames such a file declares.
unsigned AvDeclared(FileFormat container, const AvCodec& codec);

}  // namespace kv_host
