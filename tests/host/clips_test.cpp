// Several clips at once, numbers of their differences, and what is printed frame by frame.

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <sstream>
#include <vector>

#include "tests/host/json_schema.h"
#include "tests/host/program.h"
#include "tests/support/temp_folder.h"

namespace {

using kv_test::Outcome;
using nlohmann::json;

/// Frames of 8x4 grey, each of one value.
std::string GreyFrames(const std::vector<int>& values) {
  std::string bytes;
  for (const int value : values) bytes += std::string(32, static_cast<char>(value));
  return bytes;
}

std::vector<std::string> LinesOf(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) {
    if (line.ends_with('\r')) line.pop_back();
    lines.push_back(line);
  }
  return lines;
}

class Clips : public testing::Test {
 protected:
  void SetUp() override {
    Put("one.gray", GreyFrames({10}));
    Put("two.gray", GreyFrames({20, 30}));
    Put("three.gray", GreyFrames({10, 14, 10}));
  }
  void Put(const std::string& name, const std::string& bytes) const {
    kv_test::WriteFile(temp_.Path() / name, bytes);
  }
  std::string Get(const std::string& name) const { return kv_test::ReadFile(temp_.Path() / name); }
  Outcome Kv(const std::string& arguments) const {
    return kv_test::RunKv(temp_.Path(), arguments + " --size 8x4");
  }
  void Done(const std::string& arguments) const {
    const Outcome outcome = Kv(arguments);
    EXPECT_EQ(outcome.status, 0) << arguments << ": " << outcome.err;
  }
  void Refused(const std::string& arguments, const std::string& message) const {
    const Outcome outcome = Kv(arguments);
    EXPECT_EQ(outcome.status, 2) << arguments;
    EXPECT_NE(outcome.err.find(message), std::string::npos) << outcome.err;
  }

  const kv_test::TempFolder temp_;
};

TEST_F(Clips, APictureServesEveryFrameOnEitherSide) {
  Done("diff one.gray three.gray a.gray");
  EXPECT_EQ(Get("a.gray"), GreyFrames({0, 4, 0}));
  Done("diff three.gray one.gray b.gray");
  EXPECT_EQ(Get("b.gray"), GreyFrames({0, 4, 0}));
  Done("average one.gray two.gray c.gray");
  EXPECT_EQ(Get("c.gray"), GreyFrames({15, 20}));
  Done("diff one.gray three.gray d.gray --frames 1:1");
  EXPECT_EQ(Get("d.gray"), GreyFrames({4}));
  // In a pipe, whose length nobody knows.
  const Outcome outcome = kv_test::PipeThroughKv(
      temp_.Path(), "diff - three.gray e.gray --from-format gray --size 8x4", GreyFrames({10}));
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_EQ(Get("e.gray"), GreyFrames({0, 4, 0}));
}

TEST_F(Clips, RegionsAreCopiedInEveryFrame) {
  const auto with = [](const std::vector<std::pair<int, int>>& frames) {
    std::string bytes;
    for (const auto& [canvas, copied] : frames) {
      std::string frame = GreyFrames({canvas});
      frame[2 * 8 + 4] = frame[2 * 8 + 5] = static_cast<char>(copied);
      bytes += frame;
    }
    return bytes;
  };
  const std::string where = " --from 0,0,2,1 --to 4,2 ";
  Done("copy-roi two.gray one.gray -o out.gray" + where);
  EXPECT_EQ(Get("out.gray"), with({{10, 20}, {10, 30}}));
  Done("copy-roi one.gray two.gray --output out.gray" + where);
  EXPECT_EQ(Get("out.gray"), with({{20, 10}, {30, 10}}));
  Done("copy-roi two.gray three.gray -o out.gray --shortest" + where);
  EXPECT_EQ(Get("out.gray"), with({{10, 20}, {14, 30}}));
  Done("copy-roi one.gray three.gray -o out.gray --frames 1:1" + where);
  EXPECT_EQ(Get("out.gray"), with({{14, 10}}));
  Refused("copy-roi two.gray three.gray" + where, "two.gray: has 2 frames, fewer than the other input");
  EXPECT_EQ(Get("three.gray"), GreyFrames({10, 14, 10}));
  // The destination is replaced when it has been read.
  Done("copy-roi two.gray two.gray" + where);
  EXPECT_EQ(Get("two.gray"), with({{20, 20}, {30, 30}}));
  Done("copy-roi one.gray two.gray" + where);
  EXPECT_EQ(Get("two.gray"), with({{20, 10}, {30, 10}}));
}

