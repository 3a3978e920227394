#pragma once

#include <deque>
#include <utility>

#include "host/formats/raster.h"

namespace kv_host {

/// The last positions of a point, oldest first: no more than `longestPath`.
using Path = std::deque<std::pair<double, double>>;
inline constexpr std::size_t longestPath = 250;

/// Draws positions as dots, the last one as a cross. Takes packed 4:2:2, luma first.
void DrawPath(Raster& picture, const Path& path);

/// The picture moved by whole pixels, its edges repeated; a pair's chroma is that of the pair that its left pixel comes
/// from. Takes packed 4:2:2, luma first.
Raster Moved(const Raster& picture, int right, int down);

inline bool HasFields(const Raster& frame) {
  return frame.interlace == Interlace::TopFieldFirst || frame.interlace == Interlace::BottomFieldFirst;
}
/// The parity of the field that is first in time.
inline int FirstParity(const Raster& frame) {
  return frame.interlace == Interlace::BottomFieldFirst ? 1 : 0;
}

/// The rows of one field; `parity` 0: the top one.
Raster FieldOf(const Raster& frame, int parity);

}  // namespace kv_host
