// Times every operation of every member at every level, memcpy of the same number of bytes, and what a user
// would take instead: one program, one run, one thread, so that ratios are meaningful.

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <nlohmann/json.hpp>
#include <thread>
#include <utility>

#include "bench/contest.h"
#include "bench/machine.h"

namespace {

using kv_bench::Contest;
using kv_bench::Operation;
using kv_bench::Scene;

constexpr const char* usage =
    "operation_bench [--operation TEXT] [--rounds N] [--json FILE] [--cache-only] [--best | --behind]\n"
    "  --operation TEXT  only operations whose name contains TEXT\n"
    "  --rounds N        repetitions that medians are taken of (default 9)\n"
    "  --json FILE       also writes the figures there\n"
    "  --cache-only      leaves out the frames that fit no cache\n"
    "  --best            leaves out all members and levels but the best\n"
    "  --behind          only the best member and its peers; lists where a peer is ahead, and ends with 1 "
    "then\n";

struct Size {
  int width;
  int height;
  bool isForAll = false;  ///< Not only for the best member and its peers.
};
constexpr Size fullHd = {1920, 1080, true};
constexpr Size sizes[] = {{720, 96}, {720, 576, true}, fullHd, {3840, 2160}};
/// As many pixels as the first of those in fewer rows: the difference is what rows cost.
constexpr Size fewRows = {1920, 36};
constexpr double streamedBytes = 256.0 * 1024 * 1024;

void EnterMemcpy(Operation& operation) {
  if (operation.bytesPerPixel == 0) return;
  operation.contenders.insert(
      operation.contenders.begin(),
      {"memcpy", [bytes = operation.bytesPerPixel / 2](Scene& scene, auto& /*barrier*/, auto /*thread*/) {
         const auto count = static_cast<std::size_t>(bytes * scene.width * scene.height);
         auto& from = scene.Bytes(2, count);
         std::memcpy(scene.Bytes(3, count).data(), from.data(), count);
       }});
}

std::vector<std::unique_ptr<Scene>> Scenes(const Operation& operation, const Size& size, bool isStreaming) {
  const double bytes = operation.bytesPerPixel * size.width * size.height;
  std::vector<std::unique_ptr<Scene>> scenes(isStreaming ? static_cast<std::size_t>(streamedBytes / bytes) + 1
                                                         : 1);
  for (auto& scene : scenes) scene = std::make_unique<Scene>(size.width, size.height);
  return scenes;
}

/// One line per contender: microseconds, and how many times as long as memcpy.
nlohmann::json TimeOperation(const Operation& operation, const Size& size, bool isStreaming, int rounds) {
  std::vector<std::unique_ptr<Scene>> scenes = Scenes(operation, size, isStreaming);
  const char* mode = isStreaming ? "streaming" : "in cache";
  std::printf("%s, %dx%d, %s\n", operation.name.c_str(), size.width, size.height, mode);
  nlohmann::json lines = nlohmann::json::array();
  const auto timings = kv_bench::Time(operation, scenes, rounds);
  const double memcpySeconds = operation.bytesPerPixel == 0 ? 0 : timings.front().seconds;
  for (const auto& [contender, seconds, spread] : timings) {
    nlohmann::json line = {{"operation", operation.name},
                           {"width", size.width},
                           {"height", size.height},
                           {"mode", mode},
                           {"contender", contender},
                           {"microseconds", seconds * 1e6},
                           {"spread", spread},
                           {"bytes", operation.bytesPerPixel * size.width * size.height}};
    std::printf("  %-28s %10.1f us +-%4.1f %%", contender.c_str(), seconds * 1e6, 50 * spread);
    if (memcpySeconds > 0) {
      line["memcpys"] = seconds / memcpySeconds;
      std::printf("  %6.2f memcpy", seconds / memcpySeconds);
    }
    if (operation.differences > 0) {
      line["nanosecondsPerDifference"] = seconds * 1e9 / operation.differences;
      std::printf("  %7.4f ns per difference", seconds * 1e9 / operation.differences);
    }
    std::printf("\n");
    lines.push_back(std::move(line));
  }
  std::fflush(stdout);
  return lines;
}

/// The best member and its peers alone.
Operation AgainstPeers(const Operation& operation) {
  Operation result = operation;
  const std::string best = kv_bench::Best(operation).name;
  std::erase_if(result.contenders, [&best](const auto& contender) {
    return kv_bench::IsOurs(contender) && contender.name != best;
  });
  return result;
}

/// The time of the fastest peer as a share of the member's, and its name.
std::pair<double, std::string> AgainstBestPeer(const Operation& operation, const Size& size, bool isStreaming,
                                               int rounds) {
  std::vector<std::unique_ptr<Scene>> scenes = Scenes(operation, size, isStreaming);
  const auto timings = kv_bench::Time(operation, scenes, rounds);
  const auto peer = std::min_element(timings.begin() + 1, timings.end(),
                                     [](const auto& a, const auto& b) { return a.seconds < b.seconds; });
  return {peer->seconds / timings.front().seconds, peer->contender};
}

/// Below these shares a row is slower than a peer by more than what runs differ by.
constexpr double leastInCache = 0.95;
constexpr double leastStreaming = 0.90;

/// Prints an operation's ratio at every size; appends the line to `slower` if it is below the limit in each of three runs.
void Compare(const Operation& operation, bool withStreaming, int rounds, std::vector<std::string>& slower) {
  const Operation pair = AgainstPeers(operation);
  if (pair.contenders.size() == 1) return;
  for (const bool isStreaming : {false, true}) {
    if (isStreaming && (!withStreaming || operation.bytesPerPixel == 0)) continue;
    for (const Size& size : sizes) {
      const double least = isStreaming ? leastStreaming : leastInCache;
      std::pair<double, std::string> most;
      for (int run = 0; run < 3 && most.first < least; ++run) {
        most =
            std::max(most, AgainstBestPeer(pair, size, isStreaming, isStreaming ? (rounds + 1) / 2 : rounds));
      }
      const auto& [ratio, peer] = most;
      char line[160];
      std::snprintf(line, sizeof line, "%6.2f of %s: %s, %dx%d, %s", ratio, peer.c_str(),
                    operation.name.c_str(), size.width, size.height, isStreaming ? "streaming" : "in cache");
      std::puts(line);
      std::fflush(stdout);
      if (ratio < least) slower.emplace_back(line);
    }
  }
}

/// The best member on 1, 2, 4, … threads, up to what the machine runs at once.
void TimeScaling(Contest& contest, const std::string& filter, int rounds, nlohmann::json& lines) {
  const int most = static_cast<int>(std::max(1U, std::thread::hardware_concurrency()));
  for (const Operation& operation : contest.Operations()) {
    // What a search or a polygon costs does not go down with threads: each does all of it.
    if (operation.bytesPerPixel == 0 || operation.name == "ParityChange") continue;
    if (operation.name.find(filter) == std::string::npos) continue;
    const kv_bench::Contender& best = kv_bench::Best(operation);
    Scene scene(fullHd.width, fullHd.height);
    std::printf("%s, %s:", operation.name.c_str(), best.name.c_str());
    for (int threads = 1; threads <= most;
         threads = threads == most ? most + 1 : std::min(2 * threads, most)) {
      const double seconds = kv_bench::TimeOnThreads(best, scene, threads, 5 * rounds);
      std::printf("  %d threads %.1f us", threads, seconds * 1e6);
      lines.push_back({{"operation", operation.name}, {"threads", threads}, {"microseconds", seconds * 1e6}});
    }
    std::printf("\n");
  }
}

int ListBehind(Contest& contest, const std::string& filter, bool withStreaming, int rounds) {
  kv_bench::PinThread();
  std::vector<std::string> slower;
  for (const Operation& operation : contest.Operations()) {
    if (operation.name.find(filter) != std::string::npos) Compare(operation, withStreaming, rounds, slower);
  }
  std::printf(slower.empty() ? "no row is behind\n" : "behind in three of three runs:\n");
  for (const std::string& line : slower) std::puts(line.c_str());
  return slower.empty() ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
  std::string filter;
  std::string jsonFile;
  int rounds = 9;
  bool withStreaming = true;
  bool isBestOnly = false;
  bool isBehindOnly = false;
  for (int i = 1; i < argc; ++i) {
    const std::string option = argv[i];
    if (option == "--cache-only") {
      withStreaming = false;
    } else if (option == "--best") {
      isBestOnly = true;
    } else if (option == "--behind") {
      isBehindOnly = true;
    } else if (i + 1 < argc && option == "--operation") {
      filter = argv[++i];
    } else if (i + 1 < argc && option == "--json") {
      jsonFile = argv[++i];
    } else if (i + 1 < argc && option == "--rounds" && std::atoi(argv[i + 1]) > 0) {
      rounds = std::atoi(argv[++i]);
    } else {
      std::fputs(usage, stderr);
      return 2;
    }
  }

  kv_bench::GiveFramesPagesOfTheirOwn();
  Contest contest;
  kv_bench::EnterMembers(contest);
  kv_bench::EnterPeers(contest);
  if (isBehindOnly) return ListBehind(contest, filter, withStreaming, rounds);
  nlohmann::json report = {{"machine", kv_bench::DescribeMachine()}, {"rounds", rounds}};
  nlohmann::json& lines = report["timings"] = nlohmann::json::array();
  nlohmann::json& scaling = report["threads"] = nlohmann::json::array();
  kv_bench::PinThread();
  for (Operation& operation : contest.Operations()) {
    if (operation.name.find(filter) == std::string::npos) continue;
    Operation best = AgainstPeers(operation);
    EnterMemcpy(operation);
    EnterMemcpy(best);
    for (const Size& size : sizes) {
      const bool isForAll = !isBestOnly && size.isForAll;
      for (const bool isStreaming : {false, true}) {
        if (isStreaming && (!withStreaming || operation.bytesPerPixel == 0)) continue;
        // A pass over many frames is a long sample: fewer do.
        const int passes = isStreaming ? (rounds + 1) / 2 : rounds;
        for (auto& line : TimeOperation(isForAll ? operation : best, size, isStreaming, passes))
          lines.push_back(std::move(line));
      }
    }
    if (operation.bytesPerPixel == 0) continue;
    for (auto& line : TimeOperation(best, fewRows, false, rounds)) lines.push_back(std::move(line));
  }
  kv_bench::UnpinThread();
  TimeScaling(contest, filter, rounds, scaling);
  if (jsonFile.empty()) return 0;
  std::ofstream file(jsonFile);
  file << report.dump(1) << '\n';
  file.close();
  if (!file) {
    std::fprintf(stderr, "%s cannot be written\n", jsonFile.c_str());
    return 2;
  }
  return 0;
}
