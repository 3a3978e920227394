// Files that end early, disagree with themselves or never end.

#include <gtest/gtest.h>

#include <algorithm>
#include <nlohmann/json.hpp>

#include "tests/host/program.h"
#include "tests/support/temp_folder.h"

namespace {

using kv_test::Outcome;
using nlohmann::json;

class BadInput : public testing::Test {
 protected:
  void Put(const std::string& name, const std::string& bytes) const {
    kv_test::WriteFile(temp_.Path() / name, bytes);
  }
  std::string Get(const std::string& name) const { return kv_test::ReadFile(temp_.Path() / name); }
  void Refused(const std::string& arguments, const std::string& message) const {
    const Outcome outcome = kv_test::RunKv(temp_.Path(), arguments);
    EXPECT_EQ(outcome.status, 2) << arguments;
    EXPECT_NE(outcome.err.find(message), std::string::npos) << arguments << ": " << outcome.err;
  }
  static void ExpectEnd(const Outcome& outcome, int status, const std::string& message) {
    EXPECT_EQ(outcome.status, status);
    EXPECT_NE(outcome.err.find(message), std::string::npos) << outcome.err;
  }

  const kv_test::TempFolder temp_;
};

/// Two frames of 8x4 grey.
std::string TwoGreys() {
  return std::string(32, '\x0A') + std::string(32, '\x14');
}

/// Three frames of 4x2, the last one without its last ten bytes.
std::string CutClip() {
  std::string clip = "YUV4MPEG2 W4 H2 F25:1 Ip C422\n";
  for (const char luma : {'a', 'b', 'c'}) clip += "FRAME\n" + std::string(8, luma) + std::string(8, '\x80');
  return clip.substr(0, clip.size() - 10);
}

TEST_F(BadInput, TheWholeFramesBeforeATruncatedOneAreKept) {
  Put("cut.y4m", CutClip());
  const std::string whole = std::string(8, 'a') + std::string(8, 'b');
  const std::string message = "the file ends early: frame 3 lacks 10 of 16 bytes";
  const Outcome outcome =
      kv_test::RunKv(temp_.Path(), "convert cut.y4m out.gray --depth 8 --exact-copy --json");
  EXPECT_EQ(outcome.status, 2);
  EXPECT_EQ(Get("out.gray"), whole);
  EXPECT_NE(outcome.err.find(message), std::string::npos) << outcome.err;
  const json report = json::parse(outcome.out);
  EXPECT_EQ(report["status"], 2);
  EXPECT_EQ(report["error"]["code"], "format");
  EXPECT_EQ(report["files"], json({"out.gray"}));
  EXPECT_EQ(kv_test::RunKv(temp_.Path(), "filter cut.y4m out.pgm --window 1 --overwrite").status, 2);
  EXPECT_FALSE(std::filesystem::exists(temp_.Path() / "out-0002.pgm"));
  EXPECT_TRUE(std::filesystem::exists(temp_.Path() / "out-0001.pgm"));
  // Of several clips, and of parts.
  const Outcome difference = kv_test::RunKv(temp_.Path(), "diff cut.y4m cut.y4m --stats");
  EXPECT_EQ(difference.status, 2);
  EXPECT_EQ(std::ranges::count(difference.out, '\n'), 3);
  EXPECT_EQ(kv_test::RunKv(temp_.Path(), "join cut.y4m cut.y4m -o joined.yuv422p").status, 2);
  EXPECT_EQ(Get("joined.yuv422p").size(), 2U * 16);
  // Inside the line before a frame, and in a pipe of raw frames.
  Put("line.y4m", CutClip().substr(0, CutClip().size() - 9));
  EXPECT_EQ(kv_test::RunKv(temp_.Path(), "convert line.y4m line.gray --depth 8 --exact-copy").status, 2);
  EXPECT_EQ(Get("line.gray"), whole);
  const Outcome piped = kv_test::PipeThroughKv(
      temp_.Path(), "convert - raw.gray --from-format gray --size 8x4", TwoGreys() + "abc");
  EXPECT_EQ(piped.status, 2);
  EXPECT_NE(piped.err.find("frame 3 of 8x4 pixels lacks 29 of 32 bytes"), std::string::npos) << piped.err;
  EXPECT_EQ(Get("raw.gray"), TwoGreys());
}

TEST_F(BadInput, NothingIsKeptOfAFirstFrameThatIsTruncated) {
  Put("cut.y4m", CutClip().substr(0, 50));
  EXPECT_EQ(kv_test::RunKv(temp_.Path(), "convert cut.y4m out.gray").status, 2);
  EXPECT_FALSE(std::filesystem::exists(temp_.Path() / "out.gray"));
  // A whole file of raw frames says so before work.
  Put("odd.gray", TwoGreys() + "abc");
  Refused("convert odd.gray out.pgm --size 8x4", "a 8x4 frame has 32 bytes, the file has 67");
}

TEST_F(BadInput, HeadersThatDisagreeWithThemselves) {
  const auto refused = [&](const std::string& header, const std::string& message) {
    Put("in.y4m", "YUV4MPEG2 " + header + "\nFRAME\n" + std::string(32, 'x'));
    Refused("convert in.y4m out.y4m", message);
    EXPECT_FALSE(std::filesystem::exists(temp_.Path() / "out.y4m"));
  };
  refused("W4 H2 W8 C422", "in.y4m: byte 16: 'W8' is stated a second time; a header has each of W, H");
  refused("W4 H2 H2 C422", "byte 16: 'H2' is stated a second time");
  refused("W4 H2 It C422 Ip", "byte 24: 'Ip' is stated a second time");
  refused("W4 H2 C422 C420", "byte 21: 'C420' is stated a second time");
  refused("W4 H2 F25:1 F30:1 C422", "byte 22: 'F30:1' is stated a second time");
  refused("W4 H2 C411", "byte 16: 'C411' is not read; 4:2:0, 4:2:2, 4:4:4 and mono with 8 or 10 bits are");
  refused("W4 C422", "the Y4M header lacks its size; it needs W and H");
  Put("in.y4m", "YUV4MPEG2 W4 H2 It C422\nFRAME\n" + std::string(16, 'x'));
  Refused("convert in.y4m out.y4m --fields bottom", "--fields: in.y4m states its own fields");
  // Extensions come as often as they like, frames may have parameters.
  Put("in.y4m", "YUV4MPEG2 W4 H2 XA=1 XB=2 It C422\nFRAME It XC\n" + std::string(16, 'x'));
  ExpectEnd(kv_test::RunKv(temp_.Path(), "convert in.y4m out.uyvy"), 0, "");
  EXPECT_EQ(Get("out.uyvy"), std::string(16, 'x'));
}

TEST_F(BadInput, StreamsThatNeverEnd) {
  KV_NEEDS_SHELL();
  const auto shell = [&](const std::string& command) { return kv_test::RunShell(temp_.Path(), command); };
  ExpectEnd(shell("timeout 20 \"$KV\" convert - out.y4m </dev/zero"), 2,
            "standard input: byte 0: the format is not known");
  ExpectEnd(shell("(printf 'YUV4MPEG2 W4'; yes H | tr -d '\\n') | timeout 20 \"$KV\" convert - out.y4m"), 2,
            "the Y4M header is longer than 4096 bytes");
  ExpectEnd(shell("(printf 'YUV4MPEG2 W4 H2\\nFRAME'; yes ' X' | tr -d '\\n') | timeout 20 \"$KV\" convert - "
                  "out.y4m"),
            2, "longer than");
  EXPECT_FALSE(std::filesystem::exists(temp_.Path() / "out.y4m"));
  // Memory stays, and what ends the program leaves nothing.
  for (const std::string command :
       {"convert /dev/zero - --to-format uyvy", "filter /dev/zero - --to-format uyvy --window 3"}) {
    const Outcome outcome =
        shell("\"$KV\" " + command +
              " --from-format uyvy --size 64x64 >/dev/null & pid=$!; sleep 0.5; "
              "sed -n 's/^VmHWM:[^0-9]*\\([0-9]*\\).*/\\1/p' /proc/$pid/status; kill -TERM $pid; wait $pid");
    EXPECT_EQ(outcome.status, 128 + 15) << outcome.err;
    ASSERT_NE(outcome.out, "");
    // Address checkers of a build keep more.
    EXPECT_LT(std::stoi(outcome.out), 400'000) << command;
  }
  const Outcome killed = shell(
      "(head -c 20000 /dev/zero; sleep 0.6) | { \"$KV\" convert - out.uyvy --from-format uyvy --size "
      "64x64 & pid=$!; sleep 0.3; kill -TERM $pid; wait $pid; }; ls -A | grep -v '^[.]\\(out\\|err\\)$'");
  EXPECT_EQ(killed.out, "") << "an unfinished file is left";
}

TEST_F(BadInput, OnePixelGoesThroughEveryCommand) {
  Put("a.bgra", "abcd");
  Put("mask.gray", "x");
  const auto done = [&](const std::string& arguments) {
    ExpectEnd(kv_test::RunKv(temp_.Path(), arguments + " --size 1x1"), 0, "");
  };
  for (const std::string name : {"uyvy", "yuy2", "yvyu", "uyvya", "yuy2a", "nv16", "yuv422p", "yuv420p",
                                 "nv12", "v210", "yuv422p10le", "gray", "bgr24", "rgb24", "bgra", "rgba"}) {
    SCOPED_TRACE(name);
    const std::string in = "b." + name;
    const std::string out = " c." + name;
    done("convert a.bgra " + in);
    for (const std::string& command :
         {"convert " + in, "filter --window 255 " + in, "diff " + in + " " + in, "average " + in + " " + in,
          "parity --force " + in, "alpha-color --window 9 " + in + " " + in,
          "alpha-prob --window 9 " + in + " " + in, "blend " + in + " " + in + " mask.gray",
          "key --color 90,60 --window 9 " + in + " " + in, "copy-roi " + in + " " + in + " -o",
          "join " + in + " " + in + " -o"}) {
      done(command + out);
      const std::size_t frames = command.starts_with("join") ? 2 : 1;
      EXPECT_EQ(Get("c." + name).size(), frames * Get(in).size()) << command;
    }
    ExpectEnd(
        kv_test::RunKv(temp_.Path(), "pan --photo-size 1x1 --size 1x1 --frames 2 --direction up " + in + out),
        0, "");
    Refused("find --size 1x1 --at 0,0 --half 0x0 --range 0x0 " + in + " " + in, "Incompatible image sizes");
    done("info " + in);
    Refused("track --size 1x1 --at 0,0 --half 0x0 " + in, "is too large to be sought in 1x1");
  }
}

TEST_F(BadInput, OddWidthsOfEveryKindOfY4m) {
  // 5x3 with chroma of 3x2, 3x3, 5x3 samples and none.
  const std::string luma = "abcdefghijklmno";
  for (const auto& [space, chroma] :
       {std::pair{"420jpeg", 12}, {"420mpeg2", 12}, {"422", 18}, {"444", 30}, {"mono", 0}}) {
    Put("in.y4m", "YUV4MPEG2 W5 H3 Ip C" + std::string(space) + "\nFRAME\n" + luma +
                      std::string(static_cast<std::size_t>(chroma), '\x60'));
    ExpectEnd(kv_test::RunKv(temp_.Path(), "convert in.y4m out.yuv422p --exact-copy"), 0, "");
    const std::string expected = luma + std::string(18, chroma == 0 ? '\x80' : '\x60');
    EXPECT_EQ(Get("out.yuv422p"), expected) << space;
    ExpectEnd(kv_test::RunKv(temp_.Path(), "filter in.y4m out.yuv422p --window 1 --exact-copy"), 0, "");
    EXPECT_EQ(Get("out.yuv422p"), expected) << space;
    // One byte less is named.
    Put("cut.y4m", Get("in.y4m").substr(0, Get("in.y4m").size() - 1));
    Refused("convert cut.y4m cut.yuv422p", "frame 1 lacks 1 of " + std::to_string(15 + chroma) + " bytes");
  }
}

}  // namespace
