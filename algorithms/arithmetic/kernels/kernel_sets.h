#pragma once

#include "algorithms/arithmetic/kernels/blend_boost.h"
#include "algorithms/arithmetic/kernels/halved_sum.h"
#include "algorithms/arithmetic/kernels/luma_difference.h"
#include "algorithms/arithmetic/kernels/replace_row.h"
#include "algorithms/arithmetic/kernels/small_window_means.h"
#include "algorithms/arithmetic/kernels/window_means.h"
#include "frame/member_name.h"

namespace kv_img::arithmetic {

/// Plain C++, the reference.
struct ScalarKernels : MemberC {
  static constexpr auto LumaDifference = scalar::LumaDifference;
  static constexpr auto HalvedSum = scalar::HalvedSum;
  static constexpr auto ReplaceRow = scalar::ReplaceRow;
  static constexpr auto SmallWindowMeans = scalar::SmallWindowMeans;
  static constexpr auto WindowMeans = scalar::WindowMeans;
  static constexpr auto BlendBoost = scalar::BlendBoost;
};

/// 64-bit words.
struct MmxKernels : MemberMMX {
  static constexpr auto LumaDifference = mmx::LumaDifference;
  static constexpr auto HalvedSum = mmx::HalvedSum;
  static constexpr auto ReplaceRow = mmx::ReplaceRow;
  static constexpr auto SmallWindowMeans = mmx::SmallWindowMeans;
  static constexpr auto WindowMeans = mmx::WindowMeans;
  static constexpr auto BlendBoost = mmx::BlendBoost;
};

/// The widest registers of processor and system.
struct WideKernels : MemberSSE2 {
  static constexpr auto LumaDifference =
      ByLevel([]<WideLevel level>(auto& args) noexcept { wide::LumaDifference<level>(args); });
  static constexpr auto HalvedSum =
      ByLevel([]<WideLevel level>(auto& args) noexcept { wide::HalvedSum<level>(args); });
  static constexpr auto ReplaceRow =
      ByLevel([]<WideLevel level>(auto& args) noexcept { wide::ReplaceRow<level>(args); });
  static constexpr auto SmallWindowMeans =
      ByLevel([]<WideLevel level>(auto& args) noexcept { wide::SmallWindowMeans<level>(args); });
  static constexpr auto WindowMeans =
      ByLevel([]<WideLevel level>(auto& args) noexcept { wide::WindowMeans<level>(args); });
  static constexpr auto BlendBoost =
      ByLevel([]<WideLevel level>(auto& args) noexcept { wide::BlendBoost<level>(args); });
};

}  // namespace kv_img::arithmetic
