#include "host/formats/limited_range.h"

#include <array>

namespace kv_host {
namespace {

using Table = std::array<std::uint8_t, 256>;

constexpr Table LumaTable() {
  Table table{};
  for (unsigned i = 0; i < table.size(); ++i)
    table[i] = static_cast<std::uint8_t>(16 + (219 * i + 127) / 255);
  return table;
}

constexpr Table ChromaTable() {
  Table table{};
  // 128 · 224 / 255 is 112.4, so that 113 more keep the division's operand from falling below 0.
  for (unsigned i = 0; i < table.size(); ++i) {
    table[i] = static_cast<std::uint8_t>(128 - 113 + (113 * 255 + 224 * i - 224 * 128 + 127) / 255);
  }
  return table;
}

constexpr Table Luma = LumaTable();
constexpr Table Chroma = ChromaTable();
static_assert(Luma[0] == 16 && Luma[255] == 235 && Luma[128] == 126);
static_assert(Chroma[0] == 16 && Chroma[128] == 128 && Chroma[255] == 240 && Chroma[127] == 127);

void Map(std::vector<std::uint8_t>& bytes, const Table& even, const Table& odd) {
  for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = (i % 2 == 0 ? even : odd)[bytes[i]];
}

}  // namespace

Raster WithLimitedRange(const Raster& full) {
  Raster limited = full;
  limited.range = ColourRange::Limited;
  if (full.kind == RasterKind::Yuv422Planar) {
    Map(limited.planes[0].bytes, Luma, Luma);
    Map(limited.planes[1].bytes, Chroma, Chroma);
    Map(limited.planes[2].bytes, Chroma, Chroma);
  } else if (full.layout == LayoutLumaFirst) {
    Map(limited.planes[0].bytes, Luma, Chroma);
  } else {
    Map(limited.planes[0].bytes, Chroma, Luma);
  }
  return limited;
}

}  // namespace kv_host
