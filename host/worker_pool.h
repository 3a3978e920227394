#pragma once

#include <cstdint>
#include <functional>

#include "frame/spin_barrier.h"

namespace kv_host {

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

 private:
  int threads_;
};

}  // namespace kv_host
