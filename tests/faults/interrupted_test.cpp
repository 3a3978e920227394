// The program is killed, interrupted or cut off from its disk: the final name holds the old file or the new
// one.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <stdexcept>
#include <thread>

#include "tests/host/program.h"
#include "tests/support/random.h"
#include "tests/support/temp_folder.h"

namespace {

using namespace kv_test;
namespace fs = std::filesystem;

std::size_t PartFiles(const fs::path& folder) {
  std::size_t count = 0;
  for (const auto& entry : fs::directory_iterator(folder)) {
    if (entry.path().extension() == ".part") ++count;
  }
  return count;
}

/// Starts `kv pan`, which writes a video for some tenths of a second.
pid_t StartLongRun(const fs::path& folder) {
  const fs::path program = fs::read_symlink("/proc/self/exe").parent_path() / "kv";
  const std::string photo = Photograph().string();
  const pid_t child = fork();
  // Nothing may be sent to process -1, which is every one.
  if (child < 0) throw std::runtime_error("no process can be started");
  if (child != 0) return child;
  fs::current_path(folder);
  execl(program.c_str(), "kv", "pan", photo.c_str(), "out.y4m", "--size", "360x576", "--frames", "60",
        "--direction", "right", "--threads", "2", nullptr);
  _exit(99);
}

class Interrupted : public testing::Test {
 protected:
  /// Sends `signal` after `wait`; returns the status of waitpid.
  int RunAndSend(int signal, std::chrono::microseconds wait) const {
    const pid_t child = StartLongRun(temp_.Path());
    std::this_thread::sleep_for(wait);
    kill(child, signal);
    int status = 0;
    waitpid(child, &status, 0);
    return status;
  }

  const TempFolder temp_;
  const fs::path out_ = temp_.Path() / "out.y4m";
};

TEST_F(Interrupted, KilledAtAnyMomentItLeavesTheOldFileOrTheNewOne) {
  const auto start = std::chrono::steady_clock::now();
  int status = 0;
  waitpid(StartLongRun(temp_.Path()), &status, 0);
  const auto whole =
      std::chrono::duration_cast<std::chrono::microseconds>(std::chrono::steady_clock::now() - start);
  ASSERT_EQ(status, 0);
  const std::string fresh = ReadFile(out_);
  ASSERT_GT(fresh.size(), 20000000U);

  Random random(0x4104);
  int killed = 0;
  for (int round = 0; round < 40; ++round) {
    WriteFile(out_, "the old file");
    const auto wait = std::chrono::microseconds(
        static_cast<long>(random.Unit() * 1.1 * static_cast<double>(whole.count())));
    if (WIFSIGNALED(RunAndSend(SIGKILL, wait))) ++killed;
    const std::string now = ReadFile(out_);
    ASSERT_TRUE(now == "the old file" || now == fresh)
        << "after " << wait.count() << " us: " << now.size() << " bytes";
    for (const auto& entry : fs::directory_iterator(temp_.Path())) {
      if (entry.path().extension() == ".part") fs::remove(entry.path());
    }
  }
  EXPECT_GT(killed, 5) << "hardly any run was killed before its end";
}

TEST_F(Interrupted, AnInterruptRemovesWhatIsUnfinished) {
  for (const int signal : {SIGINT, SIGTERM}) {
    for (int round = 0; round < 10; ++round) {
      WriteFile(out_, "the old file");
      const pid_t child = StartLongRun(temp_.Path());
      // It has begun to write, and is far from its end.
      while (PartFiles(temp_.Path()) == 0) std::this_thread::yield();
      kill(child, signal);
      int status = 0;
      waitpid(child, &status, 0);
      ASSERT_TRUE(WIFSIGNALED(status)) << "it ends by the signal, as a shell expects";
      ASSERT_EQ(WTERMSIG(status), signal);
      ASSERT_EQ(PartFiles(temp_.Path()), 0U);
      ASSERT_EQ(ReadFile(out_), "the old file");
    }
  }
}

TEST_F(Interrupted, AFolderThatMayNotBeWrittenIsTold) {
  if (geteuid() == 0) {
    // For the superuser no folder is read-only but one of the system's own.
    const Outcome outcome = RunKv(temp_.Path(), "convert '" + Photograph().string() + "' /proc/out.bmp");
    EXPECT_EQ(outcome.status, 2);
    EXPECT_EQ(outcome.ErrorLines(), 1) << outcome.err;
    return;
  }
  const fs::path folder = temp_.Path() / "closed";
  fs::create_directory(folder);
  fs::permissions(folder, fs::perms::owner_read | fs::perms::owner_exec);
  const Outcome outcome = RunKv(temp_.Path(), "convert '" + Photograph().string() + "' closed/out.bmp");
  EXPECT_EQ(outcome.status, 2);
  EXPECT_EQ(outcome.err, "kv: closed/out.bmp: cannot be written: Permission denied\n");
  fs::permissions(folder, fs::perms::owner_all);
}

TEST_F(Interrupted, AFullDeviceIsToldByEveryFormat) {
  for (const char* format : {"y4m", "uyvy", "yuy2", "bmp", "pgm", "ppm", "png"}) {
    const Outcome outcome =
        RunKv(temp_.Path(), "convert '" + Photograph().string() + "' /dev/full --to-format " + format);
    EXPECT_EQ(outcome.status, 2) << format;
    EXPECT_EQ(outcome.err, "kv: /dev/full: cannot be written: No space left on device\n") << format;
  }
}

TEST_F(Interrupted, AClosedPipeEndsEveryFormatSilently) {
  for (const char* format : {"y4m", "uyvy", "bmp", "ppm", "png"}) {
    RunShell(temp_.Path(), "{ \"$KV\" convert '" + Photograph().string() + "' - --to-format " + format +
                               " 2>message; echo $? >status; } | true");
    EXPECT_EQ(ReadFile(temp_.Path() / "status"), "141\n") << format;
    EXPECT_EQ(ReadFile(temp_.Path() / "message"), "") << format;
  }
}

}  // namespace
