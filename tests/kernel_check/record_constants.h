#pragma once

#include <cstdint>

#include "algorithms/alpha/kernels/chroma_distance.h"
#include "algorithms/arithmetic/kernels/blend_boost.h"
#include "algorithms/arithmetic/kernels/luma_difference.h"
#include "algorithms/color/kernels/bitmap_rows.h"
#include "algorithms/color/kernels/decode.h"
#include "algorithms/color/kernels/encode.h"
#include "algorithms/color/kernels/grey.h"
#include "algorithms/color/kernels/recode.h"
#include "algorithms/copy/kernels/regroup_pairs.h"
#include "algorithms/copy/kernels/rgb_to_yuv.h"
#include "algorithms/copy/kernels/yuv_to_rgb.h"
#include "algorithms/featurefind/kernels/luma_bytes.h"
#include "algorithms/scanning/kernels/blend_rows.h"
#include "algorithms/scanning/kernels/pan_row.h"

namespace kv_check {

// What a record holds beside its groups and its streams, drawn from a seed: the same for every set.

/// Both byte orders.
void DrawConstants(kv_img::alpha::ChromaDistance::Args& args, std::uint64_t seed);
void DrawConstants(kv_img::arithmetic::BlendBoost::Args& args, std::uint64_t seed);
void DrawConstants(kv_img::arithmetic::LumaDifference::Args& args, std::uint64_t seed);
void DrawConstants(kv_img::featurefind::LumaBytes::Args& args, std::uint64_t seed);
void DrawConstants(kv_img::copy::RegroupPairs::Args& args, std::uint64_t seed);
/// Both byte orders; the usual matrix in half of the calls, else any.
void DrawConstants(kv_img::copy::RgbToYuv::Args& args, std::uint64_t seed);
void DrawConstants(kv_img::copy::YuvToRgb::Args& args, std::uint64_t seed);
/// Fractions of all precisions: of up to 24 bits, down to none.
void DrawConstants(kv_img::scanning::RowBlend::Args& args, std::uint64_t seed);
/// Weights as a pan makes them, the extremes as often as random ones.
void DrawConstants(kv_img::scanning::RowPan::Args& args, std::uint64_t seed);
/// Orders, filters, and weights that keep every sum in range.
void DrawConstants(kv_img::color::DecodeArgs& args, std::uint64_t seed);
void DrawConstants(kv_img::color::EncodeArgs& args, std::uint64_t seed);
void DrawConstants(kv_img::color::Recode::Args& args, std::uint64_t seed);
void DrawConstants(kv_img::color::GreyOfLuma::Args& args, std::uint64_t seed);
void DrawConstants(kv_img::color::LumaOfGrey::Args& args, std::uint64_t seed);
void DrawConstants(kv_img::color::RearrangeArgs& args, std::uint64_t seed);
void DrawConstants(kv_img::color::GreyOfBitmapArgs& args, std::uint64_t seed);
void DrawConstants(kv_img::color::WordsArgs& args, std::uint64_t seed);

}  // namespace kv_check
