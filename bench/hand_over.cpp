// How long a pool's second thread takes to begin its part of a call, for calls at a distance from each other: median
// and 90th percentile, in microseconds. Run as: hand_over_bench

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <thread>
#include <vector>

#include "run/worker_pool.h"

namespace {

using Clock = std::chrono::steady_clock;

double Microseconds(Clock::duration time) {
  return std::chrono::duration<double, std::micro>(time).count();
}

/// A caller that computes between its calls, up to a millisecond, or sleeps longer.
void Pass(std::chrono::microseconds gap) {
  constexpr std::chrono::microseconds mostSpun{1000};
  const auto end = Clock::now() + gap;
  if (gap > mostSpun) std::this_thread::sleep_until(end);
  while (Clock::now() < end) {
  }
}

void Time(std::chrono::microseconds gap, int rounds) {
  const kv_run::WorkerPool pool(2);
  std::vector<double> handOvers;
  std::vector<double> calls;
  for (int round = 0; round < rounds; ++round) {
    Pass(gap);
    Clock::time_point begun;
    const auto start = Clock::now();
    pool.Run([&](kv_std::SpinBarrier& /*barrier*/, std::uint32_t index) {
      if (index == 1) begun = Clock::now();
    });
    const auto end = Clock::now();
    if (round == 0) continue;  // starts the thread
    handOvers.push_back(Microseconds(begun - start));
    calls.push_back(Microseconds(end - start));
  }
  std::ranges::sort(handOvers);
  std::ranges::sort(calls);
  std::printf("%8lld us apart: begins after %6.1f us (90 %%: %6.1f), both are back after %6.1f us\n",
              static_cast<long long>(gap.count()), handOvers[handOvers.size() / 2],
              handOvers[handOvers.size() * 9 / 10], calls[calls.size() / 2]);
}

}  // namespace

int main() {
  using std::chrono::microseconds;
  Time(microseconds(0), 20001);
  Time(microseconds(50), 10001);
  Time(microseconds(1000), 1001);
  Time(microseconds(33000), 61);
}
