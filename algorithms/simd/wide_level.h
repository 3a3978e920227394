#pragma once

#include "frame/platform/wide_level.h"

namespace kv_img {

/// The level that the wide kernels of this module run at: decided once, when it is loaded.
extern const WideLevel currentLevel;

/// A kernel that is built once per level: `AtLevel` holds one function template over the levels, and a call
/// goes to its instance for the current one. Converts to a plain function as well.
template <class AtLevel>
struct KernelByLevel {
  template <class Args>
  using Function = void (*)(Args&) noexcept;

  template <WideLevel level, class Args>
  static void At(Args& args) noexcept {
    AtLevel().template operator()<level>(args);
  }
  template <class Args>
  static void Call(Args& args) noexcept {
    switch (currentLevel) {
      case WideLevel::Avx512Vbmi:
        return At<WideLevel::Avx512Vbmi>(args);
      case WideLevel::Avx512:
        return At<WideLevel::Avx512>(args);
      case WideLevel::Avx2:
        return At<WideLevel::Avx2>(args);
      default:
        return At<WideLevel::Sse2>(args);
    }
  }
  template <class Args>
  void operator()(Args& args) const noexcept {
    Call(args);
  }
  template <class Args>
  constexpr operator Function<Args>() const {
    return &Call<Args>;
  }
};

/// From a lambda that is a template over the level.
template <class AtLevel>
constexpr KernelByLevel<AtLevel> ByLevel(AtLevel /*kernel*/) {
  return {};
}

}  // namespace kv_img
