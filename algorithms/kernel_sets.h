#pragma once

#include "algorithms/kernel_list.h"
#include "algorithms/simd/kernel.h"
#include "frame/member_name.h"

// The kernel sets, as operations use them: Set::Run<Kernel>(args). Each knows the suffix of its members'
// class names.

namespace kv_img {

struct Scalar : MemberC {
  template <ListedKernel Kernel>
  static void Run(typename Kernel::Args& args) noexcept {
    Kernel::template Run<Scalar>(args);
  }
};

struct Mmx : MemberMMX {
  template <ListedKernel Kernel>
  static void Run(typename Kernel::Args& args) noexcept {
    Kernel::template Run<Mmx>(args);
  }
};

/// The wide set at the level that this module runs at.
struct Widest : MemberSSE2 {
  template <ListedKernel Kernel>
  static void Run(typename Kernel::Args& args) noexcept {
    switch (currentLevel) {
      case WideLevel::Avx512Vbmi:
        return Kernel::template Run<Wide<WideLevel::Avx512Vbmi>>(args);
      case WideLevel::Avx512:
        return Kernel::template Run<Wide<WideLevel::Avx512>>(args);
      case WideLevel::Avx2:
        return Kernel::template Run<Wide<WideLevel::Avx2>>(args);
      default:
        return Kernel::template Run<Wide<WideLevel::Sse2>>(args);
    }
  }
};

}  // namespace kv_img
