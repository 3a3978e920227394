#include "bench/contest.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <utility>

#include "run/worker_pool.h"
#include "tests/support/family.h"

namespace kv_bench {
namespace {

using Clock = std::chrono::steady_clock;

/// Long enough for the clock, short enough that the machine's noise hits all contenders equally.
constexpr double sampleSeconds = 0.004;

/// The value that `share` of all are below.
double Quantile(std::vector<double> values, double share) {
  const auto place = values.begin() + std::lround(share * static_cast<double>(values.size() - 1));
  std::nth_element(values.begin(), place, values.end());
  return *place;
}

double Median(const std::vector<double>& values) {
  return Quantile(values, 0.5);
}

double SecondsFor(const Contender& contender, std::vector<std::unique_ptr<Scene>>& scenes, int calls) {
  const auto start = Clock::now();
  kv_std::SpinBarrier alone(1);
  for (int call = 0; call < calls; ++call) {
    contender.run(*scenes[static_cast<std::size_t>(call) % scenes.size()], alone, 0);
  }
  return std::chrono::duration<double>(Clock::now() - start).count();
}

}  // namespace

bool IsOurs(const Contender& contender) {
  return contender.name.starts_with("kv_algo") || contender.name == "memcpy";
}

const Contender& Best(const Operation& operation) {
  return *std::ranges::find_if(operation.contenders, [](const Contender& contender) {
    return contender.name.starts_with(kv_test::wideMember);
  });
}

Operation& Contest::Add(std::string name, double bytesPerPixel, double differences) {
  operations_.push_back({std::move(name), bytesPerPixel, differences});
  return operations_.back();
}

void Contest::Enter(const std::string& operation, std::string contender, std::function<void(Scene&)> run) {
  Enter(operation, std::move(contender),
        Part([run = std::move(run)](Scene& scene, auto& /*barrier*/, auto /*threadIndex*/) { run(scene); }));
}

void Contest::Enter(const std::string& operation, std::string contender, Part run) {
  const auto found = std::ranges::find(operations_, operation, &Operation::name);
  if (found != operations_.end()) found->contenders.push_back({std::move(contender), std::move(run)});
}

std::vector<Timing> Time(const Operation& operation, std::vector<std::unique_ptr<Scene>>& scenes,
                         int rounds) {
  const std::size_t count = operation.contenders.size();
  std::vector<int> calls(count);
  for (std::size_t i = 0; i < count; ++i) {
    const auto all = static_cast<int>(scenes.size());
    // Makes the images too.
    SecondsFor(operation.contenders[i], scenes, all);
    const double once = SecondsFor(operation.contenders[i], scenes, all) / all;
    const int enough = static_cast<int>(sampleSeconds / std::max(once, 1e-7)) + 1;
    // Whole passes over the scenes: every sample leaves the caches as it found them.
    calls[i] = all == 1 ? enough : all;
  }
  std::vector<std::vector<double>> samples(count);
  for (int round = 0; round < rounds; ++round) {
    for (std::size_t turn = 0; turn < count; ++turn) {
      const std::size_t i = (turn + static_cast<std::size_t>(round)) % count;
      // In cache after a slower contender too, during which other programs take their share of it.
      if (scenes.size() == 1) SecondsFor(operation.contenders[i], scenes, 1);
      samples[i].push_back(SecondsFor(operation.contenders[i], scenes, calls[i]) / calls[i]);
    }
  }
  std::vector<Timing> timings;
  for (std::size_t i = 0; i < count; ++i) {
    const double median = Median(samples[i]);
    const double spread = (Quantile(samples[i], 0.75) - Quantile(samples[i], 0.25)) / median;
    timings.push_back({operation.contenders[i].name, median, spread});
  }
  return timings;
}

double TimeOnThreads(const Contender& contender, Scene& scene, int threads, int rounds) {
  const kv_run::WorkerPool pool(threads);
  std::vector<double> samples;
  // The first round fills the caches.
  for (int round = 0; round <= rounds; ++round) {
    const auto start = Clock::now();
    pool.Run(
        [&](kv_std::SpinBarrier& barrier, std::uint32_t index) { contender.run(scene, barrier, index); });
    if (round > 0) samples.push_back(std::chrono::duration<double>(Clock::now() - start).count());
  }
  return Median(samples);
}

}  // namespace kv_bench
