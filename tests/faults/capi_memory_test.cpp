// Every allocation that a call of the C interface makes fails in turn: the call answers KV_OUT_OF_MEMORY, nothing leaks,
// the next call works.
#include <gtest/gtest.h>

#include "tests/capi/sound_calls.h"
#include "tests/faults/failing_allocations.h"

namespace {

using namespace kv_test;

/// Runs `work` until none of its allocations fails any more, and answers how many did.
template <class Armed, class Work>
int FailEach(const char* what, Work work) {
  constexpr int mostAllocations = 3000;
  for (int number = 0; number < mostAllocations; ++number) {
    const long before = LiveAllocations();
    kv_status status = KV_OK;
    bool hasFailed = false;
    {
      const Armed armed(number);
      status = work();
      if constexpr (requires { armed.HasFailed(); }) {
        hasFailed = armed.HasFailed();
      } else {
        hasFailed = armed.HaveFailed();
      }
    }
    EXPECT_EQ(LiveAllocations(), before) << what << ", allocation " << number;
    if (!hasFailed) {
      EXPECT_EQ(status, KV_OK) << what;
      return number;
    }
    EXPECT_EQ(status, KV_OUT_OF_MEMORY) << what << ", allocation " << number << ": " << kv_last_error();
    EXPECT_NE(std::string(kv_last_error()).find("ut of memory"), std::string::npos) << kv_last_error();
  }
  return mostAllocations;
}

TEST(CapiMemory, EveryAllocationOfEveryFunctionMayFail) {
  int failures = 0;
  for (const Function& function : Functions()) {
    Arguments arguments;
    ArgumentsFor(function, arguments);
    ASSERT_EQ(function.call(arguments), KV_OK) << "what is made once is there";
    const auto work = [&] {
      kv_context* context = nullptr;
      const kv_status made = kv_context_new(nullptr, &context);
      if (made != KV_OK) return made;
      arguments.context = context;
      const kv_status status = function.call(arguments);
      kv_context_free(context);
      return status;
    };
    failures += FailEach<FailingAllocation>(function.name, work);
    failures += FailEach<FailingAllocations>(function.name, work);
    EXPECT_EQ(work(), KV_OK) << function.name;
  }
  EXPECT_GT(failures, 100);
}

TEST(CapiMemory, RegionsFramesAndPolygons) {
  const double triangle[] = {0, 0, 40, 0, 0, 40};
  const auto makeRegion = [&] {
    kv_region* region = nullptr;
    const kv_status status = kv_region_polygon(triangle, 3, &region);
    kv_region_free(region);
    return status;
  };
  const auto makeFrame = [] {
    kv_frame frame;
    kv_frame_init(&frame);
    frame.format = KV_FORMAT_I422;
    frame.width = frame.height = 20;
    const kv_status status = kv_frame_alloc(&frame);
    kv_frame_free(&frame);
    return status;
  };
  const auto clip = [&] {
    double vertices[20];
    std::size_t pieces[4];
    std::size_t vertexCount = 0;
    std::size_t pieceCount = 0;
    return kv_clip_polygon(triangle, 3, 5, 5, 30, 30, vertices, 10, &vertexCount, pieces, 4, &pieceCount);
  };
  EXPECT_GT(FailEach<FailingAllocation>("region", makeRegion), 3);
  EXPECT_EQ(FailEach<FailingAllocation>("frame", makeFrame), 1);
  EXPECT_GT(FailEach<FailingAllocation>("polygon", clip), 3);
}

}  // namespace
