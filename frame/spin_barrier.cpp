#include "frame/spin_barrier.h"

#include <algorithm>
#include <mutex>

namespace kv_std {
namespace {

constexpr std::uint32_t exitRequested = 12603;
constexpr std::uint32_t processingError = 12607;

}  // namespace

SpinBarrier::SpinBarrier(int threadCount)
    // NOLINTBEGIN(bugprone-throw-keyword-missing): they are thrown by the threads that wait.
    : stopException_(exitRequested),
      threadCount_(std::max(threadCount, 1)),
      errorException_(processingError) {}
// NOLINTEND(bugprone-throw-keyword-missing)

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
    // Written under this lock alone, which orders the load.
    round = generation_.load(std::memory_order_relaxed);
    isLast = ++arrived_ == threadCount_;
    if (isLast) {
      arrived_ = 0;
      // What the threads that came earlier wrote happened before: each released this lock before the last took it. The
      // store releases all of it to those that see it.
      generation_.store(1 - round, std::memory_order_release);
    }
  }
  if (!isLast) {
    // No thread can come two rounds ahead, as each round needs all: two values are enough. Acquired, so that what the
    // threads wrote before they arrived is seen after the wait.
    while (generation_.load(std::memory_order_acquire) == round &&
           stopState_.load(std::memory_order_acquire) == running) {
    }
  }
  ThrowIfStopped();
}

void SpinBarrier::RequestStop() noexcept {
  EndCall(0, stopException_);
}

void SpinBarrier::RequestErrorStop() noexcept {
  EndCall(1, errorException_);
}

void SpinBarrier::EndCall(std::int32_t state, const SpinBarrierException& exception) noexcept {
  const std::lock_guard guard(lock_);
  // Written under this lock alone, which orders the load.
  if (stopState_.load(std::memory_order_relaxed) != running) return;
  // Threads copy the exception after they have acquired the state: the store releases it, and nobody writes it again.
  stopException_ = exception;
  stopState_.store(state, std::memory_order_release);
}

}  // namespace kv_std
