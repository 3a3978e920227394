#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "host/formats/byte_source.h"
#include "host/formats/png_parts.h"

namespace kv_host::png {

/// The four bytes as a number, the first one highest.
inline std::uint32_t BigEndian(std::span<const std::uint8_t> bytes) {
  return std::uint32_t{bytes[0]} << 24U | std::uint32_t{bytes[1]} << 16U | std::uint32_t{bytes[2]} << 8U |
         bytes[3];
}

/// The chunks of a PNG file after its signature, one at a time: Begin, any number of Take, End.
class ChunkReader {
 public:
  explicit ChunkReader(ByteSource& source) : source_(source) {}

  /// Goes to the next chunk. Throws FormatError if there is none or it cannot be one.
  void Begin();
  bool Is(std::string_view name) const { return name_ == name; }
  /// Whether a reader that does not know the chunk may leave it out.
  bool IsAncillary() const { return (static_cast<unsigned char>(name_[0]) & 32U) != 0; }
  std::uint32_t Length() const { return length_; }
  std::uint32_t Left() const { return left_; }

  /// The next bytes of the chunk's data: all of `out`, which holds at most Left().
  void Take(std::span<std::uint8_t> out);
  /// All of what is left.
  std::vector<std::uint8_t> TakeAll();
  /// Passes over what is left, and compares the check sum. False when it is wrong: then an ancillary chunk does
  /// not count; another one ends the reading with FormatError.
  bool End();

  [[noreturn]] void Fail(std::string_view problem) const;
  /// With the chunk's name before it.
  [[noreturn]] void FailInChunk(std::string_view problem) const;

 private:
  void Read(std::span<std::uint8_t> out);

  ByteSource& source_;
  std::string name_;
  std::uint32_t length_ = 0;
  std::uint32_t left_ = 0;
  unsigned long sum_ = 0;
};

}  // namespace kv_host::png
