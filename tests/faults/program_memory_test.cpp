// Allocations of the program fail in turn, in each of its commands: one clear line, exit status 2, no file
// that is not whole, nothing leaks, and the next run works.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "host/program.h"
#include "run/worker_pool.h"
#include "tests/faults/failing_allocations.h"
#include "tests/support/temp_folder.h"

namespace {

using namespace kv_test;
namespace fs = std::filesystem;

std::string ContentOf(const fs::path& file) {
  std::ifstream stream(file, std::ios::binary);
  std::ostringstream content;
  content << stream.rdbuf();
  return content.str();
}

class Program {
 public:
  explicit Program(std::vector<std::string> arguments) : arguments_(std::move(arguments)) {
    arguments_.insert(arguments_.begin(), "kv");
    for (std::string& argument : arguments_) argv_.push_back(argument.data());
    argv_.push_back(nullptr);
  }

  /// `atStart` is called when the streams are redirected, `atEnd` before they are restored.
  template <class Start>
  int Run(const fs::path& messages, Start start) {
    std::fflush(nullptr);
    const int out = dup(1);
    const int err = dup(2);
    const int nowhere = open("/dev/null", O_WRONLY);
    const int file = open(messages.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    dup2(nowhere, 1);
    dup2(file, 2);
    int status = 0;
    {
      [[maybe_unused]] auto guard = start();
      status = kv_host::RunProgram(static_cast<int>(argv_.size()) - 1, argv_.data());
      hasFailed_ = guard.HasFailed();
    }
    std::fflush(nullptr);
    dup2(out, 1);
    dup2(err, 2);
    for (const int descriptor : {out, err, nowhere, file}) close(descriptor);
    return status;
  }
  bool HasFailed() const { return hasFailed_; }

 private:
  std::vector<std::string> arguments_;
  std::vector<char*> argv_;
  bool hasFailed_ = false;
};

struct Command {
  const char* name;
  std::vector<std::string> arguments;
  const char* output;
};

void PrintTo(const Command& command, std::ostream* stream) {
  *stream << command.name;
}

class ProgramMemory : public testing::TestWithParam<Command> {
 protected:
  void SetUp() override {
    fs::current_path(temp_.Path());
    const auto write = [](const char* name, const std::string& head, std::size_t bytes) {
      std::string body(bytes, '\0');
      for (std::size_t i = 0; i < bytes; ++i) body[i] = static_cast<char>(i * 37 + i / 16);
      std::ofstream(name, std::ios::binary) << head << body;
    };
    write("a.ppm", "P6 24 12 255\n", 24 * 12 * 3);
    write("b.ppm", "P6 24 12 255\n", 24 * 12 * 3);
    write("p.pgm", "P5 24 12 255\n", 24 * 12);
    write("v.y4m", "YUV4MPEG2 W24 H12 F25:1 It C422\nFRAME\n", 24 * 12 * 2);
  }
  void TearDown() override { fs::current_path("/"); }

