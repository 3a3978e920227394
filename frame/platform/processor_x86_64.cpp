#include <cpuid.h>
#include <mmintrin.h>

#include "frame/platform/platform.h"

namespace kv_platform {
namespace {

Processor ReadProcessor() {
  unsigned eax = 0;
  unsigned ebx = 0;
  unsigned ecx = 0;
  unsigned edx = 0;
  // Asks leaf 0 first whether there is a leaf 1.
  if (__get_cpuid(1, &eax, &ebx, &ecx, &edx) == 0) return {};
  return {edx, eax >> 4 & 0xFU, eax >> 8 & 0xFU, eax >> 12 & 0x3U};
}
[[maybe_unused]] const std::uint32_t featuresReadAtStart = ThisProcessor().features;

}  // namespace

const Processor& ThisProcessor() {
  static const Processor processor = ReadProcessor();
  return processor;
}

void ClearSimdState() {
  _mm_empty();
}

}  // namespace kv_platform
