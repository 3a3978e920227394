#pragma once

#include "check/random.h"
#include "image/image_rect.h"
#include "image/run_region.h"

namespace kv_check {

/// A rectangle inside `bounds`.
kv_img::ImageRect RandomRect(Random& random, const kv_img::ImageRect& bounds);

/// A region inside `bounds` whose runs differ from row to row; with `emptyRuns` some of them are empty (their
/// last column one less than their first). Widths are multiples of `multiple`.
kv_img::RunRegion RandomRuns(Random& random, const kv_img::ImageRect& bounds, bool emptyRuns = true,
                             int multiple = 1);

}  // namespace kv_check