  const TempFolder temp_;
};

TEST_P(ProgramMemory, EveryFailureIsOneLineAndLeavesNothing) {
  const Command& command = GetParam();
  const fs::path messages = temp_.Path() / "messages";
  Program program(command.arguments);
  const auto withoutFailure = [] { return FailingAllocation(1L << 40); };
  // The first run makes what lives as long as the process.
  ASSERT_EQ(program.Run(messages, withoutFailure), 0) << ContentOf(messages);
  const auto contentOfOutput = [&] { return command.output != nullptr ? ContentOf(command.output) : ""; };
  const std::string expected = contentOfOutput();

  // Every one of some thousand allocations is for a long run; a step that no loop of the program divides is
  // for others, a larger one where sanitizers make each run slow.
  const long step = std::getenv("KV_EVERY_ALLOCATION") != nullptr    ? 1
                    : std::getenv("KV_FEWER_ALLOCATIONS") != nullptr ? 23
                                                                     : 7;
  int failures = 0;
  for (long number = 0; number < 100000; number += step) {
    SCOPED_TRACE(testing::Message() << "allocation " << number);
    if (command.output != nullptr) fs::remove(command.output);
    const long before = LiveAllocations();
    const int status = program.Run(messages, [&] { return FailingAllocation(number); });
    ASSERT_LE(LiveAllocations(), before) << "something leaks";
    if (!program.HasFailed()) break;
    ++failures;
    const std::string text = ContentOf(messages);
    if (status == 0) {
      // What failed was not needed.
      ASSERT_EQ(text, "");
      ASSERT_EQ(contentOfOutput(), expected);
      continue;
    }
    ASSERT_EQ(status, 2) << text;
    ASSERT_EQ(std::count(text.begin(), text.end(), '\n'), 1) << text;
    ASSERT_TRUE(text.starts_with("kv: ")) << text;
    ASSERT_FALSE(command.output != nullptr && fs::exists(command.output));
    for (const auto& entry : fs::directory_iterator(temp_.Path()))
      ASSERT_NE(entry.path().extension(), ".part");
  }
  RecordProperty("failures", failures);
  EXPECT_GT(failures, 500 / step - 1);
  ASSERT_EQ(program.Run(messages, withoutFailure), 0) << "the next run";
  EXPECT_EQ(contentOfOutput(), expected);
}

TEST(WorkerPoolMemory, ThreadsAtTheBarrierEndWhenAnotherCannotBeStarted) {
  const auto meet = [](kv_std::SpinBarrier& barrier, std::uint32_t /*thread*/) { barrier.Wait(); };
  int failures = 0;
  for (bool hasFailed = true; hasFailed;) {
    const FailingAllocation failing(failures);
    try {
      const kv_run::WorkerPool pool(4);
      pool.Run(meet);
      EXPECT_FALSE(failing.HasFailed());
    } catch (const std::bad_alloc&) {
      ++failures;
    }
    hasFailed = failing.HasFailed();
  }
  EXPECT_GE(failures, 3) << "one for each thread that is started";
}

TEST(WorkerPoolMemory, BandsNeedNoThread) {
  int failures = 0;
  for (bool hasFailed = true; hasFailed;) {
    const kv_run::WorkerPool pool(4);
    std::atomic<int> bands = 0;
    const auto band = [&](kv_std::SpinBarrier& /*barrier*/, std::uint32_t /*index*/) { ++bands; };
    const FailingAllocation failing(failures);
    try {
      pool.RunBands(band, 8, {});
      EXPECT_EQ(bands, 8);
    } catch (const std::bad_alloc&) {
      EXPECT_EQ(bands, 0);
    }
    hasFailed = failing.HasFailed();
    if (hasFailed) ++failures;
  }
  EXPECT_GE(failures, 3) << "one for each thread that is started";
}

TEST(WorkerPoolMemory, AStopNeedsNone) {
  const kv_run::WorkerPool pool(2);
  pool.Run([](kv_std::SpinBarrier& barrier, std::uint32_t /*index*/) { barrier.Wait(); });
  const FailingAllocation failing(0);
  pool.Stop();
  EXPECT_FALSE(failing.HasFailed());
}

const Command commands[] = {
    {"members", {"members"}, nullptr},
    {"convert", {"convert", "a.ppm", "out.png", "--threads", "2"}, "out.png"},
    {"convert_video", {"convert", "v.y4m", "out.bmp", "--depth", "16"}, "out.bmp"},
    {"diff", {"diff", "a.ppm", "b.ppm", "out.pgm", "--threads", "3"}, "out.pgm"},
    {"average", {"average", "p.pgm", "p.pgm", "out.pgm"}, "out.pgm"},
    {"filter", {"filter", "p.pgm", "out.pgm", "--window", "5"}, "out.pgm"},
    {"blend", {"blend", "a.ppm", "b.ppm", "p.pgm", "out.bmp"}, "out.bmp"},
    {"alpha_color",
     {"alpha-color", "a.ppm", "b.ppm", "out.pgm", "--window", "3", "--threads", "3"},
     "out.pgm"},
    {"alpha_prob", {"alpha-prob", "p.pgm", "p.pgm", "out.pgm", "--window", "3", "--threads", "2"}, "out.pgm"},
    {"copy_roi",
     {"copy-roi", "a.ppm", "b.ppm", "--from", "2,2,8,8", "--to", "4,2", "--output", "out.ppm"},
     "out.ppm"},
    {"parity", {"parity", "v.y4m", "out.y4m"}, "out.y4m"},
    {"pan",
     {"pan", "a.ppm", "out.y4m", "--size", "12x12", "--frames", "3", "--direction", "right"},
     "out.y4m"},
    {"find", {"find", "a.ppm", "b.ppm", "--at", "10,6", "--half", "2x2", "--range", "2x2"}, nullptr},
};

INSTANTIATE_TEST_SUITE_P(Commands, ProgramMemory, testing::ValuesIn(commands),
                         [](const auto& info) { return std::string(info.param.name); });

}  // namespace
