#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "host/av/door.h"
#include "host/formats/byte_source.h"
#include "host/formats/format_error.h"
#include "host/formats/frame_reader.h"

namespace kv_host {

struct AvOptions {
  int stream = -1;             ///< Of the container, from 0; below 0 the library chooses.
  bool skipDamaged = false;    ///< Damaged frames are left out.
  std::int64_t maxMemory = 0;  ///< Bytes for the decoder; 0: a quarter of the machine.
};

/// From now on files that kv does not know are read by the module, the first of these files that is there. Not called,
/// they are refused: only a program that RunAvWorker can make a child of itself may.
void EnableAv(std::vector<std::filesystem::path> modules);
bool IsAvEnabled();

/// The pictures from number `first` on of a file that the module reads, decoded in a child process. Throws FormatError,
/// also where there is no module.
std::unique_ptr<FrameReader> OpenAv(ByteSource& source, const AvOptions& options, std::int64_t first);

/// How a file was read.
struct AvNote {
  std::string file;
  std::string container;
  std::string codec;
  std::string pixels;  ///< Of the decoder.
  std::string path;    ///< "direct", "rule" or "swscale"
};

/// What reading through the module came to in this run of the program.
struct AvLog {
  std::vector<AvNote> notes;
  std::optional<FormatError> damage;  ///< Where a clip ended early: the pictures before it are good.
};
AvLog& AvLogOfProgram();

}  // namespace kv_host
