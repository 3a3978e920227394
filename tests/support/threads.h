#pragma once

#include <exception>
#include <thread>
#include <vector>

#include "frame/spin_barrier.h"

namespace kv_test {

/// Calls `work(barrier, index)` on `count` threads at once and returns what each threw (null: nothing).
template <class Work>
std::vector<std::exception_ptr> CallOnThreads(int count, Work work) {
  kv_std::SpinBarrier barrier(count);
  std::vector<std::exception_ptr> thrown(static_cast<std::size_t>(count));
  std::vector<std::thread> threads;
  threads.reserve(thrown.size());
  for (int index = 0; index < count; ++index) {
    threads.emplace_back([&, index] {
      try {
        work(barrier, static_cast<std::uint32_t>(index));
      } catch (...) {
        thrown[static_cast<std::size_t>(index)] = std::current_exception();
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  return thrown;
}

/// Calls `work(barrier, index)` for every index in turn on this thread: for operations that never wait, as
/// quick as can be. The first exception ends it.
template <class Work>
void CallInTurn(int count, Work work) {
  kv_std::SpinBarrier barrier(count);
  for (int index = 0; index < count; ++index) work(barrier, static_cast<std::uint32_t>(index));
}

}  // namespace kv_test
