// Allocation N and all that follow fail, in every operation of every member and on several threads: the call
// ends with an error on all of them, nothing leaks, and the next call works.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <new>

#include "image/errors/kv_exception.h"
#include "run/worker_pool.h"
#include "tests/faults/failing_allocations.h"
#include "tests/support/operation_calls.h"

namespace {

using namespace kv_test;

/// A call that takes this long hangs: the alarm's signal ends the program.
constexpr unsigned secondsUntilAlarm = 60;

struct Sweep {
  const NamedCall& named;
  int threads;
  Pictures on{7};

  void Call(const kv_run::WorkerPool& pool) {
    pool.Run([this](SpinBarrier& barrier, std::uint32_t index) {
      if (!named.isForOne || index == 0) named.call(on, barrier, index);
    });
  }

  /// Returns how many allocations were made to fail. The first time some of them make what the process keeps.
  int Run(bool isFirstTime) {
    on.rawMask = threads == 1 ? nullptr : std::make_shared<Grey8>(Pictures::width, on.rows);
    for (int number = 0; number < 100000; ++number) {
      alarm(secondsUntilAlarm);
      const long before = LiveAllocations();
      bool hasThrown = false;
      bool haveFailed = false;
      {
        const FailingAllocations failing(number);
        try {
          // Of its own, as threads start once.
          const kv_run::WorkerPool pool(threads);
          Call(pool);
        } catch (const std::bad_alloc&) {
          hasThrown = true;
        } catch (const kv_std::KVException&) {
          hasThrown = true;
        }
        haveFailed = failing.HaveFailed();
      }
      EXPECT_EQ(hasThrown, haveFailed) << "allocation " << number;
      if (!haveFailed) return number;
      EXPECT_TRUE(isFirstTime || LiveAllocations() <= before)
          << "allocation " << number << " leaves something behind";
    }
    ADD_FAILURE() << "the allocations do not end";
    return 0;
  }
};

/// Sweeps the operations that `isChosen` picks.
template <class Choice>
void SweepOperations(const Member& member, std::initializer_list<int> threadCounts, Choice isChosen) {
  int operations = 0;
  int failures = 0;
  for (const NamedCall& named : CallsOf(member)) {
    if (!isChosen(std::string_view(named.name))) continue;
    ++operations;
    for (const int threads : threadCounts) {
      SCOPED_TRACE(testing::Message() << named.name << " on " << threads << " threads");
      const int failed = Sweep{named, threads}.Run(true);
      Sweep{named, threads}.Run(false);
      EXPECT_GE(failed, threads) << "each thread that is started allocates";
      failures += failed;
    }
  }
  alarm(0);
  std::printf("%s: %d failing allocations in %d operations on %zu numbers of threads\n",
              member.Name().c_str(), failures, operations, threadCounts.size());
}

class OperationSweep : public testing::TestWithParam<int> {
 protected:
  const Member& member_ = Members()[static_cast<std::size_t>(GetParam())];
};

TEST_P(OperationSweep, EveryAllocationAndAllThatFollow) {
  // Members of other levels share everything that allocates.
  if (GetParam() > 2 && std::getenv("KV_EVERY_ALLOCATION") == nullptr) return;
  SweepOperations(member_, {1, 2, 3, 8}, [](std::string_view) { return true; });
}

INSTANTIATE_TEST_SUITE_P(Members, OperationSweep, EachMember(), MemberName);

TEST(OperationSweepThreads, OneOperationOfEachKind) {
  SweepOperations(Members()[1], {3}, [](std::string_view name) {
    return name == "Copy to DIB24" || name == "CopyROI" || name == "AbsoluteDifference" ||
           name == "AverageFilter" || name == "AlphaLayerColorBased" || name == "ParityChange" ||
           name == "FeatureFind" || name == "Scanning" || name == "FillPoly";
  });
}

}  // namespace
