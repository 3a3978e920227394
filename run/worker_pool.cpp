#include "run/worker_pool.h"

#include <algorithm>
#include <exception>
#include <mutex>
#include <optional>
#include <thread>

#include "run/platform/process.h"
#include "run/thread_team.h"

namespace kv_run {
namespace {

using Clock = std::chrono::steady_clock;

/// An executor's threads come back to the caller this often, when it polls.
constexpr std::chrono::milliseconds round{5};

}  // namespace

/// What the threads of a process share. A fork's child cannot use it, as locks may be held by threads that it
/// does not have, and makes its own.
struct WorkerPool::Shared {
  explicit Shared(int threads) : team(threads - 1) {}

  const std::uint32_t forks = ForkCount();
  ThreadTeam team;
  std::mutex callsLock;
  Call* calls = nullptr;  ///< Those that are running.
};

/// A call that is running.
class WorkerPool::Call {
 public:
  Call(Shared& shared, const Work& work, int count, const CallOptions& options)
      : shared_(shared), work_(work), count_(count), options_(options), barrier_(count) {
    {
      const std::lock_guard guard(shared_.callsLock);
      next_ = shared_.calls;
      shared_.calls = this;
    }
    onStop_.emplace(options.stop, StopRequest{this});
  }
  Call(const Call&) = delete;
  Call& operator=(const Call&) = delete;
  ~Call() {
    onStop_.reset();
    const std::lock_guard guard(shared_.callsLock);
    Call** link = &shared_.calls;
    while (*link != this) link = &(*link)->next_;
    *link = next_;
  }

  Call* Next() const { return next_; }

  void RequestStop() noexcept {
    End();
    barrier_.RequestStop();
  }

  /// On the caller's thread.
  void Poll() noexcept {
    if (options_.poll == nullptr) return;
    Guarded([this] {
      if (options_.poll(options_.user)) RequestStop();
    });
  }

  void RunOne(int index) noexcept {
    Guarded([this, index] { work_(barrier_, static_cast<std::uint32_t>(index)); });
  }

  /// Runs the next index; false when there is none, or the call has ended.
  bool RunNext() noexcept {
    // Relaxed: a thread that sees the end late runs one index more.
    if (hasEnded_.load(std::memory_order_relaxed)) return false;
    // Relaxed: every index is given to one thread, and what the threads write meets in ThreadTeam::Close, or
    // where an executor returns.
    const int index = taken_.fetch_add(1, std::memory_order_relaxed);
    if (index >= count_) return false;
    RunOne(index);
    return true;
  }

  /// As RunNext, on the caller's thread.
  bool PollAndRunNext() noexcept {
    if (IsOver()) return false;
    Poll();
    return RunNext();
  }

  bool IsOver() const {
    return hasEnded_.load(std::memory_order_relaxed) || taken_.load(std::memory_order_relaxed) >= count_;
  }

  /// The tasks of an executor come back at the end of a round.
  void RunRound() noexcept {
    while (RunNext()) {
      if (options_.poll != nullptr && Clock::now() >= roundEnd_) return;
    }
  }
  void StartRound() { roundEnd_ = Clock::now() + round; }

  /// Once all threads are back: passes on what ended the call.
  void ThrowIfFailed() {
    if (first_) std::rethrow_exception(first_);
  }
  /// The same for indexes that are taken: a stop throws if it came before the last.
  void ThrowIfEnded() {
    ThrowIfFailed();
    // The barrier throws without memory.
    if (taken_.load(std::memory_order_relaxed) < count_) barrier_.Wait();
  }

 private:
  struct StopRequest {
    Call* call;
    void operator()() const noexcept { call->RequestStop(); }
  };

  void End() noexcept { hasEnded_.store(true, std::memory_order_relaxed); }

  template <class Part>
  void Guarded(const Part& part) noexcept {
    try {
      part();
    } catch (...) {
      {
        const std::lock_guard guard(firstLock_);
        if (!first_) first_ = std::current_exception();
      }
      End();
      // The others may spin for a thread that will not come any more.
      barrier_.RequestErrorStop();
    }
  }

