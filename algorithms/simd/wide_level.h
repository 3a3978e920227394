#pragma once

#include <cstdint>

namespace kv_img {

/// Instruction sets that the wide kernels are built for; each includes those before it.
enum class WideLevel : std::uint8_t {
  Sse2,       ///< what every x86-64 processor has
  Avx2,       ///< 256 bits
  Avx512,     ///< 512 bits: F, BW, VL and DQ
  Avx512Vbmi  ///< VBMI, bytes exchanged across the whole register, and VNNI, sums of products
};

inline constexpr WideLevel wideLevels[] = {WideLevel::Sse2, WideLevel::Avx2, WideLevel::Avx512,
                                           WideLevel::Avx512Vbmi};

/// "sse2", "avx2", "avx512" or "avx512vbmi".
const char* NameOf(WideLevel level);

/// The highest level that both processor and operating system allow.
WideLevel SupportedLevel();

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
