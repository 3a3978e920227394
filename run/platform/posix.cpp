#include <pthread.h>

#include <atomic>

#include "frame/platform/platform.h"
#include "run/platform/process.h"

namespace kv_run {

void KeepModule() {
  kv_platform::KeepOwnModule();
}

std::uint32_t ForkCount() noexcept {
  // Relaxed: a child has one thread when it counts, and threads that it starts later see what it saw.
  static std::atomic<std::uint32_t> forks = 0;
  static const int failed =
      pthread_atfork(nullptr, nullptr, [] { forks.fetch_add(1, std::memory_order_relaxed); });
  static_cast<void>(failed);
  return forks.load(std::memory_order_relaxed);
}

}  // namespace kv_run
