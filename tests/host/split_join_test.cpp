// Parts of a recording: which frames are read, and how the parts become one again.

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "tests/host/program.h"
#include "tests/support/temp_folder.h"

namespace {

using kv_test::Outcome;
using kv_test::Photograph;
using kv_test::ReadFile;
using kv_test::RunKv;
using kv_test::RunShell;
using kv_test::WriteFile;

class SplitAndJoin : public testing::Test {
 protected:
  const kv_test::TempFolder temp_;
  const std::filesystem::path folder_ = temp_.Path();

  void SetUp() override {
    Done("pan '" + Photograph().string() + "' clip.y4m --size 64x48 --frames 13 --direction right");
  }
  void Done(const std::string& arguments) const {
    const Outcome outcome = RunKv(folder_, arguments);
    ASSERT_EQ(outcome.status, 0) << arguments << ": " << outcome.err;
  }
  void ExpectRefused(const std::string& arguments, const std::string& words) const {
    const Outcome outcome = RunKv(folder_, arguments);
    EXPECT_EQ(outcome.status, 2) << arguments;
    EXPECT_EQ(outcome.ErrorLines(), 1) << outcome.err;
    EXPECT_NE(outcome.err.find(words), std::string::npos) << outcome.err;
  }
  std::string Bytes(const std::string& name) const { return ReadFile(folder_ / name); }
};

TEST_F(SplitAndJoin, PartsOnSeveralMachinesGiveTheBytesOfOneRun) {
  KV_NEEDS_SHELL();
  Done("diff clip.y4m clip.y4m nothing.y4m --frames 0:1");
  Done("parity clip.y4m whole.y4m --force");
  const Outcome outcome = RunShell(
      folder_,
      "export KV; parallel --will-cite -j2 '\"$KV\" parity clip.y4m part-{}.y4m --force --threads 1 --frames "
      "$(({}*3)):3' ::: 0 1 2 3 4 && \"$KV\" join part-*.y4m -o joined.y4m");
  ASSERT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_EQ(Bytes("joined.y4m"), Bytes("whole.y4m"));
  EXPECT_LT(Bytes("part-4.y4m").size(), Bytes("part-3.y4m").size()) << "the last part holds one frame";
}

TEST_F(SplitAndJoin, PartsOfAPanGiveThePan) {
  const std::string pan = "pan '" + Photograph().string() + "' --size 64x48 --frames 13 --direction right ";
  Done(pan + "a.y4m --only 0:5");
  Done(pan + "b.y4m --only 5:100");
  Done("join a.y4m b.y4m -o joined.y4m");
  EXPECT_EQ(Bytes("joined.y4m"), Bytes("clip.y4m"));
  ExpectRefused(pan + "c.y4m --only 13:1", "--only: 13:1 begins after the last of 13 frames");
}

TEST_F(SplitAndJoin, EveryCommandTakesTheFramesItIsTold) {
  Done("convert clip.y4m one.bmp --frames 7:1");
  Done("convert clip.y4m all.bmp");
  EXPECT_EQ(Bytes("one.bmp"), Bytes("all-0007.bmp"));
  Done("filter clip.y4m filtered.pgm --window 3 --frames 7:1");
  Done("filter one.bmp expected.pgm --window 3");
  Done("convert clip.y4m seven.y4m --frames 7:1");
  // A companion with a frame for each gives the one beside it; one with a single frame gives that.
  Done("diff clip.y4m clip.y4m same.pgm --frames 7:1");
  Done("diff clip.y4m seven.y4m same-too.pgm --frames 7:1");
  EXPECT_EQ(Bytes("same.pgm"), Bytes("same-too.pgm"));
  EXPECT_EQ(Bytes("same.pgm").find_first_not_of('\0', 15), std::string::npos)
      << "a frame less itself is black";
  Done("average clip.y4m clip.y4m average.pgm --frames 7:1");
  Done("alpha-color clip.y4m clip.y4m color.pgm --window 3 --frames 7:1");
  Done("alpha-prob clip.y4m clip.y4m prob.pgm --window 3 --frames 7:1");
  Done("blend clip.y4m clip.y4m average.pgm blend.y4m --frames 7:1");
  EXPECT_EQ(Bytes("blend.y4m").size(), Bytes("seven.y4m").size());
}

TEST_F(SplitAndJoin, WrongRangesAreRefused) {
  ExpectRefused("convert clip.y4m x.y4m --frames 13:1", "holds 13 frames, so there is no frame 13");
  for (const char* range : {"5", "5:", ":5", "-1:5", "0:0", "1:2:3", "a:b"}) {
    ExpectRefused(std::string("convert clip.y4m x.y4m --frames=") + range, "is no range of frames");
  }
  Done("pan '" + Photograph().string() + "' other.y4m --size 32x48 --frames 2 --direction right");
  ExpectRefused("join clip.y4m other.y4m -o x.y4m", "they must be of one size");
  std::string faster = Bytes("clip.y4m");
  faster.replace(faster.find(" F25:1"), 6, " F50:1");
  WriteFile(folder_ / "faster.y4m", faster);
  ExpectRefused("join clip.y4m faster.y4m -o x.y4m",
                "faster.y4m: its frame rate or interlacing is not that of clip.y4m");
  EXPECT_FALSE(std::filesystem::exists(folder_ / "x.y4m"));
}

TEST_F(SplitAndJoin, JsonTellsWhatWasDoneByWhom) {
  const Outcome outcome = RunKv(folder_, "diff clip.y4m clip.y4m difference.bmp --frames 3:4 --json");
  ASSERT_EQ(outcome.status, 0) << outcome.err;
  const auto report = nlohmann::json::parse(outcome.out);
  EXPECT_EQ(report["files"].size(), 4U);
  EXPECT_EQ(report["files"][0], "difference-0003.bmp");
  bool isDifferenceTold = false;
  for (const auto& operation : report["operations"]) {
    if (operation["algorithm"] != "AbsoluteDifference") continue;
    isDifferenceTold = true;
    EXPECT_EQ(operation["calls"], 4);
    EXPECT_GT(operation["millisecondsPerCall"], 0.0);
    EXPECT_EQ(operation["member"].get<std::string>().substr(0, 7), "kv_algo");
  }
  EXPECT_TRUE(isDifferenceTold) << outcome.out;
  const Outcome piped = RunKv(folder_, "convert clip.y4m - --to-format y4m --json");
  EXPECT_EQ(piped.out, Bytes("clip.y4m"));
  EXPECT_TRUE(nlohmann::json::accept(piped.err)) << "the report goes where the pictures do not";
}

}  // namespace
