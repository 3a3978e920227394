#pragma once

#include <cstddef>
#include <cstdint>

#include "capi/kv/kv.h"

namespace kv_capi {

/// How the pixels of a format are stored.
enum class Storage : std::uint8_t { Packed, PackedAlpha, Planar, Grey, Bitmap, Words };

/// The one table of what the library knows of its formats.
struct Format {
  std::int32_t code;
  const char* name;
  Storage storage;
  std::uint8_t planes;
  std::uint8_t pixelBytes;  ///< of bitmaps, words and grey
  std::int32_t layout;      ///< the family's code of the component order
  bool hasAlpha;
};

/// Null: there is none of this code.
const Format* FindFormat(std::int32_t code) noexcept;

constexpr bool IsPacked(const Format& format) {
  return format.storage == Storage::Packed || format.storage == Storage::PackedAlpha;
}
constexpr bool IsRgb(const Format& format) {
  return format.storage == Storage::Bitmap || format.storage == Storage::Words;
}

/// Bytes of a row of `plane`, its last pixel group completed.
constexpr std::int64_t RowBytes(const Format& format, int plane, std::int64_t width) {
  if (IsPacked(format)) return plane == 0 ? 4 * ((width + 1) / 2) : width;
  if (format.storage == Storage::Planar) return plane == 0 ? width : (width + 1) / 2;
  return width * format.pixelBytes;
}

}  // namespace kv_capi
