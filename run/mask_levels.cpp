#include "run/mask_levels.h"

#include <algorithm>
#include <cmath>

namespace kv_run {

LevelTable TableOf(const MaskLevels& levels) {
  LevelTable table{};
  const int range = levels.high - levels.low;
  for (int level = 0; level < 256; ++level) {
    const int above = std::clamp(level - levels.low, 0, range);
    const int part = levels.isInverted ? range - above : above;
    // In whole numbers where they do: no rounding of a library's comes in.
    const int value = levels.gamma == 1
                          ? (2 * 255 * part + range) / (2 * range)
                          : static_cast<int>(std::floor(
                                255 * std::pow(static_cast<double>(part) / range, 1 / levels.gamma) + 0.5));
    table[static_cast<std::size_t>(level)] = static_cast<std::uint8_t>(value);
  }
  return table;
}

void MapLevels(const LevelTable& table, const std::uint8_t* from, std::uint8_t* to,
               std::size_t count) noexcept {
  // A local copy: a store to the mask might otherwise alias the table.
  const LevelTable local = table;
  for (std::size_t i = 0; i < count; ++i) to[i] = local[from[i]];
}

}  // namespace kv_run
