#pragma once

#include <atomic>
#include <filesystem>

namespace kv_host {

/// The name of a file that is removed when a signal ends the program while this object exists.
class UnfinishedFile {
 public:
  explicit UnfinishedFile(std::filesystem::path path);
  UnfinishedFile(const UnfinishedFile&) = delete;
  UnfinishedFile& operator=(const UnfinishedFile&) = delete;
  ~UnfinishedFile();

  const std::filesystem::path& Path() const noexcept { return path_; }

 private:
  using Slot = std::atomic<const std::filesystem::path*>;

  static Slot& FreeSlot();

  const std::filesystem::path path_;
  Slot& slot_;
};

/// From now on a signal that ends the program (an interrupt, a hang-up, a closed pipe, …) removes the
/// unfinished files first.
void RemoveUnfinishedFilesWhenInterrupted();

}  // namespace kv_host
