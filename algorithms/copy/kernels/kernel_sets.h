#pragma once

#include "algorithms/copy/kernels/swap_bytes.h"
#include "frame/member_name.h"

namespace kv_img::copy {

/// Plain C++, the reference.
struct ScalarKernels : MemberC {
  static constexpr auto SwapBytes = scalar::SwapBytes;
};

/// 64-bit words.
struct MmxKernels : MemberMMX {
  static constexpr auto SwapBytes = mmx::SwapBytes;
};

}  // namespace kv_img::copy
