#pragma once

#include "algorithms/scanning/kernels/pan_row.h"
#include "frame/member_name.h"

namespace kv_img::scanning {

/// Plain C++, the reference.
struct ScalarKernels : MemberC {
  static constexpr auto PanChromaFirst = scalar::PanChromaFirst;
  static constexpr auto PanChromaFirstShifted = scalar::PanChromaFirstShifted;
  static constexpr auto PanLumaFirst = scalar::PanLumaFirst;
  static constexpr auto PanLumaFirstShifted = scalar::PanLumaFirstShifted;
};

/// 64-bit words.
struct MmxKernels : MemberMMX {
  static constexpr auto PanChromaFirst = mmx::PanChromaFirst;
  static constexpr auto PanChromaFirstShifted = mmx::PanChromaFirstShifted;
  static constexpr auto PanLumaFirst = mmx::PanLumaFirst;
  static constexpr auto PanLumaFirstShifted = mmx::PanLumaFirstShifted;
};

/// The widest registers of processor and system.
struct WideKernels : MemberSSE2 {
  static constexpr auto PanChromaFirst =
      ByLevel([]<WideLevel level>(auto& args) noexcept { wide::PanChromaFirst<level>(args); });
  static constexpr auto PanChromaFirstShifted =
      ByLevel([]<WideLevel level>(auto& args) noexcept { wide::PanChromaFirstShifted<level>(args); });
  static constexpr auto PanLumaFirst =
      ByLevel([]<WideLevel level>(auto& args) noexcept { wide::PanLumaFirst<level>(args); });
  static constexpr auto PanLumaFirstShifted =
      ByLevel([]<WideLevel level>(auto& args) noexcept { wide::PanLumaFirstShifted<level>(args); });
};

}  // namespace kv_img::scanning
