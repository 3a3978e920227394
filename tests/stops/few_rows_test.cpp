// Every operation on more threads than its pictures have rows: all come back, and the bytes are those of
// threads that are called in turn.
#include <gtest/gtest.h>

#include "tests/stops/load.h"
#include "tests/support/operation_calls.h"
#include "tests/support/threads.h"

namespace {

using namespace kv_test;

class FewRows : public testing::TestWithParam<int> {};

TEST_P(FewRows, ThreadsWithoutRowsComeBackAndTheOthersDoTheWork) {
  const Member& member = Members()[static_cast<std::size_t>(GetParam())];
  for (const NamedCall& named : CallsOf(member)) {
    if (named.isForOne) continue;
    for (const int threads : {1, 2, 3, 4, 8, 64}) {
      if (threads > mostThreads) break;
      for (const int rows : {1, 7}) {
        SCOPED_TRACE(testing::Message()
                     << named.name << " on " << threads << " threads, " << rows << " rows");
        Pictures expected(rows);
        CallInTurn(named.waits ? 1 : threads,
                   [&](SpinBarrier& barrier, std::uint32_t index) { named.call(expected, barrier, index); });
        Pictures actual(rows);
        for (const auto& thrown : CallOnThreads(threads, [&](SpinBarrier&barrier, std::uint32_t index) {
               named.call(actual, barrier, index);
             })) {
          ASSERT_EQ(thrown, nullptr);
        }
        ASSERT_EQ(actual.frame.DifferenceFrom(expected.frame), "");
        ASSERT_EQ(actual.mask.DifferenceFrom(expected.mask), "");
        ASSERT_EQ(actual.bitmap.DifferenceFrom(expected.bitmap), "");
        ASSERT_EQ(actual.a.DifferenceFrom(expected.a), "");
        ASSERT_EQ(actual.rawMask.use_count(), 1);
      }
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Members, FewRows, EachMember(), MemberName);

}  // namespace
