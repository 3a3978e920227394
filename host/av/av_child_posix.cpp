#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>

#include "host/av/av_child.h"
#include "host/av/wire.h"
#include "host/formats/format_error.h"

namespace kv_host {
namespace {

/// Both ends of a pipe, which no other child inherits.
struct Pipe {
  std::array<int, 2> ends = {-1, -1};

  bool Open() { return pipe2(ends.data(), O_CLOEXEC) == 0; }
  ~Pipe() {
    for (const int end : ends) {
      if (end >= 0) close(end);
    }
  }
};

}  // namespace

AvChild::AvChild(ByteSource& source, std::vector<std::string> arguments) {
  Pipe frames;
  Pipe start;
  const std::vector<std::uint8_t> ahead = source.TakeAhead();
  if (!frames.Open() || !start.Open()) throw FileError(source.Name(), "cannot be read: " + SystemText(errno));
  // As much as a pipe holds without a reader, and more than is ever looked at.
  constexpr std::size_t most = 1U << 16U;
  if (ahead.size() > most ||
      write(start.ends[1], ahead.data(), ahead.size()) != static_cast<ssize_t>(ahead.size())) {
    throw FileError(source.Name(), "cannot be read from where it is");
  }
  // Few large turns between the two processes; where the system refuses, more small ones.
  fcntl(frames.ends[1], F_SETPIPE_SZ, 1 << 20);

  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  // Numbers beyond those that the child uses: none is overwritten before its turn.
  const std::array<int, 3> given = {fcntl(source.Descriptor(), F_DUPFD_CLOEXEC, 10),
                                    fcntl(frames.ends[1], F_DUPFD_CLOEXEC, 10),
                                    fcntl(start.ends[0], F_DUPFD_CLOEXEC, 10)};
  posix_spawn_file_actions_adddup2(&actions, given[0], STDIN_FILENO);
  posix_spawn_file_actions_adddup2(&actions, given[1], STDOUT_FILENO);
  posix_spawn_file_actions_adddup2(&actions, given[2], AvAheadDescriptor);
  posix_spawn_file_actions_addclosefrom_np(&actions, AvAheadDescriptor + 1);
  posix_spawnattr_t attributes;
  posix_spawnattr_init(&attributes);
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGPIPE);
  posix_spawnattr_setsigdefault(&attributes, &signals);
  posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF);

  std::vector<char*> pointers;
  std::string name = "kv";
  std::string worker = AvWorkerArgument;
  pointers.push_back(name.data());
  pointers.push_back(worker.data());
  for (std::string& argument : arguments) pointers.push_back(argument.data());
  pointers.push_back(nullptr);
  const int error = posix_spawn(&process_, "/proc/self/exe", &actions, &attributes, pointers.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  posix_spawnattr_destroy(&attributes);
  for (const int descriptor : given) close(descriptor);
  if (error != 0) {
    process_ = -1;
    throw FileError(source.Name(), "cannot be read: no process is started for it: " + SystemText(error));
  }
  output_ = frames.ends[0];
  frames.ends[0] = -1;
}

AvChild::~AvChild() {
  if (output_ >= 0) close(output_);
  if (process_ < 0) return;
  kill(process_, SIGKILL);
  Wait();
}

bool AvChild::Read(std::span<std::uint8_t> out) const {
  while (!out.empty()) {
    const ssize_t got = read(output_, out.data(), out.size());
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) return false;
    out = out.subspan(static_cast<std::size_t>(got));
  }
  return true;
}

int AvChild::Wait() {
  int status = 0;
  while (waitpid(process_, &status, 0) < 0 && errno == EINTR) {
  }
  process_ = -1;
  return status;
}

std::string AvChild::Ending() {
  const int status = Wait();
  if (!WIFSIGNALED(status)) return "the decoder ended early";
  switch (WTERMSIG(status)) {
    case SIGXCPU:
      return "the decoder took too much time";
    case SIGKILL:
      return "the decoder was stopped";
    default:
      return "the decoder crashed";
  }
}

}  // namespace kv_host
