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

void SpinBarrier::RequestStop() noexcept {
  EndCall(0, stopException_);
}

void SpinBarrier::RequestErrorStop() noexcept {
  EndCall(1, errorException_);
}

void SpinBarrier::EndCall(std::int32_t state, const SpinBarrierException& exception) noexcept {
  const std::lock_guard guard(lock_);
  if (stopState_.load(std::memory_order_relaxed) != running) return;
  // Threads copy the exception after they have seen the state.
  stopException_ = exception;
  stopState_.store(state, std::memory_order_release);
}

}  // namespace kv_std
