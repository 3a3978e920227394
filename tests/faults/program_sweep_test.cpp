// Allocation N of the program and all that follow fail, counted from its main function: each command ends in
// time with an exit status of its own, and what has a final name is whole.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include "host/program.h"
#include "tests/faults/failing_allocations.h"
#include "tests/support/temp_folder.h"

namespace {

using namespace kv_test;
namespace fs = std::filesystem;

/// Processor seconds and seconds of the clock after which a run hangs. It takes some milliseconds.
constexpr rlim_t processorSeconds = 1;
constexpr unsigned clockSeconds = 30;

std::string ContentOf(const fs::path& file) {
  std::ifstream stream(file, std::ios::binary);
  std::ostringstream content;
  content << stream.rdbuf();
  return content.str();
}

struct Command {
  const char* name;
  std::vector<std::string> arguments;
  const char* output;
  bool takesThreads = true;
};

void PrintTo(const Command& command, std::ostream* stream) {
  *stream << command.name;
}

/// How a run came to its end.
struct Ending {
  int status;  ///< as waitpid returns it
  bool haveFailed;
};

class ProgramSweep : public testing::TestWithParam<Command> {
 protected:
  void SetUp() override {
    fs::current_path(temp_.Path());
    const auto write = [](const char* name, const std::string& head, std::size_t bytes) {
      std::string body(bytes, '\0');
      for (std::size_t i = 0; i < bytes; ++i) body[i] = static_cast<char>(i * 37 + i / 16);
      std::ofstream(name, std::ios::binary) << head << body;
    };
    write("a.ppm", "P6 16 16 255\n", 16 * 16 * 3);
    write("b.ppm", "P6 16 16 255\n", 16 * 16 * 3);
    write("p.pgm", "P5 16 16 255\n", 16 * 16);
    write("v.y4m", "YUV4MPEG2 W16 H16 F25:1 It C422\nFRAME\n", 16 * 16 * 2);
  }
  void TearDown() override { fs::current_path("/"); }

  /// Runs the command in a process of its own, which has made nothing yet that a program keeps.
  Ending Run(int threads, long number) const {
    std::vector<std::string> arguments = GetParam().arguments;
    arguments.insert(arguments.begin(), "kv");
    if (GetParam().takesThreads) {
      arguments.emplace_back("--threads");
      arguments.push_back(std::to_string(threads));
    }
    std::vector<char*> argv;
    for (std::string& argument : arguments) argv.push_back(argument.data());
    argv.push_back(nullptr);
    *haveFailed_ = false;
    std::fflush(nullptr);
    const pid_t child = fork();
    if (child < 0) throw std::runtime_error("no process can be started");
    if (child == 0) RunHere(static_cast<int>(argv.size()) - 1, argv.data(), number);
    Ending ending{};
    waitpid(child, &ending.status, 0);
    ending.haveFailed = *haveFailed_;
    return ending;
  }

  std::string Output() const { return GetParam().output != nullptr ? ContentOf(GetParam().output) : ""; }

  bool HasPartFiles() const {
    return std::ranges::any_of(fs::directory_iterator(temp_.Path()),
                               [](const auto& entry) { return entry.path().extension() == ".part"; });
  }

  /// Every `step`th allocation; returns how many failed.
  int Sweep(int threads, int step) {
    SCOPED_TRACE(testing::Message() << threads << " threads");
    int failures = 0;
    for (long number = 0; number < 100000; number += step) {
      if (GetParam().output != nullptr) fs::remove(GetParam().output);
      const Ending ending = Run(threads, number);
      SCOPED_TRACE(testing::Message() << "allocation " << number << ": " << ContentOf("messages"));
      if (!WIFEXITED(ending.status)) {
        ADD_FAILURE() << (WTERMSIG(ending.status) == SIGABRT ? "terminates"
                          : WTERMSIG(ending.status) == SIGXCPU || WTERMSIG(ending.status) == SIGALRM ? "hangs"
                                                                                                     : "ends")
                      << " by signal " << WTERMSIG(ending.status);
        return failures;
      }
      if (!ending.haveFailed) return failures;
      ++failures;
      const int status = WEXITSTATUS(ending.status);
      EXPECT_TRUE(status == 2 || status == 3) << "exit status " << status;
      EXPECT_FALSE(HasPartFiles());
      const std::string output = Output();
      EXPECT_TRUE(output.empty() || output == expected_) << "the output is not whole";
      if (HasFailure()) return failures;
    }
    ADD_FAILURE() << "the allocations do not end";
    return failures;
  }

