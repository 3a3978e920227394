#pragma once

#include "algorithms/featurefind/kernels/bilinear_sad.h"
#include "algorithms/featurefind/kernels/block_sad.h"
#include "algorithms/featurefind/kernels/luma_bytes.h"
#include "frame/member_name.h"

namespace kv_img::featurefind {

/// Plain C++, the reference.
struct ScalarKernels : MemberC {
  /// Positions side by side that a search compares at a time.
  static constexpr int searchPositions = 1;
  /// Rows that are added up before sums are held against the best so far.
  static constexpr int searchRows = 8;
  static constexpr auto LumaBytes = scalar::LumaBytes;
  static constexpr auto BlockSad = scalar::BlockSad;
  static constexpr auto BilinearSad = scalar::BilinearSad;
};

/// 64-bit words.
struct MmxKernels : MemberMMX {
  static constexpr int searchPositions = 1;
  static constexpr int searchRows = 8;
  static constexpr auto LumaBytes = mmx::LumaBytes;
  static constexpr auto BlockSad = mmx::BlockSad;
  static constexpr auto BilinearSad = mmx::BilinearSad;
};

/// The widest registers of processor and system.
struct WideKernels : MemberSSE2 {
  static constexpr int searchPositions = 72;
  static constexpr int searchRows = 16;
  static constexpr auto LumaBytes =
      ByLevel([]<WideLevel level>(auto& args) noexcept { wide::LumaBytes<level>(args); });
  static constexpr auto BlockSad =
      ByLevel([]<WideLevel level>(auto& args) noexcept { wide::BlockSad<level>(args); });
  static constexpr auto BilinearSad =
      ByLevel([]<WideLevel level>(auto& args) noexcept { wide::BilinearSad<level>(args); });
};

}  // namespace kv_img::featurefind
