#include <fcntl.h>
#include <spawn.h>
#include <sys/eventfd.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <utility>

#include "host/av/av_child.h"
#include "host/av/wire.h"
#include "host/formats/format_error.h"

namespace kv_host {
namespace {

/// A descriptor that no other child inherits.
struct Descriptor {
  int number = -1;

  Descriptor() = default;
  explicit Descriptor(int opened) : number(opened) {}
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  ~Descriptor() {
    if (number >= 0) close(number);
  }
  int Release() { return std::exchange(number, -1); }
};

struct Pipe {
  Descriptor out, in;

  Pipe() {
    std::array<int, 2> ends = {-1, -1};
    if (pipe2(ends.data(), O_CLOEXEC) != 0) return;
    out.number = ends[0];
    in.number = ends[1];
  }
};

}  // namespace

AvChild::AvChild(ByteSource& source, std::int64_t mostBytes, std::vector<std::string> arguments) {
  const std::vector<std::uint8_t> ahead = source.TakeAhead();
  Pipe messages;
  Pipe start;
  Descriptor free(eventfd(SharedFrames::Places, EFD_CLOEXEC | EFD_SEMAPHORE));
  const Descriptor memory(SharedFrames::Create(mostBytes));
  const bool isOpen =
      messages.in.number >= 0 && start.in.number >= 0 && free.number >= 0 && memory.number >= 0;
  if (isOpen) frames_.emplace(memory.number, false);
  if (!isOpen || !frames_->IsMapped()) {
    throw FileError(source.Name(), "cannot be read: " + SystemText(errno));
  }
  // As much as a pipe holds without a reader, and more than is ever looked at.
  constexpr std::size_t most = 1U << 16U;
  if (ahead.size() > most ||
      write(start.in.number, ahead.data(), ahead.size()) != static_cast<ssize_t>(ahead.size())) {
    throw FileError(source.Name(), "cannot be read from where it is");
  }

  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  // In the order of the child's numbers. Copies beyond those: none is overwritten before its turn.
  std::array<Descriptor, AvDescriptors> given;
  int child = 0;
  for (const int own :
       {source.Descriptor(), messages.in.number, start.out.number, memory.number, free.number}) {
    // Standard error stays.
    if (child == STDERR_FILENO) ++child;
    const auto at = static_cast<std::size_t>(child);
    given[at].number = fcntl(own, F_DUPFD_CLOEXEC, 10);
    posix_spawn_file_actions_adddup2(&actions, given[at].number, child++);
  }
  posix_spawn_file_actions_addclosefrom_np(&actions, child);
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
  if (error != 0) {
    process_ = -1;
    throw FileError(source.Name(), "cannot be read: no process is started for it: " + SystemText(error));
  }
  output_ = messages.out.Release();
  freePlaces_ = free.Release();
}

AvChild::~AvChild() {
  if (output_ >= 0) close(output_);
  if (freePlaces_ >= 0) close(freePlaces_);
  End();
}

bool AvChild::Read(std::span<std::uint8_t> out) {
  while (!out.empty()) {
    const ssize_t got = read(output_, out.data(), out.size());
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) return false;
    out = out.subspan(static_cast<std::size_t>(got));
  }
  return true;
}

void AvChild::ReleaseFrame() {
  frames_->NextTurn();
  const std::uint64_t one = 1;
  // A child that has gone does not mind.
  [[maybe_unused]] const ssize_t written = write(freePlaces_, &one, sizeof one);
}

/// How it ended. One that goes on, with its output closed or after nonsense, is stopped; one that has ended keeps its reason.
int AvChild::End() {
  if (process_ < 0) return status_;
  kill(process_, SIGKILL);
  while (waitpid(process_, &status_, 0) < 0 && errno == EINTR) {
  }
  process_ = -1;
  return status_;
}

std::string AvChild::Ending() {
  const int status = End();
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
