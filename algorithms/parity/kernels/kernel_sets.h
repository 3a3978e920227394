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

}  // namespace kv_img::parity
