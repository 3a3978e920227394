#pragma once

#include <cstdint>
#include <functional>
#include <stop_token>

#include "frame/spin_barrier.h"

namespace kv_run {

/// Runs one call of an operation on several threads, as the family expects it: the same call on every thread,
/// with a shared barrier and the thread's index.
class WorkerPool {
 public:
  /// For `threads` threads, at least 1; 0: as many as the machine runs at once.
  explicit WorkerPool(int threads);

  int ThreadCount() const { return threads_; }

  /// Calls `work` on every thread and returns when all have come back. When one throws, the others are
  /// stopped through the barrier and the first exception is passed on.
  using Work = std::function<void(kv_std::SpinBarrier&, std::uint32_t)>;
  void Run(const Work& work) const { Run(work, threads_); }
  /// The same on at most `limit` threads.
  void Run(const Work& work, int limit) const;
  /// The same on every thread, until somebody asks for a stop: threads that wait at the barrier, or come to
  /// it, then throw SpinBarrierException code 12603, which is passed on.
  void Run(const Work& work, const std::stop_token& stop) const;

 private:
  void Run(const Work& work, int count, const std::stop_token& stop) const;

  int threads_;
};

}  // namespace kv_run
