#pragma once

#include <atomic>
#include <cstdint>

#include "frame/platform/platform.h"
#include "image/errors/exceptions.h"

namespace kv_std {

/// Where the threads of one multi-threaded call meet between phases, and the channel by which a stop reaches
/// them.
///
/// The host makes one per call for the number of threads that will run it and destroys it when all have
/// returned. Any thread may request a stop, also one that takes no part.
class SpinBarrier {
 public:
  /// For max(threadCount, 1) threads.
  explicit SpinBarrier(int threadCount);
  SpinBarrier(const SpinBarrier&) = delete;
  SpinBarrier& operator=(const SpinBarrier&) = delete;
  ~SpinBarrier();

  /// Threads that take part, at least 1.
  int GetThreadCount() const;

  /// Returns when all threads of the round have arrived. Throws SpinBarrierException in every thread that
  /// waits or arrives once a stop has been requested. Waiting threads spin; they never block in the operating
  /// system.
  void Wait();

  /// Ends the call: waiting and arriving threads throw code 12603.
  /// Neither request allocates, and what they throw is copied without memory; the first one counts.
  void RequestStop() noexcept;
  /// Ends the call because of an error: waiting and arriving threads throw code 12607.
  void RequestErrorStop() noexcept;

 private:
  static constexpr std::int32_t running = -1;

  void EndCall(std::int32_t state, const SpinBarrierException& exception) noexcept;
  void ThrowIfStopped() const;

  kv_platform::CriticalSection lock_;
  SpinBarrierException stopException_;
  std::int32_t threadCount_;
  std::int32_t arrived_ = 0;
  std::atomic<std::int32_t> generation_ = 0;
  std::atomic<std::int32_t> stopState_ = running;
  [[maybe_unused]] std::int32_t reserved_ = 0;
  SpinBarrierException errorException_;
};

}  // namespace kv_std
