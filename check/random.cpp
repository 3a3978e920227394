#include "check/random.h"

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
  if (!choices_.empty() && pattern > 3) {
    // Pixels of their own for every choice, at the price of two bytes.
    Random pixels(static_cast<std::uint64_t>(Between(0, 65535)));
    for (std::uint8_t& byte : bytes) byte = static_cast<std::uint8_t>(pixels.Next());
    return;
  }
  std::uint8_t alternate = 0;
  for (std::uint8_t& byte : bytes) {
    alternate = static_cast<std::uint8_t>(~alternate);
    switch (pattern) {
      case 0:
        byte = 0;
        break;
      case 1:
        byte = 255;
        break;
      case 2:
        byte = alternate;
        break;
      case 3:
        byte = static_cast<std::uint8_t>(Between(126, 131));
        break;
      default:
        byte = static_cast<std::uint8_t>(Next());
    }
  }
}

}  // namespace kv_check
