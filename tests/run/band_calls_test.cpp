// Calls that are divided into bands: claimed by whichever thread is free, stopped between two bands, on the
// pool's threads or a host's.

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <mutex>
#include <set>
#include <stdexcept>
#include <thread>
#include <vector>

#include "image/errors/exceptions.h"
#include "run/worker_pool.h"

namespace {

using kv_run::CallOptions;
using kv_run::WorkerPool;
using kv_std::SpinBarrier;

constexpr std::uint32_t exitRequested = 12603;

/// A host's threads: one for each task, or all tasks in turn on the caller's.
void RunOnThreads(void* user, int count, void (*task)(void* data, int index), void* data) {
  if (user != nullptr) ++*static_cast<std::atomic<int>*>(user);
  std::vector<std::jthread> threads;
  for (int index = 0; index < count; ++index) threads.emplace_back([=] { task(data, index); });
}
void RunInTurn(void* /*user*/, int count, void (*task)(void* data, int index), void* data) {
  for (int index = 0; index < count; ++index) task(data, index);
}
void RunNothing(void* /*user*/, int /*count*/, void (* /*task*/)(void* data, int index), void* /*data*/) {}

std::vector<kv_run::PoolOptions> AllKinds(int threads) {
  std::vector<kv_run::PoolOptions> kinds = {{.threads = threads}};
  for (const auto run : {RunOnThreads, RunInTurn, RunNothing}) {
    kinds.push_back({.threads = threads, .executor = {.run = run}});
  }
  return kinds;
}

/// The code that a call throws; 0: none.
template <class Call>
std::uint32_t CodeOf(const Call& call) {
  try {
    call();
    return 0;
  } catch (const kv_std::KVException& error) {
    return error.Code();
  }
}

TEST(BandThreads, EveryBandIsCalledOnceWithTheBarrierOfAll) {
  for (int threads = 1; threads <= 8; ++threads) {
    for (const auto& kind : AllKinds(threads)) {
      const WorkerPool pool(kind);
      for (const int count : {1, 2, 3, 7, 100}) {
        std::vector<std::atomic<int>> calls(static_cast<std::size_t>(count));
        pool.RunBands(
            [&](SpinBarrier& barrier, std::uint32_t index) {
              EXPECT_EQ(barrier.GetThreadCount(), count);
              ++calls[index];
            },
            count, {});
        for (const auto& band : calls) ASSERT_EQ(band, 1);
      }
    }
  }
}

TEST(BandThreads, OneThreadIsTheCallers) {
  const auto expectOwn = [](const WorkerPool& pool, int bands, const CallOptions& options) {
    const auto own = std::this_thread::get_id();
    pool.RunBands([&](SpinBarrier&, std::uint32_t) { EXPECT_EQ(std::this_thread::get_id(), own); }, bands,
                  options);
  };
  expectOwn(WorkerPool(1), 5, {});
  expectOwn(WorkerPool(4), 1, {});
  expectOwn(WorkerPool(4), 5, {.threads = 1});
  std::atomic<int> runs = 0;
  const WorkerPool hosts({.threads = 1, .executor = {.run = RunOnThreads, .user = &runs}});
  expectOwn(hosts, 5, {});
  EXPECT_EQ(runs, 0);
}

TEST(BandThreads, NobodyWaitsForAThreadThatHasNotCome) {
  // All helpers are held in a call of another caller.
  const WorkerPool pool(3);
  std::atomic<int> held = 0;
  std::atomic<bool> goesOn = false;
  std::jthread other([&] {
    pool.Run([&](SpinBarrier&, std::uint32_t) {
      ++held;
      while (!goesOn) std::this_thread::yield();
    });
  });
  while (held < 3) std::this_thread::yield();
  int bands = 0;
  pool.RunBands([&](SpinBarrier&, std::uint32_t) { ++bands; }, 10, {});
  EXPECT_EQ(bands, 10);
  int phases = 0;
  pool.RunPhases(
      [&](SpinBarrier& barrier, std::uint32_t index) {
        EXPECT_EQ(barrier.GetThreadCount(), 1);
        EXPECT_EQ(index, 0U);
        barrier.Wait();
        ++phases;
      },
      3, {});
  EXPECT_EQ(phases, 1);
  goesOn = true;
}

TEST(BandThreads, ThreadsStayFromCallToCall) {
  const WorkerPool pool(3);
  std::set<std::thread::id> seen;
  std::mutex lock;
  for (int call = 0; call < 50; ++call) {
    pool.Run([&](SpinBarrier& barrier, std::uint32_t) {
      barrier.Wait();
      const std::lock_guard guard(lock);
      seen.insert(std::this_thread::get_id());
    });
  }
  EXPECT_EQ(seen.size(), 3U);
}

TEST(BandThreads, FirstExceptionEndsTheCallAndIsPassedOn) {
  for (const auto& kind : AllKinds(3)) {
    const WorkerPool pool(kind);
    for (int round = 0; round < 20; ++round) {
      std::atomic<int> calls = 0;
      try {
        pool.RunBands(
            [&](SpinBarrier&, std::uint32_t index) {
              ++calls;
              if (index == 3) throw std::runtime_error("the reason");
              // Where throwing takes long, others would be through before it is done.
              if (index > 1000) std::this_thread::sleep_for(std::chrono::milliseconds(1));
            },
            100000, {});
        FAIL() << "nothing was thrown";
      } catch (const std::runtime_error& error) {
        EXPECT_STREQ(error.what(), "the reason");
      }
      EXPECT_LT(calls, 100000);
    }
  }
}

TEST(BandStop, OfATokenEndsTheCallBetweenBands) {
  for (const auto& kind : AllKinds(3)) {
    const WorkerPool pool(kind);
    std::stop_source source;
    std::atomic<int> calls = 0;
    EXPECT_EQ(CodeOf([&] {
                pool.RunBands(
                    [&](SpinBarrier&, std::uint32_t) {
                      if (++calls == 5) source.request_stop();
                    },
                    1 << 30, {.stop = source.get_token()});
              }),
              exitRequested);
    EXPECT_GE(calls, 5);
    calls = 0;
    EXPECT_EQ(CodeOf([&] {
                pool.RunBands([&](SpinBarrier&, std::uint32_t) { ++calls; }, 3, {.stop = source.get_token()});
              }),
              exitRequested);
    EXPECT_EQ(calls, 0) << "a stop before the call";
  }
}

TEST(BandStop, AfterTheLastBandIsNone) {
  const WorkerPool pool(2);
  std::stop_source source;
  pool.RunBands([&](SpinBarrier&, std::uint32_t index) { index == 6 && source.request_stop(); }, 7,
                {.threads = 1, .stop = source.get_token()});
}

struct Polls {
  std::thread::id own = std::this_thread::get_id();
  int calls = 0;
  int last = 1 << 30;
};
bool Poll(void* user) {
  auto& polls = *static_cast<Polls*>(user);
  EXPECT_EQ(std::this_thread::get_id(), polls.own);
  return ++polls.calls >= polls.last;
}

TEST(BandStop, OfAPollIsAskedForOnTheCallersThread) {
  for (const int threads : {1, 3}) {
    for (const auto& kind : AllKinds(threads)) {
      const WorkerPool pool(kind);
      Polls polls;
      polls.last = 4;
      const auto rest = [](SpinBarrier&, std::uint32_t) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
      };
      EXPECT_EQ(CodeOf([&] { pool.RunBands(rest, 1 << 20, {.poll = Poll, .user = &polls}); }), exitRequested);
      EXPECT_EQ(polls.calls, 4);
      polls = {};
      pool.RunBands(rest, 10, {.poll = Poll, .user = &polls});
      EXPECT_GE(polls.calls, 1);
    }
  }
}

