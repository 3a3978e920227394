#include "capi/rows.h"

#include <cstring>

namespace kv_capi {
namespace {

std::uint32_t Word(const std::uint8_t* bytes) {
  return bytes[0] | static_cast<std::uint32_t>(bytes[1]) << 8U;
}
std::uint8_t Five(std::uint32_t bits) {
  bits &= 31U;
  return static_cast<std::uint8_t>(bits << 3U | bits >> 2U);
}
std::uint8_t Six(std::uint32_t bits) {
  bits &= 63U;
  return static_cast<std::uint8_t>(bits << 2U | bits >> 4U);
}
void Put(std::uint8_t* out, std::uint8_t blue, std::uint8_t green, std::uint8_t red, std::uint8_t alpha) {
  out[0] = blue;
  out[1] = green;
  out[2] = red;
  out[3] = alpha;
}

bool IsRedFirst(const Format& format) {
  return format.code == KV_FORMAT_RGB24 || format.code == KV_FORMAT_RGBA32 || format.code == KV_FORMAT_RGBX32;
}

struct GreyWeights {
  std::uint32_t red;
  std::uint32_t green;
  std::uint32_t blue;
};
/// In units of 1/65536; each row sums to one.
constexpr GreyWeights greyWeights[] = {{19595, 38470, 7471}, {13933, 46871, 4732}, {17216, 44434, 3886}};

}  // namespace

void ReadBitmapRow(const Format& format, const std::uint8_t* row, int width, std::uint8_t* bgra) {
  const int bytes = format.pixelBytes;
  const int blue = IsRedFirst(format) ? 2 : 0;
  for (int x = 0; x < width; ++x, row += bytes, bgra += 4) {
    if (format.storage == Storage::Grey) {
      Put(bgra, row[0], row[0], row[0], 255);
    } else if (format.code == KV_FORMAT_RGB555) {
      const std::uint32_t word = Word(row);
      Put(bgra, Five(word), Five(word >> 5U), Five(word >> 10U), 255);
    } else if (format.code == KV_FORMAT_RGB565) {
      const std::uint32_t word = Word(row);
      Put(bgra, Five(word), Six(word >> 5U), Five(word >> 11U), 255);
    } else {
      Put(bgra, row[blue], row[1], row[2 - blue], format.hasAlpha ? row[3] : std::uint8_t{255});
    }
  }
}

void WriteBitmapRow(const Format& format, const std::uint8_t* bgra, int width, std::uint8_t* row) {
  const int bytes = format.pixelBytes;
  const int blue = IsRedFirst(format) ? 2 : 0;
  for (int x = 0; x < width; ++x, row += bytes, bgra += 4) {
    if (format.storage == Storage::Words) {
      const bool isFifteen = format.code == KV_FORMAT_RGB555;
      const std::uint32_t red = bgra[2] >> 3U;
      const std::uint32_t word = isFifteen ? red << 10U | (bgra[1] >> 3U) << 5U | bgra[0] >> 3U
                                           : red << 11U | (bgra[1] >> 2U) << 5U | bgra[0] >> 3U;
      row[0] = static_cast<std::uint8_t>(word);
      row[1] = static_cast<std::uint8_t>(word >> 8U);
      continue;
    }
    row[blue] = bgra[0];
    row[1] = bgra[1];
    row[2 - blue] = bgra[2];
    if (bytes == 4) row[3] = format.hasAlpha ? bgra[3] : std::uint8_t{255};
  }
}

void WriteGreyRow(const std::uint8_t* bgra, int width, int matrix, std::uint8_t* row) {
  const GreyWeights weights = greyWeights[matrix - KV_MATRIX_BT601];
  for (int x = 0; x < width; ++x, bgra += 4) {
    const std::uint32_t sum =
        weights.red * bgra[2] + weights.green * bgra[1] + weights.blue * bgra[0] + 32768U;
    row[x] = static_cast<std::uint8_t>(sum >> 16U);
  }
}

void PackRow(const Frame& planar, int row, bool isLumaFirst, std::uint8_t* packed) {
  const std::uint8_t* luma = planar.Row(0, row);
  const std::uint8_t* cb = planar.Row(1, row);
  const std::uint8_t* cr = planar.Row(2, row);
  const int y = isLumaFirst ? 0 : 1;
  const int c = 1 - y;
  const int pairs = (planar.width + 1) / 2;
  for (int pair = 0; pair < pairs; ++pair, packed += 4) {
    const int left = 2 * pair;
    packed[y] = luma[left];
    packed[y + 2] = luma[left + 1 < planar.width ? left + 1 : left];
    packed[c] = cb[pair];
    packed[c + 2] = cr[pair];
  }
}

void UnpackRow(const std::uint8_t* packed, bool isLumaFirst, const Frame& planar, int row) {
  std::uint8_t* luma = planar.Row(0, row);
  std::uint8_t* cb = planar.Row(1, row);
  std::uint8_t* cr = planar.Row(2, row);
  const int y = isLumaFirst ? 0 : 1;
  const int c = 1 - y;
  const int pairs = (planar.width + 1) / 2;
  for (int pair = 0; pair < pairs; ++pair, packed += 4) {
    luma[2 * pair] = packed[y];
    if (2 * pair + 1 < planar.width) luma[2 * pair + 1] = packed[y + 2];
    cb[pair] = packed[c];
    cr[pair] = packed[c + 2];
  }
}

void SwapRow(const std::uint8_t* from, int width, std::uint8_t* to) {
  const int bytes = 4 * ((width + 1) / 2);
  for (int at = 0; at < bytes; at += 2) {
    const std::uint8_t first = from[at];
    to[at] = from[at + 1];
    to[at + 1] = first;
  }
}

}  // namespace kv_capi
