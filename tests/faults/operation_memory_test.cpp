// Every allocation that a call of the libraries makes fails in turn: nothing leaks, what is thrown is
// bad_alloc or an exception of the family, and the next call works.
#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <new>
#include <thread>
#include <vector>

#include "check/operation_case.h"
#include "check/test_image.h"
#include "frame/algorithm_manager_impl.h"
#include "frame/interfaces/feature_find.h"
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
}

TEST(SpinBarrierMemory, AStopReachesEveryThreadWithoutMemory) {
  for (const std::uint32_t code : {12603U, 12607U}) {
    kv_std::SpinBarrier barrier(3);
    std::array<std::uint32_t, 3> codes{};
    std::array<bool, 3> haveTexts{};
    std::atomic<int> ready = 0;
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < 2; ++i) {
      threads.emplace_back([&, i] {
        ++ready;
        try {
          barrier.Wait();
        } catch (const kv_std::SpinBarrierException& error) {
          codes[i] = error.Code();
          haveTexts[i] =
              error.Message() == (code == 12603 ? L"Internal barrier exception: exit has been requested"
                                                : L"Internal barrier exception: a processing error occured");
        }
      });
    }
    while (ready < 2) std::this_thread::yield();
    bool haveFailed = false;
    {
      const FailingAllocations failing(0);
      static_assert(noexcept(barrier.RequestStop())&& noexcept(barrier.RequestErrorStop()));
      code == 12603 ? barrier.RequestStop() : barrier.RequestErrorStop();
      for (std::thread& thread : threads) thread.join();
      haveFailed = failing.HaveFailed();
    }
    EXPECT_FALSE(haveFailed) << "a stop allocates";
    EXPECT_EQ(codes, (std::array<std::uint32_t, 3>{code, code, 0}));
    EXPECT_TRUE(haveTexts[0] && haveTexts[1]);
  }
}

TEST(OperationMemory, ASubPixelSearchThatFindsNoMemoryLeavesItsResult) {
  using Frame = kv_check::Yuv422;
  kv_check::Random random(5);
  const kv_check::TestImage<kv_img::PixelYUV422> image(random, 24, 20, kv_check::Placement::Any(random));
  const double at[] = {12.25, 9.5};
  for (const Member& member : Members()) {
    const auto* find = member.Get<kv_img::FeatureFindAlgorithmInterface<Frame>>(
        "FeatureFind", {kv_img::PixelYUV422::ClassID});
    kv_std::SpinBarrier barrier(1);
    int failures = 0;
    for (bool hasFailed = true; hasFailed; ++failures) {
      ASSERT_LT(failures, 1000);
      double result[] = {-5, -6};
      const FailingAllocations failing(failures);
      try {
        find->LocateFeatureSubPixel(*image, *image, at, at, result, 3, 3, 2, 2, 1, 1, 4, nullptr, barrier, 0);
        hasFailed = false;
      } catch (const kv_img::AlgoMMXException& error) {
        ASSERT_EQ(error.Code(), 3U);
        ASSERT_EQ(result[0], -5);
        ASSERT_EQ(result[1], -6);
      } catch (const std::bad_alloc&) {
        // Not even for the text of the exception.
        ASSERT_EQ(result[0], -5);
        ASSERT_EQ(result[1], -6);
      }
    }
    EXPECT_GT(failures, 4) << "one at least for each level";
  }
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
