#include "algorithms/simd/wide_level.h"

#include <algorithm>

#include "algorithms/simd/level_cap.h"

namespace kv_img {

const WideLevel currentLevel = std::min(LevelInForce(), levelCap);

}  // namespace kv_img
