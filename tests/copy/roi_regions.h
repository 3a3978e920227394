#pragma once

#include "check/region_pairs.h"
#include "tests/support/random.h"

namespace kv_test {

using kv_check::BoldRegion;
using kv_check::RandomBoldPair;
using kv_check::RandomRegionPair;
using kv_check::RandomRunPair;
using kv_check::RegionPair;
using kv_check::Runs;
using kv_check::Size;

}  // namespace kv_test
