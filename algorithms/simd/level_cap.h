#pragma once

#include "algorithms/simd/wide_level.h"

namespace kv_img {

/// The level beyond which this module does not go, whatever the processor has. Members have none; tests and
/// benchmarks link modules that stop at each level.
extern const WideLevel levelCap;

}  // namespace kv_img
