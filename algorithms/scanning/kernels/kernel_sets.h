#pragma once

#include "algorithms/scanning/kernels/blend_rows.h"
#include "algorithms/scanning/kernels/pan_row.h"
#include "frame/member_name.h"

namespace kv_img::scanning {

/// Plain C++, the reference.
struct ScalarKernels : MemberC {
  static constexpr auto PanChromaFirst = scalar::PanChromaFirst;
  static constexpr auto PanChromaFirstShifted = scalar::PanChromaFirstShifted;
  static constexpr auto PanLumaFirst = scalar::PanLumaFirst;
  static constexpr auto PanLumaFirstShifted = scalar::PanLumaFirstShifted;
  static constexpr auto BlendAlike = scalar::BlendAlike;
  static constexpr auto BlendLumaFirst = scalar::BlendLumaFirst;
  static constexpr auto BlendChromaFirst = scalar::BlendChromaFirst;
};

/// 64-bit words.
struct MmxKernels : MemberMMX {
  static constexpr auto PanChromaFirst = mmx::PanChromaFirst;
  static constexpr auto PanChromaFirstShifted = mmx::PanChromaFirstShifted;
  static constexpr auto PanLumaFirst = mmx::PanLumaFirst;
  static constexpr auto PanLumaFirstShifted = mmx::PanLumaFirstShifted;
  static constexpr auto BlendAlike = mmx::BlendAlike;
  static constexpr auto BlendLumaFirst = mmx::BlendLumaFirst;
  static constexpr auto BlendChromaFirst = mmx::BlendChromaFirst;
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
  static constexpr auto BlendAlike =
      ByLevel([]<WideLevel level>(auto& args) noexcept { wide::BlendAlike<level>(args); });
  static constexpr auto BlendLumaFirst =
      ByLevel([]<WideLevel level>(auto& args) noexcept { wide::BlendLumaFirst<level>(args); });
  static constexpr auto BlendChromaFirst =
      ByLevel([]<WideLevel level>(auto& args) noexcept { wide::BlendChromaFirst<level>(args); });
};

}  // namespace kv_img::scanning
