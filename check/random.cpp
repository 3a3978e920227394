#include "check/random.h"

namespace kv_check {

void Random::Fill(std::span<std::uint8_t> bytes) {
  const int pattern = Between(0, 9);
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
