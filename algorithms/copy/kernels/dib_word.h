#pragma once

#include <cstdint>

namespace kv_img::copy {

/// The word of a 15-bit bitmap pixel: five bits each of red, green and blue under a zero bit.
constexpr std::uint16_t Dib15Word(std::uint8_t red, std::uint8_t green, std::uint8_t blue) {
  return static_cast<std::uint16_t>((red & 0xF8) << 7 | (green & 0xF8) << 2 | blue >> 3);
}
static_assert(Dib15Word(255, 255, 255) == 0x7FFF && Dib15Word(7, 7, 7) == 0 &&
              Dib15Word(8, 16, 24) == 0x0443);

/// The word of a 16-bit bitmap pixel: five bits of red, six of green, five of blue.
constexpr std::uint16_t Dib16Word(std::uint8_t red, std::uint8_t green, std::uint8_t blue) {
  return static_cast<std::uint16_t>((red & 0xF8) << 8 | (green & 0xFC) << 3 | blue >> 3);
}
static_assert(Dib16Word(255, 255, 255) == 0xFFFF && Dib16Word(7, 3, 7) == 0 && Dib16Word(8, 4, 24) == 0x0823);

}  // namespace kv_img::copy
