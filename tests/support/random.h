#pragma once

#include "check/random_regions.h"

namespace kv_test {

using kv_check::Random;
using kv_check::RandomRect;
using kv_check::RandomRuns;

}  // namespace kv_test
