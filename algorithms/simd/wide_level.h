#pragma once

#include "frame/platform/wide_level.h"

namespace kv_img {

/// The level that the wide kernels of this module run at: decided once, when it is loaded.
extern const WideLevel currentLevel;

}  // namespace kv_img
