#include "host/formats/unfinished_files.h"

#include <array>
#include <system_error>
#include <thread>
#include <utility>

#include "host/platform/platform.h"

namespace kv_host {
namespace {

/// Names of unfinished files. A signal may come at any moment: blocks are added, never moved or freed.
struct Block {
  std::array<std::atomic<const std::filesystem::path*>, 64> files{};
  std::atomic<Block*> next{nullptr};
};

Block firstBlock;
std::atomic<Block*> blockInUse = &firstBlock;

/// Allocates nothing and takes no lock.
void RemoveAll() noexcept {
  for (Block* block = &firstBlock; block != nullptr; block = block->next) {
    for (auto& slot : block->files) {
      const std::filesystem::path* file = slot.exchange(nullptr);
      std::error_code error;
      if (file != nullptr) std::filesystem::remove(*file, error);
    }
  }
}

}  // namespace

UnfinishedFile::Slot& UnfinishedFile::FreeSlot() {
  for (Block* block = blockInUse;; blockInUse = block = block->next) {
    for (Slot& slot : block->files) {
      if (slot == nullptr) return slot;
    }
    if (block->next == nullptr) block->next = new Block;
  }
}

UnfinishedFile::UnfinishedFile(std::filesystem::path path) : path_(std::move(path)), slot_(FreeSlot()) {
  slot_ = &path_;
}

UnfinishedFile::~UnfinishedFile() {
  const std::filesystem::path* expected = &path_;
  if (slot_.compare_exchange_strong(expected, nullptr)) return;
  // A signal has taken it, and needs the name until the program ends.
  for (;;) std::this_thread::yield();
}

void RemoveUnfinishedFilesWhenInterrupted() {
  BeforeSignalsEndTheProgram(RemoveAll);
}

}  // namespace kv_host
