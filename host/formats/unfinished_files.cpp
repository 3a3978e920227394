#include "host/formats/unfinished_files.h"

#include <array>
#include <atomic>
#include <csignal>
#include <system_error>

namespace kv_host {
namespace {

std::array<std::atomic<const std::filesystem::path*>, 16> files{};

void RemoveAndEnd(int signal) {
  for (auto& slot : files) {
    const std::filesystem::path* file = slot.exchange(nullptr);
    if (file == nullptr) continue;
    // One call of the system: nothing here allocates or locks, for the signal may come at any moment.
    std::error_code error;
    std::filesystem::remove(*file, error);
  }
  std::signal(signal, SIG_DFL);
  std::raise(signal);
}

void Exchange(const std::filesystem::path* from, const std::filesystem::path* to) noexcept {
  for (auto& slot : files) {
    const std::filesystem::path* expected = from;
    if (slot.compare_exchange_strong(expected, to)) return;
  }
}

}  // namespace

void AddUnfinishedFile(const std::filesystem::path& file) noexcept {
  Exchange(nullptr, &file);
}

void DropUnfinishedFile(const std::filesystem::path& file) noexcept {
  Exchange(&file, nullptr);
}

void RemoveUnfinishedFilesWhenInterrupted() {
  std::signal(SIGINT, RemoveAndEnd);
  std::signal(SIGTERM, RemoveAndEnd);
}

}  // namespace kv_host
