#pragma once

#include "algorithms/featurefind/kernels/bilinear_sad.h"
#include "algorithms/featurefind/kernels/block_sad.h"
#include "algorithms/featurefind/kernels/luma_bytes.h"
#include "frame/member_name.h"

namespace kv_img::featurefind {

/// Plain C++, the reference.
struct ScalarKernels : MemberC {
  static constexpr auto LumaBytes = scalar::LumaBytes;
  static constexpr auto BlockSad = scalar::BlockSad;
  static constexpr auto BilinearSad = scalar::BilinearSad;
};

/// 64-bit words.
struct MmxKernels : MemberMMX {
  static constexpr auto LumaBytes = mmx::LumaBytes;
  static constexpr auto BlockSad = mmx::BlockSad;
  static constexpr auto BilinearSad = mmx::BilinearSad;
};

}  // namespace kv_img::featurefind
