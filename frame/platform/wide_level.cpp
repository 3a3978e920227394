#include "frame/platform/wide_level.h"

#include <algorithm>
#include <string_view>

#if defined(_WIN32)
#include <windows.h>
#else
#include <cstdlib>
#endif

namespace kv_img {
namespace {

/// The value of KV_LEVEL; empty when there is none, or on Windows when it does not fit the buffer.
std::string_view LevelAsked([[maybe_unused]] char (&buffer)[16]) {
#if defined(_WIN32)
  const DWORD length = GetEnvironmentVariableA("KV_LEVEL", buffer, sizeof buffer);
  return {buffer, length < sizeof buffer ? length : 0};
#else
  const char* value = std::getenv("KV_LEVEL");
  return value == nullptr ? std::string_view() : value;
#endif
}

}  // namespace

#if defined(__aarch64__)

const char* NameOf(WideLevel /*level*/) {
  return "neon";
}

WideLevel SupportedLevel() {
  return WideLevel::Neon;
}

#else

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

#endif

WideLevel LevelInForce() {
  char buffer[16];
  const std::string_view asked = LevelAsked(buffer);
  for (const WideLevel level : wideLevels) {
    if (asked == NameOf(level)) return std::min(level, SupportedLevel());
  }
  return SupportedLevel();
}

}  // namespace kv_img
