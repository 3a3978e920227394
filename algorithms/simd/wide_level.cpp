#include "algorithms/simd/wide_level.h"

#include <algorithm>

#include "algorithms/simd/level_cap.h"

namespace kv_img {

const char* NameOf(WideLevel level) {
  static constexpr const char* names[] = {"sse2", "avx2", "avx512", "avx512vbmi"};
  return names[static_cast<int>(level)];
}

// The compiler's own look-up asks CPUID for the processor and XGETBV for what the system saves of it.
WideLevel SupportedLevel() {
  __builtin_cpu_init();
  if (!__builtin_cpu_supports("avx2")) return WideLevel::Sse2;
  if (!__builtin_cpu_supports("avx512f") || !__builtin_cpu_supports("avx512bw") ||
      !__builtin_cpu_supports("avx512vl") || !__builtin_cpu_supports("avx512dq")) {
    return WideLevel::Avx2;
  }
  const bool hasVbmi = __builtin_cpu_supports("avx512vbmi") && __builtin_cpu_supports("avx512vnni");
  return hasVbmi ? WideLevel::Avx512Vbmi : WideLevel::Avx512;
}

const WideLevel currentLevel = std::min(SupportedLevel(), levelCap);

}  // namespace kv_img
