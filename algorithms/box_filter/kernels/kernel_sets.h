#pragma once

#include "algorithms/box_filter/kernels/replace_row.h"
#include "algorithms/box_filter/kernels/small_window_means.h"
#include "algorithms/box_filter/kernels/window_means.h"
#include "frame/member_name.h"

namespace kv_img::box_filter {

/// Plain C++, the reference.
struct ScalarKernels : MemberC {
  static constexpr auto ReplaceRow = scalar::ReplaceRow;
  static constexpr auto SmallWindowMeans = scalar::SmallWindowMeans;
  static constexpr auto WindowMeans = scalar::WindowMeans;
};

/// 64-bit words.
struct MmxKernels : MemberMMX {
  static constexpr auto ReplaceRow = mmx::ReplaceRow;
  static constexpr auto SmallWindowMeans = mmx::SmallWindowMeans;
  static constexpr auto WindowMeans = mmx::WindowMeans;
};

/// The widest registers of processor and system.
struct WideKernels : MemberSSE2 {
  static constexpr auto ReplaceRow =
      ByLevel([]<WideLevel level>(auto& args) noexcept { wide::ReplaceRow<level>(args); });
  static constexpr auto SmallWindowMeans =
      ByLevel([]<WideLevel level>(auto& args) noexcept { wide::SmallWindowMeans<level>(args); });
  static constexpr auto WindowMeans =
      ByLevel([]<WideLevel level>(auto& args) noexcept { wide::WindowMeans<level>(args); });
};

}  // namespace kv_img::box_filter
