#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <stop_token>

#include "frame/spin_barrier.h"

namespace kv_run {

/// Threads that a host has of its own.
struct Executor {
  /// Calls `task(data, i)` once for each i from 0 to count - 1, on whichever threads, and returns when all have
  /// returned. Tasks throw nothing. `run` must not throw while tasks run.
  void (*run)(void* user, int count, void (*task)(void* data, int index), void* data) = nullptr;
  void* user = nullptr;
  /// Whether `run` has all tasks of a call running at once. "AlphaLayerColorBased" and "AlphaLayerProbMask"
  /// need that, as their threads wait for each other between two phases: without it they run on one thread.
  /// All other operations take tasks one after the other too.
  bool isConcurrent = false;
};

struct PoolOptions {
  /// Threads of a call, the caller's included; 0: as many as the machine runs at once.
  int threads = 0;
  /// With `run`, calls go there and the pool starts no thread.
  Executor executor = {};
  /// A call gets no more threads than there are pieces of work of this length in it, as its last calls went:
  /// less is not worth waking a thread for. 0: every call gets all threads.
  std::chrono::nanoseconds grain = std::chrono::microseconds(20);
};

/// What a single call is run with.
struct CallOptions {
  /// The most threads, the caller's included; 0: all of the pool.
  int threads = 0;
  /// Ends the call, as WorkerPool::Stop does all of a pool.
  std::stop_token stop = {};
  /// Called on the caller's thread between slices of the work; true ends the call. What it throws ends the
  /// call too and is passed on.
  bool (*poll)(void* user) = nullptr;
  void* user = nullptr;
};

/// What is called on the threads of a call, with their barrier and an index: a reference to something callable
/// that lives as long as the call.
class Work {
 public:
  template <class Callable>
  Work(const Callable& callable)  // NOLINT(google-explicit-constructor): a lambda is passed as it is
      : object_(&callable), call_([](const void* object, kv_std::SpinBarrier& barrier, std::uint32_t index) {
          (*static_cast<const Callable*>(object))(barrier, index);
        }) {}
  void operator()(kv_std::SpinBarrier& barrier, std::uint32_t index) const { call_(object_, barrier, index); }

 private:
  const void* object_;
  void (*call_)(const void*, kv_std::SpinBarrier&, std::uint32_t);
};

/// Runs calls of operations on several threads, as the family expects it: the same call for every index, with
/// a shared barrier.
///
/// Threads start with the first call that is worth it and stay until the pool is destroyed, which must not be
/// while a call runs. Between calls that follow each other closely they spin, for 100 us at most, then they
/// sleep. Any number of threads may call at once; they share the pool's. A call on one thread stays on the
/// caller's.
///
/// After a fork the pool works in the child too, with threads of its own; a call that ran on another thread at
/// the fork does not exist there. A pool may be alive when the process ends, and when the module that it is
/// part of is unloaded: the module then stays in memory.
class WorkerPool {
 public:
  /// For `threads` threads, at least 1; 0: as many as the machine runs at once.
  explicit WorkerPool(int threads) : WorkerPool(PoolOptions{.threads = threads}) {}
  explicit WorkerPool(const PoolOptions& options);
  WorkerPool(const WorkerPool&) = delete;
  WorkerPool& operator=(const WorkerPool&) = delete;
  ~WorkerPool();

  int ThreadCount() const { return options_.threads; }
  const PoolOptions& Options() const { return options_; }

  /// Calls `work` on every thread at once (parts that do not meet at the barrier may share one) and returns when
  /// all have come back. When one throws, the others are
  /// stopped through the barrier and the first exception is passed on. Throws when the system has no further
  /// thread. With an executor that is not concurrent: on the caller's thread alone. Not from inside a call of
  /// the same pool, whose threads it would wait for.
  void Run(const Work& work) const { Run(work, options_.threads); }
  /// The same on at most `limit` threads.
  void Run(const Work& work, int limit) const;
  /// The same on every thread, until somebody asks for a stop: threads that wait at the barrier, or come to
  /// it, then throw SpinBarrierException code 12603, which is passed on.
  void Run(const Work& work, const std::stop_token& stop) const;

  /// The same on threads that are free now, at most `most`: the barrier's thread count says on how many. Polls
  /// once, before.
  void RunPhases(const Work& work, int most, const CallOptions& options) const;

  /// Calls `work` for indexes 0 to count - 1 of a barrier for `count` threads, at which it must not wait.
  /// Threads that are free take one index after the other; the caller takes part, so nobody waits for a thread
  /// that has not started, and the call works without any. Between two indexes every thread looks at stops,
  /// the caller's also polls. A stop before the last index was taken throws SpinBarrierException code 12603
  /// once all threads are back.
  void RunBands(const Work& work, int count, const CallOptions& options) const;

  /// Ends the calls that are running, from any thread; later calls start afresh. Allocates nothing.
  void Stop() const noexcept;

 private:
  class Call;
  struct Shared;

  Shared& Now() const;
  void RunAssembled(const Work& work, int count, bool isExact, const CallOptions& options) const;

  PoolOptions options_;
  mutable std::atomic<Shared*> shared_;
};

}  // namespace kv_run
