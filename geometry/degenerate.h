#pragma once

#include "geometry/half_plane.h"

namespace kv_math {

/// Removes the points of `loop` that add no area: points repeated in succession, and tips of spikes, where
/// the curve turns back along itself. Coordinates must be finite.
void TrimSpikes(Loop& loop);

/// False when all points of `loop` lie on one line, as far as their coordinates tell: no further from it than
/// 4 * 2^-52 of the largest coordinate. Coordinates must be finite.
bool HasWidth(const Loop& loop);

}  // namespace kv_math