  std::string expected_;

 private:
  [[noreturn]] void RunHere(int argc, char** argv, long number) const {
    const rlimit limit{processorSeconds, processorSeconds + 1};
    setrlimit(RLIMIT_CPU, &limit);
    const rlimit noCore{0, 0};
    setrlimit(RLIMIT_CORE, &noCore);
    alarm(clockSeconds);
    dup2(open("/dev/null", O_WRONLY), 1);
    dup2(open("messages", O_WRONLY | O_CREAT | O_TRUNC, 0600), 2);
    // For as long as the process lives: what runs after main finds no memory either.
    static FailingAllocations failing(number);
    const int status = kv_host::RunProgram(argc, argv);
    std::fflush(nullptr);
    *haveFailed_ = failing.HaveFailed();
    std::exit(status);
  }

  const TempFolder temp_;
  bool* haveFailed_ = static_cast<bool*>(
      mmap(nullptr, sizeof(bool), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
};

TEST_P(ProgramSweep, EveryRunEndsWithAnErrorAndLeavesNothingUnfinished) {
  const Ending whole = Run(3, 1L << 40);
  ASSERT_TRUE(WIFEXITED(whole.status) && WEXITSTATUS(whole.status) == 0) << ContentOf("messages");
  expected_ = Output();

  const bool isLongRun = std::getenv("KV_EVERY_ALLOCATION") != nullptr;
  const int step = isLongRun ? 1 : 89;
  const auto start = std::chrono::steady_clock::now();
  int failures = Sweep(3, step);
  if (GetParam().takesThreads) {
    for (const int threads : {1, 2, 8}) failures += Sweep(threads, 17 * step);
  }
  EXPECT_GT(failures, isLongRun ? 1000 : 10);
  const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start;
  std::printf("%s: %d runs, each with a failing allocation and none after it that works, %.1f ms a run\n",
              GetParam().name, failures, seconds.count() * 1000 / std::max(failures, 1));
}

const Command commands[] = {
    {"members", {"members"}, nullptr, false},
    {"convert", {"convert", "a.ppm", "out.png"}, "out.png"},
    {"diff", {"diff", "a.ppm", "b.ppm", "out.pgm"}, "out.pgm"},
    {"average", {"average", "p.pgm", "p.pgm", "out.pgm"}, "out.pgm"},
    {"filter", {"filter", "p.pgm", "out.pgm", "--window", "5"}, "out.pgm"},
    {"blend", {"blend", "a.ppm", "b.ppm", "p.pgm", "out.bmp"}, "out.bmp"},
    {"alpha_color", {"alpha-color", "a.ppm", "b.ppm", "out.pgm", "--window", "3"}, "out.pgm"},
    {"alpha_prob", {"alpha-prob", "p.pgm", "p.pgm", "out.pgm", "--window", "5"}, "out.pgm"},
    {"copy_roi",
     {"copy-roi", "a.ppm", "b.ppm", "--from", "2,2,8,8", "--to", "4,2", "--output", "out.ppm"},
     "out.ppm"},
    {"parity", {"parity", "v.y4m", "out.y4m"}, "out.y4m"},
    {"pan",
     {"pan", "a.ppm", "out.y4m", "--size", "8x16", "--frames", "3", "--direction", "right"},
     "out.y4m"},
    {"find", {"find", "a.ppm", "b.ppm", "--at", "8,8", "--half", "2x2", "--range", "2x2"}, nullptr},
    {"clip",
     {"clip", "--polygon", "2,1 14,1 6,4", "--size", "16x16", "--region", "2,2,8,8", "--svg", "out.svg"},
     "out.svg",
     false},
    {"join", {"join", "v.y4m", "v.y4m", "-o", "out.y4m"}, "out.y4m", false},
};

INSTANTIATE_TEST_SUITE_P(Commands, ProgramSweep, testing::ValuesIn(commands),
                         [](const auto& info) { return std::string(info.param.name); });

}  // namespace
