// What a clip's frames are kept in is allocated once: more frames cost no more page faults.

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <string>

#include "tests/host/program.h"
#include "tests/support/temp_folder.h"

namespace {

/// Frames of 320x240 in packed 4:2:2: the C library would take pages from the system for each of them.
constexpr int steadyFrameBytes = 320 * 240 * 2;

long FaultsOfChildren() {
  struct rusage usage {};
  getrusage(RUSAGE_CHILDREN, &usage);
  return usage.ru_minflt;
}

class SteadyMemory : public testing::TestWithParam<const char*> {
 protected:
  /// The page faults of a command that reads the clip `in` of `frames` frames, and of the shell that starts it.
  long FaultsOf(const std::string& command, int frames) const {
    const std::string bytes = std::to_string(frames * steadyFrameBytes);
    const long before = FaultsOfChildren();
    const kv_test::Outcome outcome =
        kv_test::RunShell(temp_.Path(), "head -c " + bytes + " /dev/zero >in && \"$KV\" " + command +
                                            " --from-format uyvy --size 320x240 >/dev/null");
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    return FaultsOfChildren() - before;
  }

 private:
  const kv_test::TempFolder temp_;
};

TEST_P(SteadyMemory, FaultsDoNotGrowWithTheFrames) {
  for (const std::string threads : {" --threads 1", " --threads 4"}) {
    const std::string command = GetParam() + threads;
    const long few = FaultsOf(command, 20);
    const long many = FaultsOf(command, 200);
    // How many frames wait for a thread at once differs from run to run. Frames that cost their pages would be 180 times
    // 38 faults.
    EXPECT_LT(many, few + 360) << command;
  }
}

INSTANTIATE_TEST_SUITE_P(Commands, SteadyMemory,
                         testing::Values("convert in - --to-format uyvy", "convert in - --to-format yuv422p",
                                         "convert in - --to-format bgr24",
                                         "convert in o-%04d.ppm --overwrite",
                                         "filter in - --to-format uyvy --window 5",
                                         "parity in - --to-format uyvy --fields top",
                                         "average in in - --to-format uyvy", "diff in in --stats"));

}  // namespace
