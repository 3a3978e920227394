#include "run/pace.h"

#include <array>
#include <cstdint>

namespace kv_run {

Pace& Pace::Of(const void* operation) {
  constexpr std::size_t paceCount = 256;
  static std::array<Pace, paceCount> paces;
  // Implementations are objects of a few bytes, one after the other.
  return paces[reinterpret_cast<std::uintptr_t>(operation) / sizeof(void*) % paceCount];
}

void Pace::Note(double pixels, double nanoseconds) {
  // The time of small parts is not that of their pixels.
  constexpr double leastPixels = 4096;
  if (pixels < leastPixels) return;
  constexpr double least = 0.01;
  const double before = nanoseconds_.load(std::memory_order_relaxed);
  const double now = nanoseconds / pixels;
  const double next = now < before ? now : before + (now - before) / 4;
  nanoseconds_.store(static_cast<float>(next > least ? next : least), std::memory_order_relaxed);
}

}  // namespace kv_run
