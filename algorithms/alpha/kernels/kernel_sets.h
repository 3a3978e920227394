#pragma once

#include "algorithms/alpha/kernels/centred_difference.h"
#include "algorithms/alpha/kernels/chroma_distance.h"
#include "frame/member_name.h"

namespace kv_img::alpha {

/// Plain C++, the reference.
struct ScalarKernels : MemberC {
  static constexpr auto ChromaDistance = scalar::ChromaDistance;
  static constexpr auto CentredDifference = scalar::CentredDifference;
};

/// 64-bit words.
struct MmxKernels : MemberMMX {
  static constexpr auto ChromaDistance = mmx::ChromaDistance;
  static constexpr auto CentredDifference = mmx::CentredDifference;
};

/// The widest registers of processor and system.
struct WideKernels : MemberSSE2 {
  static constexpr auto ChromaDistance =
      ByLevel([]<WideLevel level>(auto& args) noexcept { wide::ChromaDistance<level>(args); });
  static constexpr auto CentredDifference =
      ByLevel([]<WideLevel level>(auto& args) noexcept { wide::CentredDifference<level>(args); });
};

}  // namespace kv_img::alpha
