#include "frame/spin_barrier.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>
#include <vector>

#include "tests/support/expect_error.h"
#include "tests/support/threads.h"

namespace {

using kv_std::SpinBarrier;
using kv_std::SpinBarrierException;
using kv_test::ExpectError;

TEST(SpinBarrier, ZeroOrFewerThreadsCountAsOne) {
  for (const int requested : {0, -1, -2147483647}) {
    SpinBarrier barrier(requested);
    EXPECT_EQ(barrier.GetThreadCount(), 1);
    barrier.Wait();
  }
}

TEST(SpinBarrier, OneThreadReturnsAtOnceUntilAStop) {
  SpinBarrier barrier(1);
  barrier.Wait();
  barrier.Wait();
  barrier.RequestStop();
  ExpectError<SpinBarrierException>([&] { barrier.Wait(); }, 12603, L"");
  ExpectError<SpinBarrierException>([&] { barrier.Wait(); }, 12603, L"");
}

TEST(SpinBarrier, NoThreadLeavesARoundBeforeAllHaveEntered) {
  constexpr int rounds = 60;
  for (const int threads : {2, 3}) {
    std::vector<std::atomic<int>> entered(rounds);
    std::atomic<int> early = 0;
    kv_test::CallOnThreads(threads, [&](SpinBarrier& barrier, std::uint32_t) {
      for (int round = 0; round < rounds; ++round) {
        ++entered[static_cast<std::size_t>(round)];
        barrier.Wait();
        if (entered[static_cast<std::size_t>(round)] != threads) ++early;
      }
    });
    EXPECT_EQ(early, 0) << threads << " threads";
  }
}

/// Threads wait while one never comes; `stop` must bring every one back with `code`.
template <class Stop>
void ExpectReleased(std::uint32_t code, Stop stop) {
  constexpr int threads = 4;
  SpinBarrier barrier(threads);
  std::atomic<int> waiting = 0;
  std::atomic<int> released = 0;
  std::vector<std::thread> workers;
  for (int i = 0; i + 1 < threads; ++i) {
    workers.emplace_back([&] {
      ++waiting;
      try {
        barrier.Wait();
      } catch (const SpinBarrierException& error) {
        if (error.Code() == code) ++released;
      }
    });
  }
  while (waiting < threads - 1) std::this_thread::yield();
  std::this_thread::sleep_for(std::chrono::milliseconds(5));
  stop(barrier);
  for (std::thread& worker : workers) worker.join();
  EXPECT_EQ(released, threads - 1);
  ExpectError<SpinBarrierException>([&] { barrier.Wait(); }, code, L"");
}

TEST(SpinBarrier, StopReleasesAllThatSpin) {
  for (int round = 0; round < 20; ++round)
    ExpectReleased(12603, [](SpinBarrier& barrier) { barrier.RequestStop(); });
}

TEST(SpinBarrier, ErrorStopCarriesItsOwnCode) {
  ExpectReleased(12607, [](SpinBarrier& barrier) { barrier.RequestErrorStop(); });
}

TEST(SpinBarrier, FirstStopCounts) {
  ExpectReleased(12603, [](SpinBarrier& barrier) {
    barrier.RequestStop();
    barrier.RequestErrorStop();
  });
}

TEST(SpinBarrier, StopMessages) {
  SpinBarrier barrier(1);
  barrier.RequestStop();
  try {
    barrier.Wait();
    FAIL();
  } catch (const kv_std::KVException& error) {
    EXPECT_EQ(error.Message(), L"Internal barrier exception: exit has been requested");
  }
}

}  // namespace
