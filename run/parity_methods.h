#pragma once

#include <cstddef>
#include <cstdint>

/// Changes of field parity beside "ParityChange". Plain functions over rows of bytes, one plane at a time; any thread may
/// make any rows.
namespace kv_run {

/// A plane of rows: those of `height` and `rowBytes` are read or written, and no other byte.
template <class Byte>
struct PlaneRows {
  Byte* bytes;            ///< Of the first row.
  std::ptrdiff_t stride;  ///< Bytes from a row to the next one below it.

  Byte* Row(int y) const { return bytes + stride * y; }
};

/// How a plane moves: to the row below, or above.
enum class LineShift { Down, Up };

/// The picture one line further down or up: row y is row y − 1 of the source, or y + 1, and the row at the edge that has
/// none is that of the source itself. Nothing is interpolated; a top-field-first frame that moved by a line either way has
/// its bottom field first. Writes rows first to last of `height`; the planes do not overlap.
void ShiftLines(PlaneRows<const std::uint8_t> from, PlaneRows<std::uint8_t> to, std::size_t rowBytes,
                int height, int first, int last, LineShift shift);

/// Every line from its two neighbours, which are of the other field: (row y − 1 + row y + 1 + 1) >> 1 of each byte, the one
/// that there is at the edges, and itself in a plane of one row. So the picture stays where it is, and what was at the
/// first field's time is in the other lines. Writes rows first to last of `height`; the planes do not overlap.
void InterpolateFields(PlaneRows<const std::uint8_t> from, PlaneRows<std::uint8_t> to, std::size_t rowBytes,
                       int height, int first, int last);

}  // namespace kv_run