TEST(BandStop, OfAPollThatThrowsPassesThatOn) {
  const auto throws = [](void*) -> bool { throw std::runtime_error("the poll"); };
  for (const auto& kind : AllKinds(2)) {
    const WorkerPool pool(kind);
    const auto nothing = [](SpinBarrier&, std::uint32_t) {};
    EXPECT_THROW(pool.RunBands(nothing, 1 << 30, {.poll = throws}), std::runtime_error);
    EXPECT_THROW(
        pool.RunPhases([](SpinBarrier& barrier, std::uint32_t) { barrier.Wait(); }, 2, {.poll = throws}),
        std::runtime_error);
  }
}

TEST(BandStop, OfThePoolEndsWhatRunsAndNothingElse) {
  for (const auto& kind : AllKinds(3)) {
    const WorkerPool pool(kind);
    for (int round = 0; round < 5; ++round) {
      pool.Stop();
      std::atomic<int> started = 0;
      std::uint32_t codes[3] = {};
      {
        std::vector<std::jthread> callers;
        for (int caller = 0; caller < 3; ++caller) {
          callers.emplace_back([&, caller] {
            codes[caller] = CodeOf([&] {
              const auto band = [&](SpinBarrier&, std::uint32_t index) {
                if (index == 0) ++started;
                std::this_thread::yield();
              };
              pool.RunBands(band, 1 << 30, {});
            });
          });
        }
        while (started < 3) std::this_thread::yield();
        pool.Stop();
      }
      for (const std::uint32_t code : codes) EXPECT_EQ(code, exitRequested);
      int later = 0;
      pool.RunBands([&](SpinBarrier&, std::uint32_t) { ++later; }, 4, {.threads = 1});
      EXPECT_EQ(later, 4);
    }
  }
}

