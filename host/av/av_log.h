#pragma once

#include <optional>
#include <string>
#include <vector>

#include "host/formats/format_error.h"

namespace kv_host {

/// How a file was read.
struct AvNote {
  std::string file;
  std::string container;
  std::string codec;
  std::string pixels;  ///< Of the decoder.
  std::string path;    ///< "direct", "rule" or "swscale"
  bool hasSound = false;
  bool hasVariableRate = false;  ///< And no other was given.
  int rotation = 0;              ///< Degrees clockwise that players turn it.
  std::vector<double> times;     ///< Of its frames, in seconds, where the file's rate is variable.
};

/// What reading and writing through the module came to.
struct AvLog {
  std::vector<AvNote> notes;
  std::optional<FormatError> damage;  ///< Where a clip ended early: the pictures before it are good.
  std::vector<std::string> warnings;  ///< What a written file does not hold, each once.
  bool couldHoldSound = false;        ///< One of the written files could.
};

}  // namespace kv_host
