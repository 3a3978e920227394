#include "frame/platform/platform.h"

#if defined(__linux__)
#include <asm/hwcap.h>
#include <sys/auxv.h>
#endif

namespace kv_platform {
namespace {

constexpr std::uint32_t floatingPoint = 1U << 0;
constexpr std::uint32_t advancedSimd = 1U << 1;

/// The architecture allows a processor without either; systems other than Linux run on none of those.
Processor ReadProcessor() {
  std::uint32_t features = floatingPoint | advancedSimd;
#if defined(__linux__)
  const unsigned long reported = getauxval(AT_HWCAP);
  if ((reported & HWCAP_FP) == 0) features &= ~floatingPoint;
  if ((reported & HWCAP_ASIMD) == 0) features &= ~advancedSimd;
#endif
  return {features, 0, 0, 0};
}
[[maybe_unused]] const std::uint32_t featuresReadAtStart = ThisProcessor().features;

}  // namespace

const Processor& ThisProcessor() {
  static const Processor processor = ReadProcessor();
  return processor;
}

// They share no state.
void ClearSimdState() {}

}  // namespace kv_platform
