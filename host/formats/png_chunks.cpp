#include "host/formats/png_chunks.h"

#include <zlib.h>

#include <algorithm>
#include <array>
#include <cstdio>

#include "host/formats/format_error.h"

namespace kv_host::png {
namespace {

bool IsLetter(char byte) {
  return (byte >= 'A' && byte <= 'Z') || (byte >= 'a' && byte <= 'z');
}

}  // namespace

void ChunkReader::Read(std::span<std::uint8_t> out) {
  const std::size_t missing = out.size() - source_.ReadSome(out);
  if (missing == 0) return;
  source_.Fail("the file ends early: the PNG picture lacks at least " + std::to_string(missing) + " bytes");
}

void ChunkReader::Begin() {
  std::array<std::uint8_t, 8> head{};
  Read(head);
  length_ = left_ = BigEndian(head);
  if (length_ > 0x7FFFFFFF) Fail("PNG unsigned integer out of range");
  name_.assign(head.begin() + 4, head.end());
  sum_ = crc32(0, head.data() + 4, 4);
  if (!std::ranges::all_of(name_, IsLetter)) FailInChunk("invalid chunk type");
}

void ChunkReader::Take(std::span<std::uint8_t> out) {
  Read(out);
  sum_ = crc32(sum_, out.data(), static_cast<uInt>(out.size()));
  left_ -= static_cast<std::uint32_t>(out.size());
}

std::vector<std::uint8_t> ChunkReader::TakeAll() {
  std::vector<std::uint8_t> data;
  while (left_ != 0) {
    const std::size_t start = data.size();
    data.resize(start + std::min<std::size_t>(left_, 65536));  // memory grows with what arrives
    Take(std::span(data).subspan(start));
  }
  return data;
}

bool ChunkReader::End() {
  std::array<std::uint8_t, 1024> skipped{};
  while (left_ != 0) Take(std::span(skipped).first(std::min<std::size_t>(left_, skipped.size())));
  std::array<std::uint8_t, 4> sum{};
  Read(sum);
  const bool isRight = BigEndian(sum) == sum_;
  if (!isRight && !IsAncillary()) FailInChunk("CRC error");
  return isRight;
}

void ChunkReader::Fail(std::string_view problem) const {
  source_.Fail("not a valid PNG file: " + std::string(problem));
}

void ChunkReader::FailInChunk(std::string_view problem) const {
  std::string name;
  for (const char byte : name_) {
    if (IsLetter(byte)) {
      name += byte;
    } else {
      char hex[8];
      std::snprintf(hex, sizeof hex, "[%02X]", static_cast<unsigned char>(byte));
      name += hex;
    }
  }
  Fail(name + ": " + std::string(problem));
}

}  // namespace kv_host::png