TEST(BandStop, OfThePoolReachesThreadsAtTheBarrier) {
  std::atomic<int> runs = 0;
  for (const auto& kind : {kv_run::PoolOptions{.threads = 3},
                           kv_run::PoolOptions{.threads = 3,
                           .executor = {.run = RunOnThreads, .user = &runs, .isConcurrent = true}}}) {
    const WorkerPool pool(kind);
    EXPECT_EQ(CodeOf([&] {
                pool.RunPhases(
                    [&](SpinBarrier& barrier, std::uint32_t index) {
                      EXPECT_EQ(barrier.GetThreadCount(), 3);
                      if (index == 2) pool.Stop();
                      for (;;) barrier.Wait();
                    },
                    3, {});
              }),
              exitRequested);
  }
  EXPECT_EQ(runs, 1);
}

TEST(BandThreads, OfAnExecutorThatIsNotConcurrentNeverWaitForEachOther) {
  const WorkerPool pool({.threads = 4, .executor = {.run = RunInTurn}});
  int calls = 0;
  const auto meet = [&](SpinBarrier& barrier, std::uint32_t) {
    barrier.Wait();
    ++calls;
  };
  pool.RunPhases(meet, 4, {});
  pool.Run(meet);
  EXPECT_EQ(calls, 2);
}

TEST(BandThreads, OfOnePoolServeSeveralCallers) {
  const WorkerPool pool(4);
  std::vector<std::jthread> callers;
  for (int caller = 0; caller < 4; ++caller) {
    callers.emplace_back([&, caller] {
      for (int round = 0; round < 200; ++round) {
        const int count = 1 + (round * 7 + caller) % 13;
        std::atomic<int> sum = 0;
        pool.RunBands([&](SpinBarrier&, std::uint32_t index) { sum += static_cast<int>(index) + 1; }, count,
                      {});
        ASSERT_EQ(sum, count * (count + 1) / 2);
        std::atomic<int> met = 0;
        const auto meet = [&](SpinBarrier& barrier, std::uint32_t) {
          ++met;
          barrier.Wait();
          ASSERT_EQ(met, barrier.GetThreadCount());
        };
        pool.RunPhases(meet, 3, {});
        met = 0;
        if (round % 10 == 0) pool.Run(meet, 1 + round / 10 % 4);
      }
    });
  }
}

TEST(BandThreads, InsideABandTheSamePoolWorksToo) {
  const WorkerPool pool(3);
  std::atomic<int> inner = 0;
  pool.RunBands([&](SpinBarrier&,
                    std::uint32_t) { pool.RunBands([&](SpinBarrier&, std::uint32_t) { ++inner; }, 5, {}); },
                20, {});
  EXPECT_EQ(inner, 100);
}

TEST(BandThreads, StopsAtRandomMomentsLeaveThePoolWhole) {
  const WorkerPool pool(4);
  std::atomic<bool> ends = false;
  std::jthread stopper([&] {
    while (!ends) {
      pool.Stop();
      std::this_thread::sleep_for(std::chrono::microseconds(50));
    }
  });
  int stopped = 0;
  for (int round = 0; round < 300; ++round) {
    std::atomic<int> calls = 0;
    const std::uint32_t code = CodeOf([&] {
      pool.RunBands(
          [&](SpinBarrier&, std::uint32_t) {
            ++calls;
            std::this_thread::yield();
          },
          200, {});
    });
    ASSERT_TRUE(code == 0 || code == exitRequested) << code;
    if (code == 0) {
      ASSERT_EQ(calls, 200);
    } else {
      ++stopped;
    }
  }
  ends = true;
  EXPECT_GT(stopped, 0);
}

}  // namespace
