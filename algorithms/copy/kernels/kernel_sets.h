#pragma once

#include "algorithms/copy/kernels/interleave.h"
#include "algorithms/copy/kernels/swap_bytes.h"
#include "frame/member_name.h"

namespace kv_img::copy {

/// Plain C++, the reference.
struct ScalarKernels : MemberC {
  static constexpr auto InterleaveChromaFirst = scalar::InterleaveChromaFirst;
  static constexpr auto InterleaveLumaFirst = scalar::InterleaveLumaFirst;
  static constexpr auto SwapBytes = scalar::SwapBytes;
};

/// 64-bit words.
struct MmxKernels : MemberMMX {
  static constexpr auto InterleaveChromaFirst = mmx::InterleaveChromaFirst;
  static constexpr auto InterleaveLumaFirst = mmx::InterleaveLumaFirst;
  static constexpr auto SwapBytes = mmx::SwapBytes;
};

}  // namespace kv_img::copy
