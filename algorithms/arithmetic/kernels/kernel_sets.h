#pragma once

#include "algorithms/arithmetic/kernels/blend_boost.h"
#include "algorithms/arithmetic/kernels/halved_sum.h"
#include "algorithms/arithmetic/kernels/luma_difference.h"
#include "frame/member_name.h"

namespace kv_img::arithmetic {

/// Plain C++, the reference.
struct ScalarKernels : MemberC {
  static constexpr auto LumaDifference = scalar::LumaDifference;
  static constexpr auto HalvedSum = scalar::HalvedSum;
  static constexpr auto BlendBoost = scalar::BlendBoost;
};

/// 64-bit words.
struct MmxKernels : MemberMMX {
  static constexpr auto LumaDifference = mmx::LumaDifference;
  static constexpr auto HalvedSum = mmx::HalvedSum;
  static constexpr auto BlendBoost = mmx::BlendBoost;
};

/// The widest registers of processor and system.
struct WideKernels : MemberSSE2 {
  static constexpr auto LumaDifference =
      ByLevel([]<WideLevel level>(auto& args) noexcept { wide::LumaDifference<level>(args); });
  static constexpr auto HalvedSum =
      ByLevel([]<WideLevel level>(auto& args) noexcept { wide::HalvedSum<level>(args); });
  static constexpr auto BlendBoost =
      ByLevel([]<WideLevel level>(auto& args) noexcept { wide::BlendBoost<level>(args); });
};

}  // namespace kv_img::arithmetic
