#include <malloc.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "host/av/av_module.h"
#include "host/av/shared_frames.h"
#include "host/av/wire.h"
#include "host/av/worker.h"
#include "host/formats/raster.h"

namespace kv_host {
namespace {

/// Seconds of processor time that one frame may take. Waiting for a pipe takes none.
constexpr rlim_t SecondsPerFrame = 120;

struct StandardInput {
  std::int64_t position = 0;
  bool isFile = false;
  std::vector<std::uint8_t> ahead;  // of a pipe: what comes first

  int ReadAhead(std::uint8_t* bytes, int count) {
    const std::size_t got = std::min(ahead.size(), static_cast<std::size_t>(count));
    std::copy_n(ahead.begin(), got, bytes);
    ahead.erase(ahead.begin(), ahead.begin() + static_cast<std::ptrdiff_t>(got));
    return static_cast<int>(got);
  }
};

int ReadInput(void* context, std::uint8_t* bytes, int count) {
  auto& input = *static_cast<StandardInput*>(context);
  if (!input.ahead.empty()) return input.ReadAhead(bytes, count);
  ssize_t got = 0;
  do {
    const auto size = static_cast<std::size_t>(count);
    got = input.isFile ? pread(STDIN_FILENO, bytes, size, input.position) : read(STDIN_FILENO, bytes, size);
  } while (got < 0 && errno == EINTR);
  if (got > 0) input.position += got;
  return static_cast<int>(got);
}

/// Leaves the process when kv has gone.
void WriteAll(const void* bytes, std::size_t count) {
  const auto* from = static_cast<const char*>(bytes);
  while (count > 0) {
    const ssize_t done = write(STDOUT_FILENO, from, count);
    if (done < 0 && errno == EINTR) continue;
    if (done < 0) _exit(EXIT_FAILURE);
    from += done;
    count -= static_cast<std::size_t>(done);
  }
}

template <class Struct>
void Send(const Struct& body, WireKind kind) {
  struct {
    WireHeader header;
    Struct body;
  } message = {{.kind = kind, .bytes = sizeof body}, body};
  static_assert(sizeof message == sizeof message.header + sizeof body);
  WriteAll(&message, sizeof message);
}

/// Puts the rows where kv finds them, once there is a place; false if the place is too small.
bool SendFrame(const KvAvFrame& frame, SharedFrames& frames) {
  std::uint64_t one = 0;
  while (read(AvFreePlacesDescriptor, &one, sizeof one) < 0 && errno == EINTR) {
  }
  const auto height = static_cast<std::size_t>(frame.height);
  std::span<std::uint8_t> place = frames.Place();
  for (int i = 0; i < frame.planes; ++i) {
    const auto rowBytes = static_cast<std::size_t>(frame.rowBytes[i]);
    if (place.size() < rowBytes * height) return false;
    if (frame.stride[i] == frame.rowBytes[i]) {
      std::memcpy(place.data(), frame.data[i], rowBytes * height);
    } else {
      for (std::size_t y = 0; y < height; ++y) {
        std::memcpy(place.data() + y * rowBytes,
                    frame.data[i] + static_cast<std::ptrdiff_t>(y) * frame.stride[i], rowBytes);
      }
    }
    place = place.subspan(rowBytes * height);
  }
  frames.NextTurn();
  Send(frame, WireKind::Frame);
  return true;
}

int Fail(int result, const char* problem, const KvAvFrame* frame = nullptr) {
  WireFailure failure{};
  failure.result = result;
  failure.hasFrame = frame != nullptr ? 1 : 0;
  failure.number = frame != nullptr ? frame->number : 0;
  failure.time = frame != nullptr ? frame->time : -1;
  std::snprintf(failure.problem, sizeof failure.problem, "%s", problem);
  Send(failure, WireKind::Failure);
  return EXIT_SUCCESS;
}

/// Data of the process so far, in bytes.
rlim_t DataSize() {
  rlim_t pages = 0;
  if (std::FILE* file = std::fopen("/proc/self/statm", "r")) {
    unsigned long data = 0;
    if (std::fscanf(file, "%*u %*u %*u %*u %*u %lu", &data) == 1)
      pages = data;  // NOLINT: the kernel's own text
    std::fclose(file);
  }
  return pages * static_cast<rlim_t>(sysconf(_SC_PAGESIZE));
}

void Limit(int resource, rlim_t soft, rlim_t hard) {
  const rlimit limit{soft, hard};
  setrlimit(static_cast<__rlimit_resource>(resource), &limit);
}

/// From now on nothing can be opened or written, memory is bounded, and the process ends with kv.
void Confine(std::int64_t maxMemory) {
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
  prctl(PR_SET_DUMPABLE, 0);
  mallopt(M_ARENA_MAX, 2);
  Limit(RLIMIT_CORE, 0, 0);
  Limit(RLIMIT_FSIZE, 0, 0);
  const rlim_t data = DataSize() + static_cast<rlim_t>(maxMemory);
  Limit(RLIMIT_DATA, data, data);
  Limit(RLIMIT_NOFILE, 0, 0);
}

/// Starts the clock of the next frame.
void AllowTime() {
  rusage used{};
  getrusage(RUSAGE_SELF, &used);
  const auto seconds = static_cast<rlim_t>(used.ru_utime.tv_sec + used.ru_stime.tv_sec);
  Limit(RLIMIT_CPU, seconds + SecondsPerFrame, RLIM_INFINITY);
}

int Decode(const KvAvDoor& door, const KvAvInput& input, const KvAvOptions& options, SharedFrames& frames) {
  char problem[KvAvProblemSize] = "";
  KvAvClip* clip = nullptr;
  const int opened = door.open(&input, &options, &clip, problem);
  if (opened != KvAvDone) return Fail(opened, problem);
  KvAvInfo info{};
  door.info(clip, &info);
  Send(info, WireKind::Info);
  KvAvFrame frame{};
  for (;;) {
    AllowTime();
    const int result = door.next(clip, &frame, problem);
    if (result == KvAvDamaged) return Fail(result, problem, &frame);
    if (result == KvAvEnd) break;
    if (result == KvAvDone && !SendFrame(frame, frames)) {
      return Fail(KvAvDamaged, "it takes more memory than --max-memory allows", &frame);
    }
  }
  Send(WireEnd{.frames = frame.number}, WireKind::End);
  return EXIT_SUCCESS;
}

}  // namespace

int RunAvWorker(int argc, char** argv) {
  constexpr int wanted = 10;
  if (argc < 2 || std::strcmp(argv[1], AvWorkerArgument) != 0) return -1;
  if (argc != wanted) return EXIT_FAILURE;
  std::string problem;
  const KvAvDoor* door = LoadAvDoor(argv[2], problem);
  if (door == nullptr) return Fail(KvAvRefused, problem.c_str());
  const auto number = [&](int i) { return std::strtoll(argv[i], nullptr, 10); };
  StandardInput source;
  struct stat status {};
  std::array<std::uint8_t, 4096> ahead{};
  for (ssize_t got = 0; (got = read(AvAheadDescriptor, ahead.data(), ahead.size())) > 0;) {
    source.ahead.insert(source.ahead.end(), ahead.begin(), ahead.begin() + got);
  }
  source.isFile = number(8) != 0;
  source.isFile = source.isFile && fstat(STDIN_FILENO, &status) == 0 && S_ISREG(status.st_mode);
  const KvAvInput input{.context = &source,
                        .read = ReadInput,
                        .size = source.isFile ? static_cast<std::int64_t>(status.st_size) : -1,
                        .position = source.isFile ? &source.position : nullptr};
  const KvAvOptions options{.stream = static_cast<std::int32_t>(number(3)),
                            .threads = static_cast<std::int32_t>(number(4)),
                            .dither = static_cast<std::int32_t>(number(9)),
                            .skip = static_cast<std::int32_t>(number(5)),
                            .first = number(6),
                            .mostPixels = MostPixels,
                            .longestSide = LongestSide};
  SharedFrames frames(AvFramesDescriptor, true);
  if (!frames.IsMapped()) return Fail(KvAvRefused, "there is no memory for frames");
  Confine(number(7));
  AllowTime();
  const int exitStatus = Decode(*door, input, options, frames);
  // The system takes back what is left, faster than the library.
  _exit(exitStatus);
}

}  // namespace kv_host
