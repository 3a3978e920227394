#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace kv_host::bmp {

inline constexpr std::uint32_t FileHeaderSize = 14;
inline constexpr std::uint32_t InfoHeaderSize = 40;
inline constexpr std::uint32_t V4HeaderSize = 108;

inline constexpr std::uint32_t Rgb = 0;             // BI_RGB
inline constexpr std::uint32_t Bitfields = 3;       // BI_BITFIELDS: red, green and blue masks follow
inline constexpr std::uint32_t AlphaBitfields = 6;  // BI_ALPHABITFIELDS: and an alpha mask

/// Which bits of a pixel hold red, green, blue and alpha.
using Masks = std::array<std::uint32_t, 4>;

inline constexpr Masks Masks555 = {0x7C00, 0x03E0, 0x001F, 0};
inline constexpr Masks Masks565 = {0xF800, 0x07E0, 0x001F, 0};
inline constexpr Masks Masks888 = {0x00FF0000, 0x0000FF00, 0x000000FF, 0};
inline constexpr Masks Masks8888 = {0x00FF0000, 0x0000FF00, 0x000000FF, 0xFF000000};

/// Bytes of a stored row: rows end on whole 32-bit words.
inline std::size_t StoredStride(int width, int bitsPerPixel) {
  return (static_cast<std::size_t>(width) * static_cast<std::size_t>(bitsPerPixel) + 31) / 32 * 4;
}

}  // namespace kv_host::bmp
