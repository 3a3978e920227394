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
/// from. Takes packed 4:2:2, luma first. Of a picture with fields `down` is even: lines stay in their field, and each
/// field's own edges are repeated.
Raster Moved(const Raster& picture, int right, int down);

}  // namespace kv_host
