// SIMD registers share their place with the floating-point stack: whatever state a thread comes with, every
// operation leaves it ready for floating-point code, also when it has no rows, refuses its arguments or is
// stopped.
#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "image/errors/kv_exception.h"
#include "tests/support/operation_calls.h"

namespace {

using namespace kv_test;

/// The tags of the eight registers, two bits each; all set: every register is empty.
constexpr std::uint16_t allEmpty = 0xFFFF;

std::uint16_t TagWord() {
  struct {
    std::uint16_t control, reserved1, status, reserved2, tags, rest[9];
  } environment{};
  asm volatile("fnstenv %0\n\tfldenv %0" : "+m"(environment));
  return environment.tags;
}

void UseSimdRegisters() {
  asm volatile("pxor %%mm0, %%mm0" ::: "mm0");
}

void ClearSimdRegisters() {
  asm volatile("emms");
}

/// The tags that `work` leaves to a caller whose registers are in use.
template <class Work>
std::uint16_t TagsAfter(Work work) {
  UseSimdRegisters();
  EXPECT_NE(TagWord(), allEmpty);
  work();
  const std::uint16_t tags = TagWord();
  ClearSimdRegisters();
  return tags;
}

template <class Work>
void ExpectCleanAfter(Work work) {
  EXPECT_EQ(TagsAfter(work), allEmpty);
}

class SimdState : public testing::TestWithParam<int> {
 protected:
  const std::vector<NamedCall> calls_ = CallsOf(Members()[static_cast<std::size_t>(GetParam())]);
};

TEST_P(SimdState, IsCleanAfterABandWithAndWithoutRows) {
  for (const NamedCall& named : calls_) {
    SCOPED_TRACE(named.name);
    Pictures on(7);
    // Thread 0 of eight has none of seven rows.
    for (const int threads : {1, 8}) {
      SpinBarrier barrier(threads);
      // Threads that wait at the barrier need each other.
      std::vector<std::thread> others;
      for (int index = 1; named.waits && index < threads; ++index) {
        others.emplace_back([&, index] { named.call(on, barrier, static_cast<std::uint32_t>(index)); });
      }
      const std::uint16_t tags = TagsAfter([&] { named.call(on, barrier, 0); });
      for (std::thread& other : others) other.join();
      EXPECT_EQ(tags, allEmpty) << threads << " threads";
    }
  }
}

TEST_P(SimdState, IsCleanAfterAStop) {
  for (const NamedCall& named : calls_) {
    if (!named.waits) continue;
    SCOPED_TRACE(named.name);
    Pictures on(7);
    SpinBarrier barrier(8);
    barrier.RequestStop();
    ExpectCleanAfter([&] { EXPECT_THROW(named.call(on, barrier, 0), kv_std::SpinBarrierException); });
  }
}

TEST_P(SimdState, IsCleanAfterARefusal) {
  for (const NamedCall& named : calls_) {
    if (std::string_view(named.name) == "FillPoly") continue;  // It refuses nothing.
    SCOPED_TRACE(named.name);
    Pictures on(7, 2);
    on.rows = 9;  // The pan takes its region from it, which does not fit either.
    SpinBarrier barrier(8);
    ExpectCleanAfter([&] { EXPECT_THROW(named.call(on, barrier, 0), kv_std::KVException); });
  }
}

INSTANTIATE_TEST_SUITE_P(Members, SimdState, EachMember(), MemberName);

}  // namespace
