#include "host/av/av_module.h"
#include "host/av/av_reader.h"
#include "host/av/av_writer.h"
#include "host/av/worker.h"
#include "host/formats/file_format.h"

// What takes the module's place on systems that have none.
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

class AvWriter::Recorder {};

AvWriter::AvWriter(FileFormat container, const AvCodec& codec, int threads, AvLog* log)
    : container_(container), codec_(codec), threads_(threads), log_(log) {}

AvWriter::~AvWriter() = default;

void AvWriter::Write(const Raster&, ByteSink& sink) {
  throw FormatError(sink.Name(), "this format is written on Linux only");
}

void AvWriter::Finish(ByteSink&) {}

int RunAvWorker(int, char**) {
  return -1;
}

}  // namespace kv_host
