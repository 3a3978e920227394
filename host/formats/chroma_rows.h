#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace kv_host {

/// Where the rows of 4:2:0 chroma are among those of luma.
enum class ChromaRows { Between, Upper, Lower };

/// A chroma row of a picture as the weighted mean of two stored rows.
struct ChromaRow {
  int nearer;  ///< The stored row, within the picture.
  int further;
  unsigned weight;  ///< Eighths that the nearer one has.
};

/// Row `y` of 4:2:2 out of `stored` rows of 4:2:0, by distance; outside the picture the outermost row repeats.
///   between two rows   3:1 of the nearer row and the further one; in fields, which are filtered each on its own, 7:1 and
///                      5:3 in the top one's even and odd rows, 5:3 and 7:1 in the bottom one's
///   at the upper row   that row itself, and the mean of two; each field on its own
///   at the lower row   the mean of two, and the row itself
/// A frame with a single row of chroma has no fields of it.
constexpr ChromaRow ChromaRowAt(int y, int stored, ChromaRows position, bool isInterlaced) {
  const bool hasFields = isInterlaced && stored > 1;
  const int field = hasFields ? y % 2 : 0;
  const int step = hasFields ? 2 : 1;
  const int row = (y - field) / step;  // in its field
  const int parity = row % 2;
  const int count = (stored - field + step - 1) / step;
  const auto at = [&](int i) { return field + step * std::clamp(i, 0, count - 1); };
  unsigned weight = 6;
  if (position != ChromaRows::Between) {
    weight = parity == (position == ChromaRows::Upper ? 0 : 1) ? 8 : 4;
  } else if (hasFields) {
    weight = parity == field ? 7 : 5;
  }
  return {.nearer = at(row / 2), .further = at(row / 2 + 2 * parity - 1), .weight = weight};
}

/// The two rows of a picture whose weighted mean is a stored row, the last one repeated: their mean, and in fields 3:1 in
/// the top one and 1:3 in the bottom one, where the stored rows are nearer to the upper and to the lower of two.
struct LumaRows {
  int above;
  int below;
  unsigned weight;  ///< Eighths that the one above has.
};

constexpr LumaRows LumaRowsOf(int y, int stored, int rows, bool isInterlaced) {
  const bool hasFields = isInterlaced && stored > 1;
  const int field = hasFields ? y % 2 : 0;
  const int step = hasFields ? 2 : 1;
  const int count = (rows - field + step - 1) / step;
  const auto at = [&](int i) { return field + step * std::min(i, count - 1); };
  const int row = (y - field) / step * 2;
  return {.above = at(row), .below = at(row + 1), .weight = !hasFields ? 4U : field == 0 ? 6U : 2U};
}

/// Halves up.
constexpr std::uint8_t ChromaSample(std::uint8_t nearer, std::uint8_t further, unsigned weight) {
  return static_cast<std::uint8_t>((weight * nearer + (8 - weight) * further + 4) >> 3U);
}
static_assert(ChromaSample(10, 20, 6) == 13 && ChromaSample(20, 10, 6) == 18 &&
              ChromaSample(10, 20, 4) == 15);

}  // namespace kv_host
