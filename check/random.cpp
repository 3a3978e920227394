#include "check/random.h"

#include <algorithm>
#include <cstring>

namespace kv_check {

std::uint64_t Random::Chosen(std::uint64_t highest) {
  std::uint64_t value = 0;
  do {
    value = value << 8 | choices_.front();
    choices_ = choices_.subspan(1);
    highest >>= 8;
  } while (highest != 0 && !choices_.empty());
  return value;
}

void Random::Fill(std::span<std::uint8_t> bytes) {
  const int pattern = Between(0, 9);
  if (pattern == 3) {
    for (std::uint8_t& byte : bytes) byte = static_cast<std::uint8_t>(Between(126, 131));
  } else if (pattern > 3) {
    // Pixels of their own for every choice, at the price of two bytes.
    if (!choices_.empty()) return Random(static_cast<std::uint64_t>(Between(0, 65535))).FillFromEngine(bytes);
    FillFromEngine(bytes);
  } else {
    std::ranges::fill(bytes, static_cast<std::uint8_t>(pattern == 0 ? 0 : 255));
    if (pattern != 2) return;
    for (std::size_t i = 1; i < bytes.size(); i += 2) bytes[i] = 0;
  }
}

void Random::FillFromEngine(std::span<std::uint8_t> bytes) {
  while (!bytes.empty()) {
    const std::uint64_t value = engine_();
    const std::size_t count = std::min(bytes.size(), sizeof value);
    std::memcpy(bytes.data(), &value, count);
    bytes = bytes.subspan(count);
  }
}

}  // namespace kv_check
