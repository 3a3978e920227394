#pragma once

#include "algorithms/arithmetic/kernels/blend_boost.h"
#include "algorithms/arithmetic/kernels/halved_sum.h"
#include "algorithms/arithmetic/kernels/luma_difference.h"
#include "algorithms/arithmetic/kernels/replace_row.h"
#include "algorithms/arithmetic/kernels/window_means.h"
#include "frame/member_name.h"

namespace kv_img::arithmetic {

/// Plain C++, the reference.
struct ScalarKernels : MemberC {
  static constexpr auto LumaDifference = scalar::LumaDifference;
  static constexpr auto HalvedSum = scalar::HalvedSum;
  static constexpr auto ReplaceRow = scalar::ReplaceRow;
  static constexpr auto WindowMeans = scalar::WindowMeans;
  static constexpr auto BlendBoost = scalar::BlendBoost;
};

/// 64-bit words.
struct MmxKernels : MemberMMX {
  static constexpr auto LumaDifference = mmx::LumaDifference;
  static constexpr auto HalvedSum = mmx::HalvedSum;
  static constexpr auto ReplaceRow = mmx::ReplaceRow;
  static constexpr auto WindowMeans = mmx::WindowMeans;
  static constexpr auto BlendBoost = mmx::BlendBoost;
};

}  // namespace kv_img::arithmetic
