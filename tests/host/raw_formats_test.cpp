// Raw formats, sequences and pipes with every command.

#include <gtest/gtest.h>

#include <algorithm>
#include <tuple>

#include "tests/host/program.h"
#include "tests/support/temp_folder.h"

namespace {

using kv_test::Outcome;
using kv_test::PipeThroughKv;
using kv_test::ReadFile;
using kv_test::RunKv;
using kv_test::WriteFile;

class RawFormats : public testing::Test {
 protected:
  Outcome Kv(const std::string& arguments) const { return RunKv(temp_.Path(), arguments); }
  void Make(const std::string& name, const std::string& arguments) const {
    const Outcome outcome = Kv(arguments + " " + name);
    ASSERT_EQ(outcome.status, 0) << arguments << ": " << outcome.err;
  }
  std::string Bytes(const std::string& name) const { return ReadFile(temp_.Path() / name); }
  void ExpectRefused(const std::string& arguments, const std::string& message) const {
    const Outcome outcome = Kv(arguments);
    EXPECT_EQ(outcome.status, 2) << arguments;
    EXPECT_NE(outcome.err.find(message), std::string::npos) << outcome.err;
  }

  const kv_test::TempFolder temp_;
};

/// Two frames of 16x8, every byte another.
std::string Frames() {
  std::string frames(2 * 16 * 8 * 2, '\0');
  for (std::size_t i = 0; i < frames.size(); ++i) frames[i] = static_cast<char>(40 + i * 7 % 160);
  return frames;
}

TEST_F(RawFormats, EveryCommandReadsAndWritesThem) {
  WriteFile(temp_.Path() / "a.uyvy", Frames());
  WriteFile(temp_.Path() / "mask.gray", std::string(16 * 8, '\x55'));
  for (const std::string name : {"yuy2", "yvyu", "nv16", "yuv422p", "yuv420p", "nv12", "v210", "yuv422p10le",
                                 "gray", "bgr24", "rgb24", "bgra", "rgba"}) {
    const std::string in = "a." + name;
    Make(in, "convert a.uyvy --size 16x8");
    const std::string size = " --size 16x8";
    Make("filter." + name, "filter --window 3" + size + " " + in);
    Make("diff." + name, "diff" + size + " " + in + " " + in);
    Make("average." + name, "average" + size + " " + in + " " + in);
    Make("parity." + name, "parity --fields top" + size + " " + in);
    Make("alpha." + name, "alpha-color --window 3" + size + " " + in + " " + in);
    Make("prob." + name, "alpha-prob --window 3" + size + " " + in + " " + in);
    Make("blend." + name, "blend" + size + " " + in + " " + in + " mask.gray");
    Make("pan." + name, "pan --photo-size 16x8 --size 8x8 --frames 2 --direction right " + in);
    EXPECT_EQ(Kv("join" + size + " " + in + " " + in + " -o join." + name).status, 0);
    EXPECT_EQ(Kv("find" + size + " " + in + " " + in + " --at 8,4 --half 2x2 --range 1x1").status, 0);
    const std::string bytes = Bytes(in);
    EXPECT_EQ(Bytes("parity." + name).size(), bytes.size()) << name;
    WriteFile(temp_.Path() / ("one." + name), bytes.substr(0, bytes.size() / 2));
    EXPECT_EQ(Kv("copy-roi" + size + " one." + name + " one." + name + " -o roi." + name).status, 0);
    EXPECT_EQ(Bytes("roi." + name).size(), bytes.size() / 2) << name;
    // Half the chroma rows come back filtered.
    const bool isHalf = name == "yuv420p" || name == "nv12";
    const std::size_t kept = isHalf ? std::size_t{16 * 8} : bytes.size();
    EXPECT_TRUE(Bytes("join." + name).substr(0, kept) == bytes.substr(0, kept)) << name;
    EXPECT_EQ(Bytes("join." + name).size(), 2 * bytes.size()) << name;
  }
}

TEST_F(RawFormats, NamesOfOtherProgramsAreKnown) {
  WriteFile(temp_.Path() / "a.raw", Frames());
  const std::string from = "convert a.raw --size 16x8 --from-format ";
  Make("a.uyvy", from + "uyvy422");
  EXPECT_EQ(Bytes("a.uyvy"), Frames());
  Make("b.raw", "convert a.uyvy --size 16x8 --to-format yuyv422");
  Make("c.yuy2", "convert a.uyvy --size 16x8");
  EXPECT_EQ(Bytes("b.raw"), Bytes("c.yuy2"));
  ExpectRefused(from + "uyva b.y4m", "--from-format: 'uyva' is no format");
}

TEST_F(RawFormats, FieldsOfRawFramesAreKept) {
  WriteFile(temp_.Path() / "a.uyvy", Frames());
  for (const auto& [order, tag] : {std::pair{"top", " It "}, {"bottom", " Ib "}, {"progressive", " Ip "}}) {
    Make("a.y4m", std::string("convert a.uyvy --size 16x8 --fields ") + order);
    EXPECT_NE(Bytes("a.y4m").find(tag), std::string::npos) << order;
  }
  ExpectRefused("convert a.y4m b.y4m --fields top", "--fields: a.y4m states its own fields");
  ExpectRefused("convert a.uyvy b.y4m --size 16x8 --fields upper", "--fields");
  WriteFile(temp_.Path() / "odd.uyvy", std::string(16 * 3 * 2, 'x'));
  ExpectRefused("convert odd.uyvy b.y4m --size 16x3 --fields top",
                "3 rows are not two fields of equal height");
}

TEST_F(RawFormats, SizesAreNamedWhereTheyAreWrong) {
  WriteFile(temp_.Path() / "a.nv12", std::string(100, 'x'));
  ExpectRefused("convert a.nv12 b.y4m --size 8x8", "a 8x8 frame has 96 bytes, the file has 100");
  ExpectRefused("pan a.nv12 b.y4m --size 8x8 --frames 1 --direction left", "states no size");
  WriteFile(temp_.Path() / "b.nv12", std::string(90, 'x'));
  Make("a.y4m", "convert b.nv12 --size 10x6");
  ExpectRefused("pan a.y4m b.y4m --photo-size 8x8 --size 8x6 --frames 1 --direction left",
                "--photo-size: a.y4m states");
}

TEST_F(RawFormats, OddWidthsAndSinglePixelsKeepTheirLuma) {
  WriteFile(temp_.Path() / "a.yuv422p", "abcdefghijklmnoABCDEFGHIJKLMNOPQR");
  WriteFile(temp_.Path() / "c.yuv422p", "aBC");
  for (const std::string name : {"uyvy", "yvyu", "nv16", "yuv420p", "nv12", "v210", "yuv422p10le"}) {
    Make("a." + name, "convert a.yuv422p --size 5x3");
    Make("b.yuv422p", "convert --size 5x3 a." + name);
    EXPECT_EQ(Bytes("b.yuv422p").substr(0, 15), "abcdefghijklmno") << name;
    Make("c." + name, "convert c.yuv422p --size 1x1");
    Make("d.yuv422p", "convert --size 1x1 c." + name);
    EXPECT_EQ(Bytes("d.yuv422p"), "aBC") << name;
  }
}

TEST_F(RawFormats, RowsOfOddWidthsAreThoseOfFfmpeg) {
  KV_NEEDS_SHELL();
  const auto ffmpeg = [&](const std::string& in, const std::string& from, const std::string& out,
                          const std::string& to) {
    const std::string command = "ffmpeg -nostdin -v error -y -f rawvideo -s 17x3 -pix_fmt " + from + " -i " +
                                in + " -f rawvideo -pix_fmt " + to + " " + out;
    EXPECT_EQ(kv_test::RunShell(temp_.Path(), command).status, 0) << command;
  };
  std::string planes(3 * (17 + 2 * 9), '\0');
  for (std::size_t i = 0; i < planes.size(); ++i) planes[i] = static_cast<char>(40 + i * 37 % 160);
  WriteFile(temp_.Path() / "a.yuv422p", planes);
  for (const auto& [name, theirs, luma] :
       {std::tuple<std::string, std::string, std::size_t>{"uyvy", "uyvy422", 1},
        {"yuy2", "yuyv422", 0},
        {"yvyu", "yvyu422", 0}}) {
    Make("a." + name, "convert a.yuv422p --size 17x3");
    ffmpeg("a." + name, theirs, "b.yuv422p", "yuv422p");
    EXPECT_EQ(Bytes("b.yuv422p"), planes) << name;
    // Planes of 4:2:2 it packs but for the last pair of an odd width.
    ffmpeg("a.yuv422p", "yuv422p", "c.yuv444p", "yuv444p");
    ffmpeg("c.yuv444p", "yuv444p", "c." + name, theirs);
    ffmpeg("c." + name, theirs, "d.yuv422p", "yuv422p");
    Make("e.yuv422p", "convert --size 17x3 c." + name);
    EXPECT_EQ(Bytes("e.yuv422p"), Bytes("d.yuv422p")) << name;
    for (const std::string& packed : {Bytes("a." + name), Bytes("c." + name)}) {
      ASSERT_EQ(packed.size(), std::size_t{3 * 9 * 4}) << name;
      for (std::size_t row = 0; row < 3; ++row) {
        // The luma that no pixel shows is the one before it, and nobody reads it.
        const std::size_t last = row * 36 + 32 + luma;
        EXPECT_EQ(packed[last], planes[row * 17 + 16]) << name;
        EXPECT_EQ(packed[last + 2], packed[last]) << name;
      }
    }
    std::string other = Bytes("a." + name);
    for (std::size_t row = 0; row < 3; ++row) other[row * 36 + 34 + luma] = '\x7f';
    WriteFile(temp_.Path() / ("f." + name), other);
    ffmpeg("f." + name, theirs, "g.yuv422p", "yuv422p");
    Make("h.yuv422p", "convert --size 17x3 f." + name);
    EXPECT_EQ(Bytes("g.yuv422p"), planes) << name;
    EXPECT_EQ(Bytes("h.yuv422p"), planes) << name;
  }
}

TEST_F(RawFormats, OrderedDitherKeepsTheMeanOfTenBits) {
  // 4 · 100 + 1 everywhere: a quarter of the samples is 101.
  std::string words;
  for (int i = 0; i < 2 * 16 * 8; ++i) words += "\x91\x01";
  WriteFile(temp_.Path() / "a.yuv422p10le", words);
  Make("plain.yuv422p", "convert --size 16x8 a.yuv422p10le");
  Make("dithered.yuv422p", "convert --size 16x8 --dither ordered a.yuv422p10le");
  EXPECT_EQ(Bytes("plain.yuv422p"), std::string(2 * 16 * 8, 'd'));
  const std::string dithered = Bytes("dithered.yuv422p");
  EXPECT_EQ(std::ranges::count(dithered, 'e'), 2 * 16 * 8 / 4);
  EXPECT_EQ(std::ranges::count(dithered, 'd'), 2 * 16 * 8 * 3 / 4);
}

TEST_F(RawFormats, SequencesAreInputs) {
  WriteFile(temp_.Path() / "a.uyvy", Frames());
  ASSERT_EQ(Kv("convert a.uyvy --size 16x8 s-%03d.uyvy").status, 0);
  ASSERT_EQ(Kv("join --size 16x8 s-%03d.uyvy -o whole.uyvy").status, 0);
  EXPECT_EQ(Bytes("whole.uyvy"), Frames());
  Make("all.uyvy", "convert --size 16x8 's-*.uyvy'");
  EXPECT_EQ(Bytes("all.uyvy"), Frames());
  Make("diff.pgm", "diff a.uyvy --size 16x8 --frames 1:1 s-%03d.uyvy");
  ASSERT_EQ(Kv("convert s-%03d.uyvy t-%03d.uyvy --size 16x8 --overwrite").status, 0);
  EXPECT_EQ(Bytes("t-001.uyvy"), Frames().substr(256));
  ExpectRefused("convert u-%03d.uyvy --size 16x8 x.y4m",
                "u-%03d.uyvy: cannot be opened: no file has such a name");
}

TEST_F(RawFormats, PipesOnBothSides) {
  const Outcome outcome = PipeThroughKv(
      temp_.Path(), "filter - - --window 1 --from-format uyvy --size 16x8 --to-format nv12", Frames());
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_EQ(outcome.out.size(), std::size_t{2 * 16 * 8 * 3 / 2});
  const Outcome both = PipeThroughKv(temp_.Path(), "diff - - - --from-format uyvy --size 16x8", Frames());
  EXPECT_EQ(both.status, 2);
  EXPECT_EQ(both.out, "");
  EXPECT_NE(both.err.find("standard input can be one input only"), std::string::npos) << both.err;
}

TEST_F(RawFormats, SecondInputByItsFileDescriptor) {
  KV_NEEDS_SHELL();
  WriteFile(temp_.Path() / "a.uyvy", Frames());
  const Outcome outcome = kv_test::RunShell(
      temp_.Path(),
      "cat a.uyvy | ( exec 3<&0; cat a.uyvy | $KV diff - /dev/fd/3 d.gray --from-format uyvy --size 16x8 )");
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_EQ(Bytes("d.gray"), std::string(2 * 16 * 8, '\0'));
}

}  // namespace
