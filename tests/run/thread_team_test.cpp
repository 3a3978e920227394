// Threads that are kept for one call, beside calls that any free thread may join.

#include "run/thread_team.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>

namespace {

using kv_run::ThreadTeam;

void CountRuns(void* runs, int /*index*/) {
  ++*static_cast<std::atomic<int>*>(runs);
}

TEST(ThreadTeams, AThreadThatIsKeptForOneCallJoinsNoOther) {
  ThreadTeam team(1);
  ThreadTeam::Reservation kept(team);
  kept.TakeAll(1);
  ASSERT_EQ(kept.Count(), 1);
  std::atomic<int> others = 0;
  ThreadTeam::Job other(CountRuns, &others);
  team.Offer(other, 1);
  std::this_thread::sleep_for(std::chrono::milliseconds(20));
  EXPECT_EQ(others, 0);
  std::atomic<int> runs = 0;
  ThreadTeam::Job own(CountRuns, &runs);
  kept.Launch(own);
  team.Close(own);
  EXPECT_EQ(runs, 1);
  team.Close(other);
}

}  // namespace
