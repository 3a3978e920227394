#include "host/av/av_reader.h"
#include "host/av/worker.h"
#include "host/formats/file_format.h"

namespace kv_host {
namespace {

bool isEnabled = false;

}  // namespace

void EnableAv(std::vector<std::filesystem::path>) {
  isEnabled = true;
}

bool IsAvEnabled() {
  return isEnabled;
}

std::unique_ptr<FrameReader> OpenAv(ByteSource& source, const AvOptions&, std::int64_t) {
  if (const auto start = source.Peek(2); start.size() == 2 && start[0] == 0xFF && start[1] == 0xD8) {
    throw FormatError(source.Name(), 0,
                      "JPEG is not read; convert it first, as in ffmpeg -i photo.jpg photo.png");
  }
  throw FormatError(source.Name(), 0,
                    "the format is not known; name it: " + FormatNames() +
                        "; MP4, MOV, MXF, JPEG, TIFF and others are read on Linux only");
}

AvLog& AvLogOfProgram() {
  static AvLog log;
  return log;
}

int RunAvWorker(int, char**) {
  return -1;
}

}  // namespace kv_host
