#pragma once

#include "geometry/half_plane.h"

namespace kv_math {

/// Removes the points of `loop` that add no area: consecutive duplicates, and tips of spikes, where the curve
/// turns back along itself. Coordinates must be finite.
void TrimSpikes(Loop& loop);

/// Returns false if all points of `loop` are on one line, within 4 * 2^-52 of the largest coordinate.
/// Coordinates must be finite.
bool HasWidth(const Loop& loop);

}  // namespace kv_math
