#include "run/worker_pool.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <stdexcept>
#include <thread>
#include <vector>

#include "image/errors/exceptions.h"

namespace {

using kv_run::WorkerPool;
using kv_std::SpinBarrier;

TEST(WorkerPoolThreads, EveryIndexIsCalledOnce) {
  for (const int threads : {1, 2, 5}) {
    std::vector<std::atomic<int>> calls(static_cast<std::size_t>(threads));
    WorkerPool(threads).Run([&](SpinBarrier& barrier, std::uint32_t index) {
      EXPECT_EQ(barrier.GetThreadCount(), threads);
      ++calls[index];
    });
    for (const auto& count : calls) EXPECT_EQ(count, 1);
  }
}

TEST(WorkerPoolThreads, ZeroMeansWhatTheMachineRuns) {
  const auto runs = static_cast<int>(std::thread::hardware_concurrency());
  EXPECT_EQ(WorkerPool(0).ThreadCount(), std::max(1, runs));
}

TEST(WorkerPoolThreads, LimitIsKept) {
  std::atomic<int> calls = 0;
  WorkerPool(8).Run([&](SpinBarrier&, std::uint32_t) { ++calls; }, 2);
  EXPECT_EQ(calls, 2);
  WorkerPool(8).Run([&](SpinBarrier&, std::uint32_t) { ++calls; }, 0);
  EXPECT_EQ(calls, 3);
}

TEST(WorkerPoolThreads, WorkThatMeetsWaitsForThreadsOfAnotherCall) {
  const WorkerPool pool(3);
  std::atomic<int> held = 0;
  std::atomic<bool> goesOn = false;
  const std::jthread other([&] {
    pool.Run([&](SpinBarrier&, std::uint32_t) {
      ++held;
      while (!goesOn) std::this_thread::yield();
    });
  });
  while (held < 3) std::this_thread::yield();
  const std::jthread release([&] {
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    goesOn = true;
  });
  std::atomic<int> calls = 0;
  pool.Run([&](SpinBarrier& barrier, std::uint32_t) {
    EXPECT_EQ(barrier.GetThreadCount(), 3);
    barrier.Wait();
    ++calls;
  });
  EXPECT_EQ(calls, 3);
}

TEST(WorkerPoolThreads, FirstExceptionStopsTheOthersAndIsPassedOn) {
  for (int round = 0; round < 20; ++round) {
    std::atomic<int> stopped = 0;
    const auto run = [&] {
      WorkerPool(3).Run([&](SpinBarrier& barrier, std::uint32_t index) {
        if (index == static_cast<std::uint32_t>(round % 3)) throw std::runtime_error("the reason");
        try {
          barrier.Wait();
        } catch (const kv_std::SpinBarrierException& error) {
          EXPECT_EQ(error.Code(), 12607U);
          ++stopped;
          throw;
        }
      });
    };
    try {
      run();
      FAIL() << "nothing was thrown";
    } catch (const std::runtime_error& error) {
      EXPECT_STREQ(error.what(), "the reason");
    }
    EXPECT_EQ(stopped, 2);
  }
}

TEST(WorkerPoolThreads, StopReachesThreadsAtTheBarrier) {
  std::stop_source source;
  std::atomic<int> rounds = 0;
  const auto run = [&] {
    WorkerPool(3).Run(
        [&](SpinBarrier& barrier, std::uint32_t index) {
          for (;;) {
            barrier.Wait();
            if (index == 0 && ++rounds == 10) source.request_stop();
          }
        },
        source.get_token());
  };
  try {
    run();
    FAIL() << "nothing was thrown";
  } catch (const kv_std::SpinBarrierException& error) {
    EXPECT_EQ(error.Code(), 12603U);
  }
  EXPECT_EQ(rounds, 10);
}

TEST(WorkerPoolThreads, StopBeforeTheCallIsKept) {
  std::stop_source source;
  source.request_stop();
  EXPECT_THROW(
      WorkerPool(2).Run([](SpinBarrier& barrier, std::uint32_t) { barrier.Wait(); }, source.get_token()),
      kv_std::SpinBarrierException);
}

}  // namespace
