// The memory that a command takes at most: of large frames, and of a clip with very many.

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "tests/support/temp_folder.h"

namespace {

namespace fs = std::filesystem;

/// Megabytes that `kv` has at most; what it writes to standard output is not kept.
class PeakMemory : public testing::Test {
 protected:
  double PeakOf(const std::string& arguments) const {
    const fs::path kv = fs::read_symlink("/proc/self/exe").parent_path() / "kv";
    const std::string line =
        "cd '" + temp_.Path().string() + "' && exec '" + kv.string() + "' " + arguments + " >/dev/null";
    const pid_t child = fork();
    if (child == 0) {
      execl("/bin/sh", "sh", "-c", line.c_str(), static_cast<char*>(nullptr));
      _exit(127);
    }
    int status = -1;
    struct rusage usage {};
    EXPECT_EQ(wait4(child, &status, 0, &usage), child);
    EXPECT_EQ(status, 0) << arguments;
    return static_cast<double>(usage.ru_maxrss) * 1024 / 1e6;
  }
  /// A clip of black frames that takes no room on the disk.
  void MakeClip(int width, int height, int frames) const {
    const fs::path clip = temp_.Path() / "in.uyvy";
    std::ofstream(clip).close();
    fs::resize_file(clip, std::uintmax_t{2} * width * height * frames);
  }

  const kv_test::TempFolder temp_;
};

TEST_F(PeakMemory, LargeFramesStayUnderTheirLimits) {
  MakeClip(3840, 2160, 6);
  const fs::path mask = temp_.Path() / "mask.pgm";
  std::ofstream(mask) << "P5 3840 2160 255\n";
  fs::resize_file(mask, fs::file_size(mask) + std::uintmax_t{3840} * 2160);
  const std::string options = " --size 3840x2160 --fields top --threads 4";
  for (const std::string command :
       {"convert in.uyvy - --to-format yuv422p", "filter in.uyvy - --window 5 --to-format uyvy",
        "parity in.uyvy - --to-format uyvy", "parity in.uyvy - --to-format y4m --method field",
        "parity in.uyvy - --to-format uyvy --method blend", "average in.uyvy in.uyvy - --to-format uyvy",
        "average in.uyvy in.uyvy - --to-format y4m", "diff in.uyvy in.uyvy - --to-format y4m",
        "diff in.uyvy in.uyvy --stats", "key in.uyvy --color 90,60 in.uyvy - --to-format y4m",
        "blend in.uyvy in.uyvy mask.pgm - --to-format uyvy",
        "copy-roi in.uyvy in.uyvy -o - --to-format uyvy --from 9,9,99,99",
        "join in.uyvy in.uyvy -o - --to-format y4m"}) {
    EXPECT_LE(PeakOf(command + options), 200) << command;
  }
  for (const std::string command :
       {"convert in.uyvy o-%04d.bmp --overwrite --frames 0:4", "convert in.uyvy - --to-format bgra",
        "key in.uyvy --color 90,60 - --to-format uyvya",
        "alpha-color in.uyvy in.uyvy - --window 3 --to-format gray"}) {
    EXPECT_LE(PeakOf(command + options), 300) << command;
  }
}

TEST_F(PeakMemory, TenThousandFramesTakeNoMoreThanAHundred) {
  MakeClip(64, 48, 10000);
  const std::string options = " --size 64x48 --fields top --threads 4";
  for (const std::string command :
       {"convert in.uyvy - --to-format y4m", "convert in.uyvy - --to-format bgr24",
        "filter in.uyvy - --window 5 --to-format uyvy", "parity in.uyvy - --to-format uyvy --method field",
        "average in.uyvy in.uyvy - --to-format uyvy", "diff in.uyvy in.uyvy --stats",
        "key in.uyvy --color 90,60 in.uyvy - --to-format uyvy",
        "track in.uyvy --at 32,24 --half 4x4 --range 2x2"}) {
    const double few = PeakOf(command + options + " --frames 0:100");
    // A hundred bytes a frame would be one megabyte.
    EXPECT_LE(PeakOf(command + options), few + 1) << command;
  }
}

}  // namespace
