#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace kv_host {

/// Bytes of a file, a pipe or standard input, read once from front to back. It never reads further than it
/// was asked to, so a frame that has arrived in a pipe can be used before the next one is sent. Every
/// operation throws FileError when the system refuses. One thread at a time.
class ByteSource {
 public:
  /// Opens the file; `-` is standard input. Throws FileError when it cannot be opened.
  explicit ByteSource(const std::string& name);

  /// Name for messages.
  const std::string& Name() const { return name_; }
  /// Bytes consumed so far.
  std::uint64_t Offset() const { return offset_; }
  /// Bytes still to come; empty where nobody knows (pipes, standard input, devices).
  std::optional<std::uint64_t> Remaining() const;

  /// The next `count` bytes without consuming them; fewer only at the end. Valid until the next call.
  std::span<const std::uint8_t> Peek(std::size_t count);
  bool AtEnd() { return Peek(1).empty(); }

  /// The next byte, or -1 at the end.
  int Get();
  /// Fills `out`; answers the bytes read, fewer only at the end.
  std::size_t ReadSome(std::span<std::uint8_t> out);
  /// Appends `count` bytes to `out`; answers how many there were, fewer only at the end. Memory grows with
  /// the bytes that arrive, never with what a header promised.
  std::uint64_t AppendSome(std::vector<std::uint8_t>& out, std::uint64_t count);

  /// As ReadSome, but throws FormatError, naming `what` and the missing bytes, unless all were there.
  void Read(std::span<std::uint8_t> out, std::string_view what);
  /// As AppendSome, but throws FormatError unless all were there; straight away if the file is known to be
  /// too short.
  void Append(std::vector<std::uint8_t>& out, std::uint64_t count, std::string_view what);
  /// Passes over `count` bytes; throws FormatError if there are fewer.
  void Skip(std::uint64_t count, std::string_view what);

  /// For whoever reads on without this object: the system's number of the file, and what was read of a pipe but not
  /// consumed. Of a file, which can be read from its start again, there is nothing.
  int Descriptor() const;
  std::vector<std::uint8_t> TakeAhead();

  /// Throws FormatError for the byte at the current offset.
  [[noreturn]] void Fail(const std::string& problem) const;
  /// Throws the TruncatedError for `what` that wanted `wanted` bytes, `got` of which were there.
  [[noreturn]] void FailShort(std::string_view what, std::uint64_t wanted, std::uint64_t got) const;

 private:
  struct Closer {
    void operator()(std::FILE* file) const noexcept;
  };

  std::size_t ReadFile(std::span<std::uint8_t> out);

  std::string name_;
  std::unique_ptr<std::FILE, Closer> file_;
  std::optional<std::uint64_t> size_;
  std::uint64_t offset_ = 0;
  std::vector<std::uint8_t> peeked_;  // read from the file, not yet consumed
};

}  // namespace kv_host
