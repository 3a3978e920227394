#pragma once

#include "algorithms/parity/kernels/average_lines.h"
#include "frame/member_name.h"

namespace kv_img::parity {

/// Plain C++, the reference.
struct ScalarKernels : MemberC {
  static constexpr auto AverageLines = scalar::AverageLines;
  static constexpr auto AverageLinesSwapped = scalar::AverageLinesSwapped;
};

/// 64-bit words.
struct MmxKernels : MemberMMX {
  static constexpr auto AverageLines = mmx::AverageLines;
  static constexpr auto AverageLinesSwapped = mmx::AverageLinesSwapped;
};

/// The widest registers of processor and system.
struct WideKernels : MemberSSE2 {
  static constexpr auto AverageLines =
      ByLevel([]<WideLevel level>(auto& args) noexcept { wide::AverageLines<level>(args); });
  static constexpr auto AverageLinesSwapped =
      ByLevel([]<WideLevel level>(auto& args) noexcept { wide::AverageLinesSwapped<level>(args); });
};

}  // namespace kv_img::parity
