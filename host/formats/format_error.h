#pragma once

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

namespace kv_host {

/// A file that could not be opened, read or written. `what()` is one printable line: file name, colon,
/// problem.
class FileError : public std::runtime_error {
 public:
  FileError(const std::string& name, const std::string& problem);

  /// Name of the file.
  const std::string& File() const { return file_; }

 private:
  std::string file_;
};

/// A file whose content, or the picture to be written to it, does not fit its format. The line names the file, the byte
/// offset where the content stops making sense (where there is one), what is wrong and what would be right.
class FormatError : public FileError {
 public:
  FormatError(const std::string& name, const std::string& problem);
  FormatError(const std::string& name, std::uint64_t offset, const std::string& problem);

  /// The byte where the content stops making sense, if there is one.
  const std::optional<std::uint64_t>& Offset() const { return offset_; }

 private:
  std::optional<std::uint64_t> offset_;
};

/// A file that ends before what it began is whole.
class TruncatedError : public FormatError {
 public:
  using FormatError::FormatError;
};

/// The system's text for an errno value.
std::string SystemText(int error);

/// Text out of a file as a message may show it: in single quotes, at most 40 characters, unprintable ones as
/// `?`.
std::string Quoted(std::string_view text);

}  // namespace kv_host
