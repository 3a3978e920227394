// A reader of the program on any bytes: frames that are whole, or one of its own errors.

#include <sys/mman.h>
#include <unistd.h>

#include <iterator>
#include <new>

#include "fuzz/check_frame.h"
#include "host/formats/format_error.h"
#include "host/formats/picture_reader.h"

namespace {

/// A file in memory that holds the input.
class InputFile {
 public:
  InputFile() : file_(memfd_create("kv_fuzz", 0)), name_("/proc/self/fd/" + std::to_string(file_)) {}

  const std::string& Hold(const std::uint8_t* data, std::size_t size) const {
    const bool isHeld =
        ftruncate(file_, 0) == 0 && pwrite(file_, data, size, 0) == static_cast<ssize_t>(size);
    kv_fuzz::Require(isHeld, "no file in memory");
    return name_;
  }

 private:
  int file_;
  std::string name_;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const InputFile file;
  kv_host::ReadOptions options;
  options.format = kv_host::FormatNamed(KV_FUZZ_FORMAT);
  if (!options.format) {
    // Raw frames: the first bytes stand for the command line.
    if (size < 3) return 0;
    constexpr const char* names[] = {"uyvy",    "yuy2",    "uyvya", "yuy2a", "yvyu", "nv16",
                                     "yuv422p", "yuv420p", "nv12",  "v210",  "gray", "yuv422p10le",
                                     "bgr24",   "rgb24",   "bgra",  "rgba"};
    options.format = kv_host::FormatNamed(names[data[0] % std::size(names)]);
    options.fields = data[0] < 128 ? kv_host::Interlace::Progressive : kv_host::Interlace::TopFieldFirst;
    options.width = data[1];
    options.height = data[2];
    data += 3;
    size -= 3;
  }
  try {
    kv_host::PictureReader reader(file.Hold(data, size), options);
    while (const auto frame = reader.Next()) kv_fuzz::RequireWhole(*frame);
  } catch (const kv_host::FileError& error) {
    kv_fuzz::Require(std::string(error.what()).find('\n') == std::string::npos, "an error of several lines");
  }
  return 0;
}
