#include "run/worker_pool.h"

#include <algorithm>
#include <exception>
#include <mutex>
#include <thread>
#include <vector>

namespace kv_run {

WorkerPool::WorkerPool(int threads)
    : threads_(threads > 0 ? threads : std::max(1, static_cast<int>(std::thread::hardware_concurrency()))) {}

void WorkerPool::Run(const Work& work, int limit) const {
  Run(work, std::clamp(limit, 1, threads_), std::stop_token());
}

void WorkerPool::Run(const Work& work, const std::stop_token& stop) const {
  Run(work, threads_, stop);
}

void WorkerPool::Run(const Work& work, int count, const std::stop_token& stop) const {
  kv_std::SpinBarrier barrier(count);
  const std::stop_callback onStop(stop, [&barrier] { barrier.RequestStop(); });
  std::mutex firstLock;
  std::exception_ptr first;
  const auto runOne = [&](std::uint32_t index) {
    try {
      work(barrier, index);
    } catch (...) {
      {
        const std::lock_guard guard(firstLock);
        if (!first) first = std::current_exception();
      }
      // The others may spin for a thread that will not come any more.
      barrier.RequestErrorStop();
    }
  };
  {
    std::vector<std::jthread> others;
    try {
      others.reserve(static_cast<std::size_t>(count));
      for (int index = 1; index < count; ++index) {
        others.emplace_back(runOne, static_cast<std::uint32_t>(index));
      }
    } catch (...) {
      // Those that run would wait for the threads that the system did not give.
      barrier.RequestErrorStop();
      throw;
    }
    runOne(0);
  }
  if (first) std::rethrow_exception(first);
}

}  // namespace kv_run
