#include "algorithms/arithmetic/blend_boost.h"

#include "plugin/rows/rows.h"

KV_OFFER(BlendBoost);
