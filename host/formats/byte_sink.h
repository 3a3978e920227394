#pragma once

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <span>
#include <string>
#include <string_view>

namespace kv_host {

/// Bytes on their way to a file. They are written to a temporary file beside the target, which takes the
/// target's name on Commit(); a sink that goes without Commit() removes it, so nothing half-written stands
/// under the final name and an older file there stays whole. Standard output, pipes and devices have no such
/// shelter: they are written straight through. Every operation throws FileError (disk full, closed pipe, …);
/// the program must ignore SIGPIPE. One thread at a time.
class ByteSink {
 public:
  /// `-` is standard output. Throws FileError if the target cannot be written.
  explicit ByteSink(const std::string& name);
  ByteSink(ByteSink&&) noexcept = default;
  ByteSink& operator=(ByteSink&&) = delete;
  ~ByteSink();

  /// Name for messages.
  const std::string& Name() const { return name_; }
  /// True for standard output, pipes and devices: what is written is seen at once.
  bool WritesThrough() const { return writesThrough_; }

  void Write(std::span<const std::uint8_t> bytes);
  void Write(std::string_view text);
  /// Hands what was written to the system.
  void Flush();
  /// Ends the writing and closes the file; it keeps its temporary name.
  void Finish();
  /// Gives the file another final name, in the same folder.
  void Rename(const std::string& name);
  /// Finish(), then the final name.
  void Commit();

 private:
  struct Closer {
    void operator()(std::FILE* file) const noexcept;
  };

  void OpenTemporary();
  [[noreturn]] void FailToWrite(int error) const;

  std::string name_;
  std::unique_ptr<std::FILE, Closer> file_;
  std::filesystem::path target_;
  std::unique_ptr<const std::filesystem::path>
      temporary_;  // set while there is a file to rename or to remove
  bool writesThrough_ = false;
};

}  // namespace kv_host
