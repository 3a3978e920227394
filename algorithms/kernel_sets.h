#pragma once

#include <string_view>

#include "algorithms/kernel_list.h"
#include "algorithms/simd/kernel.h"

// The kernel sets, as operations use them: Set::Run<Kernel>(args). `suffix` ends the class names of the
// member that runs the set, and so the names in its messages.

namespace kv_img {

struct Scalar {
  static constexpr std::wstring_view suffix = L"C";

  template <ListedKernel Kernel>
  static void Run(typename Kernel::Args& args) noexcept {
    Kernel::template Run<Scalar>(args);
  }
};

struct Mmx {
  static constexpr std::wstring_view suffix = L"MMX";

  template <ListedKernel Kernel>
  static void Run(typename Kernel::Args& args) noexcept {
    Kernel::template Run<Mmx>(args);
  }
};

/// The wide set at the level that this module runs at.
struct Widest {
#if defined(__aarch64__)
  static constexpr std::wstring_view suffix = L"NEON";

  template <ListedKernel Kernel>
  static void Run(typename Kernel::Args& args) noexcept {
    Kernel::template Run<Wide<WideLevel::Neon>>(args);
  }
#else
  static constexpr std::wstring_view suffix = L"SSE2";

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
#endif
};

}  // namespace kv_img
