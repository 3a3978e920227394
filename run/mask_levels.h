#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

/// Levels of 8-bit masks: what turns a mask of an alpha layer, which is seldom dark, into one that keys.
namespace kv_run {

/// How the levels of a mask are spread.
struct MaskLevels {
  int low = 0;     ///< 0 to 254: this level and those below become 0.
  int high = 255;  ///< low + 1 to 255: this level and those above become 255.
  bool isInverted = false;
  double gamma = 1;  ///< Above 0; above 1 the levels in between become brighter.

  bool operator==(const MaskLevels&) const = default;
};

inline constexpr double leastGamma = 0.1;
inline constexpr double mostGamma = 10;

/// What becomes of each level.
using LevelTable = std::array<std::uint8_t, 256>;

/// Level v becomes t = (v − low) / (high − low), at least 0 and at most 1; inverted 1 − t; then 255 · t^(1 / gamma), halves
/// up.
LevelTable TableOf(const MaskLevels& levels);

/// Puts `count` levels through the table. `to` may be `from`.
void MapLevels(const LevelTable& table, const std::uint8_t* from, std::uint8_t* to,
               std::size_t count) noexcept;

}  // namespace kv_run
