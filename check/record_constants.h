#pragma once

#include <cstdint>

#include "algorithms/copy/kernels/regroup_pairs.h"
#include "algorithms/copy/kernels/rgb_to_yuv.h"
#include "algorithms/copy/kernels/yuv_to_rgb.h"

namespace kv_check {

// What a record holds beside its groups and its streams, drawn from a seed: the same for every set.
void DrawConstants(kv_img::copy::RegroupPairs::Args& args, std::uint64_t seed);
/// Both byte orders; the usual matrix in half of the calls, else any.
void DrawConstants(kv_img::copy::RgbToYuv::Args& args, std::uint64_t seed);
void DrawConstants(kv_img::copy::YuvToRgb::Args& args, std::uint64_t seed);

}  // namespace kv_check
