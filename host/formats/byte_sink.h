#pragma once

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "host/formats/format_error.h"
#include "host/formats/unfinished_files.h"

namespace kv_host {

/// For a file that must not be replaced.
FileError ExistsError(const std::string& name);

/// Bytes on their way to a file. They are written to a temporary file beside the target, which takes the
/// target's name on Commit(); a sink that is destroyed without Commit() removes it, so nothing half-written
/// stands under the final name and an older file there stays whole. Standard output, pipes and devices are
/// written at once. Every operation throws FileError (disk full, …). One thread at a time.
class ByteSink {
 public:
  /// `-` is standard output. Throws FileError if the target cannot be written.
  explicit ByteSink(const std::string& name);
  /// Appends to `memory`, which outlives it.
  explicit ByteSink(std::vector<std::uint8_t>& memory) : name_("memory"), memory_(&memory) {}
  ByteSink(ByteSink&&) noexcept = default;
  ByteSink& operator=(ByteSink&&) = delete;
  ~ByteSink();

  /// Name for messages.
  const std::string& Name() const { return name_; }
  /// True for standard output, pipes and devices: what is written is seen at once.
  bool WritesThrough() const { return writesThrough_; }

  void Write(std::span<const std::uint8_t> bytes);
  void Write(std::string_view text);
  /// Of a file, not where it writes through: what is written next goes there, counted from the file's start.
  void Seek(std::int64_t position);
  /// Hands what was written to the system.
  void Flush();
  /// Ends the writing and closes the file; it keeps its temporary name.
  void Finish();
  /// Gives the file another final name, in the same folder.
  void Rename(const std::string& name);
  /// Finish(), then the final name. With `replaces` false a file that has this name already is an error.
  void Commit(bool replaces = true);

 private:
  struct Closer {
    void operator()(std::FILE* file) const noexcept;
  };

  void OpenTemporary();
  [[noreturn]] void FailToWrite(int error) const;

  std::string name_;
  std::vector<std::uint8_t>* memory_ = nullptr;
  std::unique_ptr<std::FILE, Closer> file_;
  std::filesystem::path target_;
  std::unique_ptr<UnfinishedFile> temporary_;  // while there is a file to rename or to remove
  bool writesThrough_ = false;
};

}  // namespace kv_host
