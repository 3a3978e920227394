#pragma once

#include <cstdint>

namespace kv_img {

/// What a host knows of a frame beside its pixels.
struct VideoImageProperties {
  /// Non-zero: rows are not contiguous, so same-layout copies go row by row unless `propertyMode` is 2.
  std::uint8_t propertyFlag = 0;
  /// The order of the fields; the field-parity change inverts it.
  std::uint8_t fieldOrder = 0;
  /// The parity of the field that the first row belongs to; copies between different parities shift by a row.
  std::uint8_t fieldParity = 0;
  std::uint8_t reserved = 0;
  /// 2: copies may take the pixel memory as one block although `propertyFlag` is set.
  std::int32_t propertyMode = 0;

  bool operator==(const VideoImageProperties&) const = default;
};
static_assert(sizeof(VideoImageProperties) == 8);

}  // namespace kv_img
