#pragma once

#include "check/test_image.h"
#include "tests/support/random.h"

namespace kv_test {

using kv_check::Options;
using kv_check::Placement;
using kv_check::TestImage;

using kv_check::Dib15;
using kv_check::Dib16;
using kv_check::Dib24;
using kv_check::Dib32;
using kv_check::Grey8;
using kv_check::Yuv411P;
using kv_check::Yuv422;
using kv_check::Yuva422;

}  // namespace kv_test