  Shared& shared_;
  const Work& work_;
  const int count_;
  const CallOptions& options_;
  kv_std::SpinBarrier barrier_;
  std::atomic<int> taken_ = 0;
  std::atomic<bool> hasEnded_ = false;
  std::mutex firstLock_;
  std::exception_ptr first_;
  Clock::time_point roundEnd_;
  Call* next_ = nullptr;
  std::optional<std::stop_callback<StopRequest>> onStop_;
};

WorkerPool::WorkerPool(const PoolOptions& options) : options_(options) {
  if (options_.threads <= 0) {
    options_.threads = std::max(1, static_cast<int>(std::thread::hardware_concurrency()));
  }
  const bool hasOwnThreads = options_.executor.run == nullptr;
  shared_.store(new Shared(hasOwnThreads ? options_.threads : 1), std::memory_order_relaxed);
}

WorkerPool::~WorkerPool() {
  Shared* const shared = shared_.load(std::memory_order_relaxed);
  // What is the parent's cannot be destroyed here: its threads are not there to be joined.
  if (shared->forks == ForkCount()) delete shared;
}

WorkerPool::Shared& WorkerPool::Now() const {
  // Acquire and release: who reads the pointer of another thread's making sees what that thread made.
  Shared* found = shared_.load(std::memory_order_acquire);
  if (found->forks == ForkCount()) return *found;
  auto* const fresh = new Shared(options_.executor.run == nullptr ? options_.threads : 1);
  if (shared_.compare_exchange_strong(found, fresh, std::memory_order_acq_rel)) return *fresh;
  delete fresh;
  return *found;
}

void WorkerPool::Run(const Work& work, int limit) const {
  RunAssembled(work, std::clamp(limit, 1, options_.threads), true, {});
}

void WorkerPool::Run(const Work& work, const std::stop_token& stop) const {
  RunAssembled(work, options_.threads, true, {.stop = stop});
}

void WorkerPool::RunPhases(const Work& work, int most, const CallOptions& options) const {
  RunAssembled(work, std::clamp(most, 1, options_.threads), false, options);
}

void WorkerPool::RunAssembled(const Work& work, int count, bool isExact, const CallOptions& options) const {
  Shared& shared = Now();
  const Executor& executor = options_.executor;
  if (executor.run != nullptr) {
    if (!executor.isConcurrent) count = 1;
    Call call(shared, work, count, options);
    call.Poll();
    if (count == 1) {
      call.RunOne(0);
    } else {
      executor.run(
          executor.user, count, [](void* data, int index) { static_cast<Call*>(data)->RunOne(index); },
          &call);
    }
    return call.ThrowIfFailed();
  }
  ThreadTeam::Reservation helpers(shared.team);
  if (count > 1 && isExact) helpers.TakeAll(count - 1);
  if (count > 1 && !isExact) helpers.TakeFree(count - 1);
  const bool hasHelpers = helpers.Count() > 0;
  Call call(shared, work, helpers.Count() + 1, options);
  ThreadTeam::Job job([](void* data, int index) { static_cast<Call*>(data)->RunOne(index); }, &call);
  call.Poll();
  if (hasHelpers) helpers.Launch(job);
  call.RunOne(0);
  if (hasHelpers) shared.team.Close(job);
  call.ThrowIfFailed();
}

void WorkerPool::RunBands(const Work& work, int count, const CallOptions& options) const {
  Shared& shared = Now();
  const Executor& executor = options_.executor;
  Call call(shared, work, count, options);
  const int most = options.threads > 0 ? std::min(options.threads, options_.threads) : options_.threads;
  const int threads = std::min(count, most);
  if (threads <= 1) {
    while (call.PollAndRunNext()) {
    }
  } else if (executor.run != nullptr) {
    while (!call.IsOver()) {
      call.Poll();
      call.StartRound();
      executor.run(
          executor.user, threads, [](void* data, int /*index*/) { static_cast<Call*>(data)->RunRound(); },
          &call);
      // There is progress also where the executor runs nothing.
      call.RunNext();
    }
  } else {
    ThreadTeam::Job job(
        [](void* data, int /*index*/) {
          while (static_cast<Call*>(data)->RunNext()) {
          }
        },
        &call);
    shared.team.Offer(job, threads - 1);
    while (call.PollAndRunNext()) {
    }
    shared.team.Close(job);
  }
  call.ThrowIfEnded();
}

void WorkerPool::Stop() const noexcept {
  const Shared* const shared = shared_.load(std::memory_order_acquire);
  // Calls of the parent do not run here, and their lock may be held for ever.
  if (shared->forks != ForkCount()) return;
  auto& now = const_cast<Shared&>(*shared);
  const std::lock_guard guard(now.callsLock);
  for (Call* call = now.calls; call != nullptr; call = call->Next()) call->RequestStop();
}

}  // namespace kv_run
