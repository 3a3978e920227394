// Pools in the child of a fork, at the end of the process and of a module.

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <thread>

#include "run/worker_pool.h"

namespace {

using kv_run::WorkerPool;
using kv_std::SpinBarrier;

constexpr unsigned secondsUntilAlarm = 60;

/// Whether the pool runs calls of both kinds.
bool Works(const WorkerPool& pool) {
  std::atomic<int> sum = 0;
  pool.RunBands([&](SpinBarrier&, std::uint32_t index) { sum += static_cast<int>(index); }, 10, {});
  pool.RunPhases(
      [&](SpinBarrier& barrier, std::uint32_t) {
        barrier.Wait();
        ++sum;
      },
      1, {});
  pool.Run([&](SpinBarrier& barrier, std::uint32_t) {
    barrier.Wait();
    ++sum;
  });
  pool.Stop();
  return sum == 45 + 1 + pool.ThreadCount();
}

/// Calls `inChild` in a child, which a hang ends, and returns its exit status, -1 for a signal.
template <class Call>
int Fork(const Call& inChild) {
  const pid_t child = fork();
  if (child == 0) {
    alarm(secondsUntilAlarm);
    _exit(inChild() ? 0 : 1);
  }
  int status = 0;
  waitpid(child, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

TEST(Fork, TheChildHasThreadsOfItsOwn) {
  for (const int threads : {1, 3}) {
    auto* const pool = new WorkerPool(threads);
    ASSERT_EQ(Fork([&] { return Works(*pool); }), 0) << "before the first call";
    ASSERT_TRUE(Works(*pool));
    EXPECT_EQ(Fork([&] {
                const bool works = Works(*pool) && Works(*pool);
                delete pool;
                return works;
              }),
              0);
    EXPECT_EQ(Fork([&] { return Fork([&] { return Works(*pool); }) == 0 && Works(*pool); }), 0)
        << "the child of a child";
    EXPECT_EQ(Fork([&] {
                delete pool;
                return true;
              }),
              0)
        << "destroyed without a call";
    EXPECT_TRUE(Works(*pool));
    delete pool;
  }
}

TEST(Fork, TheChildWorksWhileTheParentCalls) {
  const WorkerPool pool(3);
  std::atomic<bool> ends = false;
  std::jthread caller([&] {
    while (!ends) pool.RunBands([](SpinBarrier&, std::uint32_t) {}, 5, {});
  });
  for (int round = 0; round < 50; ++round) {
    ASSERT_EQ(Fork([&] {
                pool.Stop();
                return Works(pool);
              }),
              0)
        << round;
  }
  ends = true;
}

TEST(Exit, ALivePoolIsNoTrouble) {
  for (int round = 0; round < 20; ++round) {
    const pid_t child = fork();
    if (child == 0) {
      alarm(secondsUntilAlarm);
      static const WorkerPool atTheEnd(3);
      static const auto* const never = new WorkerPool(3);
      std::exit(Works(atTheEnd) && Works(*never) ? 0 : 1);
    }
    int status = 0;
    waitpid(child, &status, 0);
    ASSERT_TRUE(WIFEXITED(status));
    ASSERT_EQ(WEXITSTATUS(status), 0);
  }
}

}  // namespace
