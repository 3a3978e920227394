// Every allocation that a call of the libraries makes fails in turn: nothing leaks, what is thrown is
// bad_alloc or an exception of the family, and the next call works.
#include <gtest/gtest.h>

#include <new>

#include "check/operation_case.h"
#include "frame/algorithm_manager_impl.h"
#include "frame/score_maps.h"
#include "frame/spin_barrier.h"
#include "geometry/intersection.h"
#include "image/errors/exceptions.h"
#include "image/image_factory.h"
#include "image/run_region.h"
#include "tests/faults/failing_allocations.h"
#include "tests/support/member.h"

namespace {

using namespace kv_test;

/// Calls `work` with each of its allocations failing in turn, alone and with all that follow. Returns how
/// many did.
template <class Work>
int FailEachIn(Work work) {
  int failures = 0;
  const auto runArmed = [&](auto&& armed, auto hasFailed) {
    const long before = LiveAllocations();
    bool isDone = false;
    {
      auto guard = armed();
      try {
        work();
      } catch (const std::bad_alloc&) {
      } catch (const kv_std::KVException&) {
      }
      isDone = !hasFailed(guard);
    }
    EXPECT_EQ(LiveAllocations(), before) << "allocation " << failures << " leaves something behind";
    return isDone;
  };
  for (long number = 0; number < 5000; ++number) {
    const bool isDone = runArmed([&] { return FailingAllocation(number); },
                                 [](const auto& guard) { return guard.HasFailed(); });
    runArmed([&] { return FailingAllocations(number); },
             [](const auto& guard) { return guard.HaveFailed(); });
    if (isDone) break;
    ++failures;
  }
  return failures;
}

TEST(OperationMemory, EveryAllocationOfEveryOperationMayFail) {
  const Member& reference = Members().front();
  int failures = 0;
  for (const Member& member : Members()) {
    for (const kv_check::OperationCase& operation : kv_check::AllOperations()) {
      SCOPED_TRACE(testing::Message() << member.Name() << " " << operation.algorithm);
      const auto load = [&](const Member& of) {
        return of.Load(operation.algorithm.c_str(), operation.ids.data(),
                       static_cast<int>(operation.ids.size()));
      };
      const auto* expected = load(reference);
      const auto* tested = load(member);
      if (tested == nullptr) continue;
      for (const std::uint64_t seed : {11U, 12U}) {
        const auto compare = [&] {
          kv_check::Random random(seed);
          return operation.compare(random, *expected, *tested).difference;
        };
        ASSERT_EQ(compare(), "");
        failures += FailEachIn([&] { static_cast<void>(compare()); });
        ASSERT_EQ(compare(), "") << "the next call";
      }
    }
  }
  EXPECT_GT(failures, 2000);
  RecordProperty("failures", failures);
}

TEST(OperationMemory, ImagesRegionsMapsAndBarriers) {
  using Frame = kv_img::Image<kv_img::PixelYUVA422>;
  EXPECT_GT(FailEachIn([] {
              const Frame frame(7, 5);
              const auto like = kv_img::ImageFactory<Frame>::CreateImage(frame);
              const kv_img::RunRegion region(kv_img::ImageRect(0, 0, 6, 4));
              kv_img::MatchScoreMap map;
              map.Reset(kv_img::ImageRect(0, 0, 6, 4));
              kv_img::SubPixelScoreMap subPixelMap;
              subPixelMap.Reset({0, 0, 6, 4}, 0.5, 0.5);
              const kv_std::SpinBarrier barrier(3);
            }),
            8);
}

TEST(OperationMemory, ExceptionsAndTheirMessages) {
  EXPECT_GT(FailEachIn([] {
              throw kv_img::AlgoMMXException(4, L"a name of some length, so that it is allocated",
                                             L"another");
            }),
            0);
  EXPECT_GT(FailEachIn([] {
              const kv_std::SpinBarrierException error(12603);
              const kv_std::SpinBarrierException copy = error;
              throw copy;
            }),
            0);
}

TEST(OperationMemory, AManagerThatProbesTheFamily) {
  const auto probe = [] {
    kv_img::AlgorithmManagerImpl manager;
    const int id = kv_img::PixelNoColor<unsigned char>::ClassID;
    return manager.AskMember(L"kv_algoC", "AverageFilter", &id, 1) != nullptr;
  };
  ASSERT_TRUE(probe());
  EXPECT_GT(FailEachIn([&] { static_cast<void>(probe()); }), 20);
  EXPECT_TRUE(probe());
}

}  // namespace
