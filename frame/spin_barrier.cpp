#include "frame/spin_barrier.h"

#include <algorithm>
#include <mutex>

namespace kv_std {
namespace {

constexpr std::uint32_t exitRequested = 12603;
constexpr std::uint32_t processingError = 12607;

}  // namespace

SpinBarrier::SpinBarrier(int threadCount)
    // NOLINTNEXTLINE(bugprone-throw-keyword-missing): it is thrown by the threads that wait.
    : stopException_(exitRequested), threadCount_(std::max(threadCount, 1)) {}

SpinBarrier::~SpinBarrier() = default;

int SpinBarrier::GetThreadCount() const {
  return std::max(threadCount_, 1);
}

void SpinBarrier::ThrowIfStopped() const {
  if (stopState_.load(std::memory_order_acquire) != running) throw SpinBarrierException(stopException_);
}

void SpinBarrier::Wait() {
  if (threadCount_ == 1) return ThrowIfStopped();
  std::int32_t round = 0;
  bool isLast = false;
  {
    const std::lock_guard guard(lock_);
    ThrowIfStopped();
    round = generation_.load(std::memory_order_relaxed);
    isLast = ++arrived_ == threadCount_;
    if (isLast) {
      arrived_ = 0;
      generation_.store(1 - round, std::memory_order_release);
    }
  }
  if (!isLast) {
    while (generation_.load(std::memory_order_acquire) == round &&
           stopState_.load(std::memory_order_acquire) == running) {
    }
  }
  ThrowIfStopped();
}

void SpinBarrier::RequestStop() {
  RequestStop(0, exitRequested);
}

void SpinBarrier::RequestErrorStop() {
  RequestStop(1, processingError);
}

void SpinBarrier::RequestStop(std::int32_t state, std::uint32_t code) {
  const std::lock_guard guard(lock_);
  if (stopState_.load(std::memory_order_relaxed) != running) return;
  // Threads copy the exception after they have seen the state, so it is finished before.
  stopException_ = SpinBarrierException(code);
  stopState_.store(state, std::memory_order_release);
}

}  // namespace kv_std
