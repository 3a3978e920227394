#include <fcntl.h>
#include <unistd.h>

#if defined(__GLIBC__)
#include <malloc.h>
#endif

#include <cerrno>
#include <csignal>
#include <cstdio>

#include "host/platform/platform.h"

namespace kv_host {
namespace {

constexpr int endingSignals[] = {SIGHUP, SIGINT, SIGQUIT, SIGTERM, SIGXCPU, SIGPIPE};

void (*beforeTheEnd)() noexcept = nullptr;

void EndBy(int signal) {
  beforeTheEnd();
  std::signal(signal, SIG_DFL);
  // It waits until this handler returns.
  std::raise(signal);
}

std::error_code LastError() {
  return {errno, std::generic_category()};
}

}  // namespace

void PrepareProcess() {
  // The next file that is opened would be the standard stream. Opened the wrong way round, they report
  // errors.
  for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    if (fcntl(stream, F_GETFD) >= 0) continue;
    static_cast<void>(open("/dev/null", stream == STDIN_FILENO ? O_WRONLY : O_RDONLY));
  }
  // A file that grows beyond the user's limit is a write error.
  std::signal(SIGXFSZ, SIG_IGN);
#if defined(__GLIBC__)
  // Frames are freed and allocated again: pages that went back to the system would fault at every frame.
  constexpr int largest = 1 << 30;
  mallopt(M_MMAP_THRESHOLD, largest);
  mallopt(M_TRIM_THRESHOLD, largest);
  // And threads hand frames on to one another.
  mallopt(M_ARENA_MAX, 1);
#endif
}

void BeforeSignalsEndTheProgram(void (*cleanUp)() noexcept) {
  beforeTheEnd = cleanUp;
  struct sigaction action {};
  action.sa_handler = EndBy;
  for (const int signal : endingSignals) sigaddset(&action.sa_mask, signal);
  for (const int signal : endingSignals) {
    struct sigaction inherited {};
    sigaction(signal, nullptr, &inherited);
    if (signal == SIGPIPE || inherited.sa_handler != SIG_IGN) sigaction(signal, &action, nullptr);
  }
}

std::vector<std::string> Arguments(int argc, const char* const* argv) {
  return {argv + (argc > 0 ? 1 : 0), argv + argc};
}

bool IsErrorTerminal() {
  return isatty(STDERR_FILENO) != 0;
}

std::FILE* OpenFile(const std::filesystem::path& file, const char* mode) {
  return std::fopen(file.c_str(), mode);
}

int DescriptorOf(std::FILE* file) {
  return fileno(file);
}

bool SeekTo(std::FILE* file, std::int64_t position) {
  return fseeko(file, position, SEEK_SET) == 0;
}

std::size_t BufferedBytes(std::FILE* file) {
#if defined(__GLIBC__)
  return static_cast<std::size_t>(file->_IO_read_end - file->_IO_read_ptr);
#else
  static_cast<void>(file);
  return 0;
#endif
}

void Replace(const std::filesystem::path& from, const std::filesystem::path& to, std::error_code& error) {
  std::filesystem::rename(from, to, error);
}

void RenameToNew(const std::filesystem::path& from, const std::filesystem::path& to, std::error_code& error) {
  error.clear();
  if (renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) return;
  if (errno == EINVAL || errno == ENOSYS) {
    // A network's file system: it knows links.
    if (link(from.c_str(), to.c_str()) == 0) {
      unlink(from.c_str());
      return;
    }
    if (errno == EPERM || errno == ENOTSUP) {
      // One that knows neither.
      if (!std::filesystem::exists(to, error)) return Replace(from, to, error);
      errno = EEXIST;
    }
  }
  error = LastError();
}

}  // namespace kv_host