TEST_F(Clips, OfDifferentLengthsAreRefusedBeforeWork) {
  const std::string message = "two.gray: has 2 frames, fewer than the other input (three.gray)";
  Refused("diff two.gray three.gray out.gray", message);
  Refused("diff three.gray two.gray out.gray", message);
  Refused("blend three.gray two.gray one.gray out.gray", message);
  EXPECT_FALSE(std::filesystem::exists(temp_.Path() / "out.gray"));
  for (const std::string pair : {"two.gray three.gray", "three.gray two.gray"}) {
    Done("diff " + pair + " out.gray --shortest");
    EXPECT_EQ(Get("out.gray"), GreyFrames({10, 16})) << pair;
  }
  const Outcome outcome = kv_test::PipeThroughKv(
      temp_.Path(), "diff - three.gray late.gray --from-format gray --size 8x4", GreyFrames({10, 10}));
  EXPECT_EQ(outcome.status, 2);
  EXPECT_NE(outcome.err.find("standard input: has 2 frames, fewer"), std::string::npos) << outcome.err;
  EXPECT_FALSE(std::filesystem::exists(temp_.Path() / "late.gray"));
}

TEST_F(Clips, TemplatesThatEndInAPipeAreRefused) {
  const std::string frame = std::string(256, 'a') + std::string(256, 'b') + std::string(256, 'c');
  Put("searched.gray", frame);
  const std::string find =
      "find - searched.gray --frame 2 --from-format gray --size 16x16 --at 8,8 --half 2x2 --range 2x2";
  const Outcome two = kv_test::PipeThroughKv(temp_.Path(), find, frame.substr(256));
  EXPECT_EQ(two.status, 2);
  EXPECT_NE(two.err.find("standard input: has 2 frames, fewer than the other input (searched.gray)"),
            std::string::npos)
      << two.err;
  // One serves all.
  const Outcome one = kv_test::PipeThroughKv(temp_.Path(), find, frame.substr(512));
  EXPECT_EQ(one.status, 0);
  EXPECT_EQ(one.out, "found at 6,6 with a mean difference of 0\n") << one.err;
}

TEST_F(Clips, StatisticsOfEveryFrame) {
  std::string frames = GreyFrames({10, 10});
  frames[32] = 22;  // one of 32 pixels by 12
  frames[33] = 12;  // and one by 2
  Put("other.gray", frames);
  Put("same.gray", GreyFrames({10, 10}));
  const Outcome outcome = Kv("diff same.gray other.gray --stats --threshold 2");
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  // 10 log10(65025 * 32 / 148)
  EXPECT_EQ(LinesOf(outcome.out),
            (std::vector<std::string>{"frame,mean,maximum,psnr,share", "0,0.0000,0,inf,0.000000",
                                      "1,0.4375,12,41.480,0.031250"}));
  const Outcome inside = Kv("diff same.gray other.gray --stats --region 1,0,7,4 --frames 1:1");
  EXPECT_EQ(LinesOf(inside.out).at(1).substr(0, 11), "1,0.0714,2,");
  Done("diff same.gray other.gray picture.gray --stats");
  EXPECT_EQ(Get("picture.gray").substr(32, 3), std::string("\x0C\x02\x00", 3));
  Refused("diff same.gray other.gray", "OUT is missing");
}

TEST_F(Clips, DifferencesAboveTheLimitFail) {
  const Outcome outcome = Kv("diff one.gray three.gray --fail-above 3.9");
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.out, "");
  EXPECT_NE(outcome.err.find(
                "three.gray: 1 of 3 frames differ by a mean above 3.9; the first is frame 1, by 4.0000"),
            std::string::npos)
      << outcome.err;
  Done("diff one.gray three.gray --fail-above 4");
  EXPECT_EQ(Kv("diff one.gray three.gray --fail-above 0 --stats kept.gray").status, 1);
  EXPECT_EQ(Get("kept.gray"), GreyFrames({0, 4, 0})) << "the picture is written all the same";
}

TEST_F(Clips, EveryFrameIsJudged) {
  const auto judged = [&](const std::vector<int>& values, const std::string& message) {
    Put("judged.gray", GreyFrames(values));
    const Outcome outcome = Kv("diff judged.gray ten.gray --fail-above 3");
    EXPECT_EQ(outcome.status, message.empty() ? 0 : 1);
    EXPECT_NE(outcome.err.find(message), std::string::npos) << outcome.err;
  };
  Put("ten.gray", GreyFrames({10, 10, 10}));
  judged({14, 10, 10}, "1 of 3 frames differ by a mean above 3; the first is frame 0, by 4.0000");
  judged({10, 10, 15}, "1 of 3 frames differ by a mean above 3; the first is frame 2, by 5.0000");
  judged({16, 10, 15}, "2 of 3 frames differ by a mean above 3; the first is frame 0, by 6.0000");
  judged({13, 7, 10}, "");
}

