// Times every operation of every member at every level, memcpy of the same number of bytes, and what a user
// would take instead: one program, one run, one thread, so that ratios are meaningful.

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <nlohmann/json.hpp>
#include <thread>

#include "bench/contest.h"
#include "bench/machine.h"
#include "tests/support/family.h"

namespace {

using kv_bench::Contest;
using kv_bench::Operation;
using kv_bench::Scene;

constexpr const char* usage =
    "operation_bench [--operation TEXT] [--rounds N] [--threads N] [--json FILE] [--cache-only]\n"
    "  --operation TEXT  only operations whose name contains TEXT\n"
    "  --rounds N        repetitions that medians are taken of (default 9)\n"
    "  --json FILE       also writes the figures there\n"
    "  --cache-only      leaves out the frames that fit no cache\n";

struct Size {
  int width;
  int height;
};
constexpr Size sizes[] = {{720, 576}, {1920, 1080}};
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

int ScenesFor(const Operation& operation, const Size& size, bool isStreaming) {
  const double bytes = operation.bytesPerPixel * size.width * size.height;
  return isStreaming ? static_cast<int>(streamedBytes / bytes) + 1 : 1;
}

/// One line per contender: microseconds, and how many times as long as memcpy.
nlohmann::json TimeOperation(const Operation& operation, const Size& size, bool isStreaming, int rounds) {
  std::vector<std::unique_ptr<Scene>> scenes;
  for (int i = 0; i < ScenesFor(operation, size, isStreaming); ++i) {
    scenes.push_back(std::make_unique<Scene>(size.width, size.height));
  }
  const char* mode = isStreaming ? "streaming" : "in cache";
  std::printf("%s, %dx%d, %s\n", operation.name.c_str(), size.width, size.height, mode);
  nlohmann::json lines = nlohmann::json::array();
  const auto timings = kv_bench::Time(operation, scenes, rounds);
  const double memcpySeconds = operation.bytesPerPixel == 0 ? 0 : timings.front().seconds;
  for (const auto& [contender, seconds] : timings) {
    nlohmann::json line = {{"operation", operation.name}, {"width", size.width},
                           {"height", size.height},       {"mode", mode},
                           {"contender", contender},      {"microseconds", seconds * 1e6}};
    std::printf("  %-28s %10.1f us", contender.c_str(), seconds * 1e6);
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

/// The best member on 1, 2, 4, … threads, up to what the machine runs at once.
void TimeScaling(Contest& contest, const std::string& filter, int rounds, nlohmann::json& lines) {
  const int most = static_cast<int>(std::max(1U, std::thread::hardware_concurrency()));
  for (const Operation& operation : contest.Operations()) {
    // What a search or a polygon costs does not go down with threads: each does all of it.
    if (operation.bytesPerPixel == 0 || operation.name == "ParityChange") continue;
    if (operation.name.find(filter) == std::string::npos) continue;
    const auto best = std::ranges::find_if(operation.contenders, [](const kv_bench::Contender& contender) {
      return contender.name.starts_with(kv_test::wideMember);
    });
    Scene scene(sizes[1].width, sizes[1].height);
    std::printf("%s, %s:", operation.name.c_str(), best->name.c_str());
    for (int threads = 1; threads <= most;
         threads = threads == most ? most + 1 : std::min(2 * threads, most)) {
      const double seconds = kv_bench::TimeOnThreads(*best, scene, threads, 5 * rounds);
      std::printf("  %d threads %.1f us", threads, seconds * 1e6);
      lines.push_back({{"operation", operation.name}, {"threads", threads}, {"microseconds", seconds * 1e6}});
    }
    std::printf("\n");
  }
}

}  // namespace

int main(int argc, char** argv) {
  std::string filter;
  std::string jsonFile;
  int rounds = 9;
  bool withStreaming = true;
  for (int i = 1; i < argc; ++i) {
    const std::string option = argv[i];
    if (option == "--cache-only") {
      withStreaming = false;
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
  nlohmann::json report = {{"machine", kv_bench::DescribeMachine()}, {"rounds", rounds}};
  nlohmann::json& lines = report["timings"] = nlohmann::json::array();
  nlohmann::json& scaling = report["threads"] = nlohmann::json::array();
  kv_bench::PinThread();
  for (Operation& operation : contest.Operations()) {
    if (operation.name.find(filter) == std::string::npos) continue;
    EnterMemcpy(operation);
    for (const Size& size : sizes) {
      for (const bool isStreaming : {false, true}) {
        if (isStreaming && (!withStreaming || operation.bytesPerPixel == 0)) continue;
        // A pass over many frames is a long sample: fewer do.
        const int passes = isStreaming ? (rounds + 1) / 2 : rounds;
        for (auto& line : TimeOperation(operation, size, isStreaming, passes))
          lines.push_back(std::move(line));
      }
    }
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