TEST_F(Clips, RegionsWithoutPixelsDoNotDiffer) {
  Put("other.gray", GreyFrames({200}));
  const std::string header = "P5 8 4 255\n";
  // Rows 1 and 3 hold nothing, two pixels of row 2 count.
  std::string mask(32, '\0');
  mask[3] = mask[18] = mask[19] = 'x';
  Put("rows.pgm", header + mask);
  Put("none.pgm", header + std::string(32, '\0'));
  std::string three = GreyFrames({10});
  three[2] = 11;   // outside
  three[11] = 20;  // in a row that has nothing
  three[19] = 16;  // 6 of one of three pixels
  Put("three.gray", three);
  const Outcome rows = Kv("diff one.gray three.gray --stats --region-mask rows.pgm --threads 3");
  EXPECT_EQ(rows.status, 0) << rows.err;
  // 10 log10(65025 * 3 / 36)
  EXPECT_EQ(LinesOf(rows.out).at(1), "0,2.0000,6,37.339,0.333333");
  const Outcome none = Kv("diff one.gray other.gray --stats --fail-above 0 --region-mask none.pgm");
  EXPECT_EQ(none.status, 0) << none.err;
  EXPECT_EQ(LinesOf(none.out).at(1), "0,0.0000,0,inf,0.000000");
}

TEST_F(Clips, LinesOfJsonAndThenTheReport) {
  const json schema = json::parse(kv_test::ReadFile(std::filesystem::path(KV_DOCS) / "json.schema.json"));
  const Outcome outcome = Kv("diff one.gray three.gray --stats --fail-above 1 --json=lines");
  EXPECT_EQ(outcome.status, 1);
  const auto lines = LinesOf(outcome.out);
  ASSERT_EQ(lines.size(), 4U) << outcome.out;
  for (int frame = 0; frame < 3; ++frame) {
    const json record = json::parse(lines[static_cast<std::size_t>(frame)]);
    EXPECT_EQ(record["frame"], frame);
    EXPECT_EQ(record["mean"], frame == 1 ? 4 : 0);
    EXPECT_EQ(record["psnr"].is_null(), frame != 1);
    EXPECT_GE(record["milliseconds"].get<double>(), 0);
  }
  const json report = json::parse(lines[3]);
  EXPECT_EQ(kv_test::SchemaProblem(report, schema), "");
  EXPECT_EQ(report["result"]["frames"], 3);
  EXPECT_EQ(report["result"]["failed"], 1);
  EXPECT_EQ(report["error"]["code"], "different");
}

TEST_F(Clips, LinesAreThereForEveryCommandAndFailure) {
  for (const std::string command :
       {"convert two.gray a.pgm", "filter two.gray a.gray --window 3", "average two.gray one.gray a.gray",
        "join two.gray -o a.gray", "alpha-prob two.gray two.gray a.gray --window 1"}) {
    const Outcome outcome = Kv(command + " --overwrite --json=lines");
    EXPECT_EQ(outcome.status, 0) << command << outcome.err;
    const auto lines = LinesOf(outcome.out);
    ASSERT_EQ(lines.size(), 3U) << command;
    EXPECT_EQ(json::parse(lines[1])["frame"], 1) << command;
    EXPECT_EQ(json::parse(lines[2])["status"], 0) << command;
  }
  const Outcome failed = Kv("convert none.gray a.pgm --json=lines");
  EXPECT_EQ(failed.status, 2);
  ASSERT_EQ(LinesOf(failed.out).size(), 1U);
  EXPECT_EQ(json::parse(failed.out)["error"]["code"], "file");
  // Pictures go to standard output alone.
  const Outcome piped = Kv("convert two.gray - --to-format gray --json=lines");
  EXPECT_EQ(piped.out, Get("two.gray"));
  EXPECT_EQ(LinesOf(piped.err).size(), 3U) << piped.err;
  EXPECT_EQ(Kv("convert two.gray a.pgm --json=rows").status, 2);
}

TEST_F(Clips, NoFrameOfALivePipeWaitsForALaterOne) {
  KV_NEEDS_SHELL();
  // The second frame is sent after the first one's picture and record have been read.
  for (const std::string command :
       {"filter - - --window 3", "convert - -", "parity - - --force", "diff - one.gray -",
        "average - one.gray -", "alpha-prob - one.gray - --window 3", "blend - one.gray one.gray -",
        "copy-roi - one.gray -o -", "key - --color 90,60 one.gray -", "join - -o -"}) {
    const Outcome outcome =
        kv_test::RunShell(temp_.Path(),
                          "rm -f in out lines; mkfifo in out lines; "
                          "(\"$KV\" " +
                              command +
                              " --from-format gray --size 8x4 --to-format gray --json=lines "
                              "<in >out 2>lines) & "
                              "exec 3>in 4<out 5<lines; "
                              "head -c 32 two.gray >&3; "
                              "[ $(timeout 10 head -c 32 <&4 | wc -c) = 32 ] || exit 7; "
                              "line=$(timeout 10 head -n 1 <&5) || exit 8; case $line in '{\"frame\": 0,'*) "
                              ";; *) exit 9 ;; esac; "
                              "tail -c 32 two.gray >&3; exec 3>&-; "
                              "[ $(timeout 10 cat <&4 | wc -c) = 32 ] || exit 10; wait $!");
    EXPECT_EQ(outcome.status, 0) << command << ": " << outcome.err;
  }
}

}  // namespace
