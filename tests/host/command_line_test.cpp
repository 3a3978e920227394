// The program as a person meets it: files in, files out, errors.

#include <gtest/gtest.h>

#include <cmath>
#include <nlohmann/json.hpp>

#include "frame/platform/wide_level.h"
#include "host/formats/file_name.h"
#include "host/formats/picture_reader.h"
#include "host/formats/picture_writer.h"
#include "tests/host/program.h"
#include "tests/support/family.h"
#include "tests/support/temp_folder.h"

namespace {

using namespace kv_host;
using kv_test::Outcome;
using kv_test::Photograph;
using kv_test::PipeThroughKv;
using kv_test::ReadFile;
using kv_test::RunKv;
using kv_test::RunShell;
using kv_test::WriteFile;
namespace fs = std::filesystem;

class CommandLine : public testing::Test {
 protected:
  const kv_test::TempFolder temp_;
  const fs::path folder_ = temp_.Path();
  const std::string photo_ = "'" + Photograph().string() + "'";

  Outcome Kv(const std::string& arguments) const { return RunKv(folder_, arguments); }
  void ExpectDone(const std::string& arguments) const {
    const Outcome outcome = Kv(arguments);
    EXPECT_EQ(outcome.status, 0) << arguments << ": " << outcome.err;
    EXPECT_EQ(outcome.err, "") << "progress is for terminals";
  }
  Raster Read(const std::string& name) const { return *PictureReader((folder_ / name).string()).Next(); }
  std::vector<std::string> Files() const {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(folder_))
      names.push_back(entry.path().filename().string());
    std::ranges::sort(names);
    return names;
  }
  /// One clear line, exit status 2, and no file but those that were there.
  void ExpectRefused(const std::string& arguments, const std::string& words, int status = 2) const {
    const auto before = Files();
    const Outcome outcome = Kv(arguments);
    EXPECT_EQ(outcome.status, status) << arguments;
    EXPECT_EQ(outcome.ErrorLines(), 1) << arguments << ": " << outcome.err;
    EXPECT_NE(outcome.err.find(words), std::string::npos) << arguments << ": " << outcome.err;
    EXPECT_EQ(Files(), before) << arguments;
  }
};

double PeakDifference(const Raster& a, const Raster& b) {
  EXPECT_EQ(a.kind, b.kind);
  EXPECT_EQ(a.planes[0].bytes.size(), b.planes[0].bytes.size());
  int peak = 0;
  for (std::size_t i = 0; i < a.planes[0].bytes.size(); ++i) {
    peak = std::max(peak, std::abs(a.planes[0].bytes[i] - b.planes[0].bytes[i]));
  }
  return peak;
}

TEST_F(CommandLine, PhotographBecomesPictures) {
  ExpectDone("convert " + photo_ + " out.bmp --threads 4");
  ExpectDone("convert " + photo_ + " out16.bmp --depth 16");
  ExpectDone("convert " + photo_ + " out15.bmp --depth 15");
  const Raster picture = Read("out.bmp");
  EXPECT_EQ(picture.width, 720);
  EXPECT_EQ(picture.height, 576);
  // A bright sky above, dark grass below.
  EXPECT_GT(picture.planes[0].Row(5)[3 * 420], 200);
  EXPECT_LT(picture.planes[0].Row(560)[3 * 620], 60);
  ExpectDone("convert " + photo_ + " out.png");
  EXPECT_EQ(Read("out.png").planes, picture.planes);
}

TEST_F(CommandLine, RawFramesOfEitherOrderHoldTheSamePicture) {
  ExpectDone("convert " + photo_ + " a.uyvy");
  ExpectDone("convert " + photo_ + " a.yuy2");
  ExpectDone("convert a.uyvy a.bmp --size 720x576");
  ExpectDone("convert a.yuy2 b.bmp --size 720x576");
  ExpectDone("convert " + photo_ + " c.bmp");
  EXPECT_EQ(ReadFile(folder_ / "a.bmp"), ReadFile(folder_ / "b.bmp"));
  EXPECT_EQ(ReadFile(folder_ / "a.bmp"), ReadFile(folder_ / "c.bmp"));
}

TEST_F(CommandLine, MembersGiveTheSameBytes) {
  ExpectDone("convert " + photo_ + " other.bmp --exact-copy --member " + kv_test::commonMember);
  ExpectDone("convert " + photo_ + " c.bmp --member kv_algoC --threads 3 --exact-copy");
  EXPECT_EQ(ReadFile(folder_ / "other.bmp"), ReadFile(folder_ / "c.bmp"));
}

TEST_F(CommandLine, PipesCarryBytesAsTheyAre) {
  const std::string photo = ReadFile(Photograph());
  const Outcome outcome = PipeThroughKv(folder_, "convert - - --to-format bmp", photo);
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  ExpectDone("convert " + photo_ + " file.bmp");
  EXPECT_TRUE(outcome.out == ReadFile(folder_ / "file.bmp"));
  // Every value of a byte, the ends of lines and files among them.
  std::string all;
  for (int i = 0; i < 4096; ++i) all += static_cast<char>(i * 31 >> 3);
  const Outcome same =
      PipeThroughKv(folder_, "convert - - --size 32x64 --from-format uyvy --to-format uyvy", all);
  EXPECT_EQ(same.status, 0) << same.err;
  EXPECT_TRUE(same.out == all);
}

TEST_F(CommandLine, NamesHoldAnyLettersAndBlanks) {
  // The beginning of a folder, a name and another in letters that no one code page has together.
  const std::string name = "\u0444\u043e\u0442\u043e \u65e5\u672c \u00e4\u00df\U0001F33E";
  const fs::path folder = folder_ / PathOf(name + " 1");
  fs::create_directory(folder);
  fs::copy_file(Photograph(), folder / PathOf(name + " in.y4m"));
  ExpectDone("convert '" + name + " 1/" + name + " in.y4m' '" + name + " 1/" + name + " out.uyvy'");
  ExpectDone("convert " + photo_ + " plain.uyvy");
  EXPECT_TRUE(ReadFile(folder / PathOf(name + " out.uyvy")) == ReadFile(folder_ / "plain.uyvy"));
  // An older file is replaced.
  ExpectDone("convert '" + name + " 1/" + name + " in.y4m' '" + name + " 1/" + name +
             " out.uyvy' --layout uyvy");
  ExpectRefused("convert '" + name + " none' out.bmp", name + " none: cannot be opened: No such file");
  ExpectRefused("convert " + photo_ + " '" + name + ".gif'", name + ".gif: the format is not known");
  const std::string frame = ReadFile(Photograph());
  WriteFile(folder_ / "two.y4m", frame + frame.substr(frame.find('\n') + 1));
  ExpectDone("convert two.y4m '" + name + ".bmp'");
  EXPECT_TRUE(fs::exists(folder_ / PathOf(name + "-0001.bmp")));
}

TEST_F(CommandLine, FfmpegPipesInAndOut) {
  KV_NEEDS_SHELL();
  const Outcome outcome = RunShell(
      folder_,
      "ffmpeg -nostdin -loglevel error -f lavfi -i testsrc=size=130x98:rate=5:duration=1 -pix_fmt yuv422p "
      "-f yuv4mpegpipe - | \"$KV\" parity - - --force | \"$KV\" convert - - | ffmpeg -nostdin -loglevel "
      "error -i - "
      "-y "
      "frames.y4m");
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  PictureReader reader((folder_ / "frames.y4m").string());
  int frames = 0;
  while (reader.Next()) ++frames;
  EXPECT_EQ(frames, 5);
}

TEST_F(CommandLine, SeveralFramesBecomeNumberedFiles) {
  const std::string frame = ReadFile(Photograph());
  const std::size_t header = frame.find('\n') + 1;
  WriteFile(folder_ / "two.y4m", frame + frame.substr(header));
  ExpectDone("convert two.y4m out.bmp");
  EXPECT_EQ(Files(), (std::vector<std::string>{"out-0000.bmp", "out-0001.bmp", "two.y4m"}));
}

TEST_F(CommandLine, RoundTripThroughBitmapLooksRight) {
  ExpectDone("convert " + photo_ + " a.bmp --exact-copy");
  ExpectDone("convert a.bmp b.y4m --exact-copy");
  ExpectDone("convert b.y4m c.bmp --exact-copy");
  // Chroma is averaged over pairs once more, which moves colours at sharp edges; on average next to nothing
  // changes.
  const Raster a = Read("a.bmp");
  const Raster c = Read("c.bmp");
  double sum = 0;
  for (std::size_t i = 0; i < a.planes[0].bytes.size(); ++i) {
    sum += std::abs(a.planes[0].bytes[i] - c.planes[0].bytes[i]);
  }
  EXPECT_LT(sum / static_cast<double>(a.planes[0].bytes.size()), 2.0);
  EXPECT_LE(PeakDifference(a, c), 10);
}

TEST_F(CommandLine, AlphaOfABitmapComesThrough) {
  Raster picture = MakeRaster(RasterKind::Dib32, 13, 5);
  for (std::size_t i = 0; i < picture.planes[0].bytes.size(); ++i) {
    picture.planes[0].bytes[i] = static_cast<std::uint8_t>(i % 4 == 3 ? i : 128);
  }
  PictureWriter writer((folder_ / "a.bmp").string());
  writer.Write(picture);
  writer.Commit();
  ExpectDone("convert a.bmp a.yuy2a");
  const std::string bytes = ReadFile(folder_ / "a.yuy2a");
  ASSERT_EQ(bytes.size(), (28U + 13U) * 5U);
  for (int y = 0; y < 5; ++y) {
    for (int x = 0; x < 13; ++x) {
      EXPECT_EQ(static_cast<std::uint8_t>(bytes[static_cast<std::size_t>(28 * 5 + 13 * y + x)]),
                picture.planes[0].Row(y)[static_cast<std::size_t>(4 * x + 3)]);
    }
  }
}

TEST_F(CommandLine, MembersAreListed) {
  const Outcome text = Kv("members");
  EXPECT_EQ(text.status, 0);
  const auto json = nlohmann::json::parse(Kv("members --json").out)["result"]["members"];
  ASSERT_GE(json.size(), 2U);
  EXPECT_EQ(json[0]["name"], "kv_algoC");
  EXPECT_EQ(json[0]["priority"], 1);
  EXPECT_EQ(json[1]["usable"], true);
#if defined(__aarch64__)
  EXPECT_NE(text.out.find("kv_algoNEON  priority 5, feature mask 0x2, usable, level neon\n"),
            std::string::npos)
      << text.out;
  ASSERT_EQ(json.size(), 2U);
#else
  EXPECT_NE(text.out.find("kv_algoMMX   priority 3, feature mask 0x800000, usable"), std::string::npos)
      << text.out;
  EXPECT_NE(text.out.find("kv_algoSSE   not found"), std::string::npos) << text.out;
  ASSERT_EQ(json.size(), 4U);
  EXPECT_EQ(json[1]["combinations"].size(), 22U);
  EXPECT_EQ(json[2]["found"], false);
#endif
}

#if !defined(__aarch64__)
TEST_F(CommandLine, MembersShowTheLevelInForce) {
  KV_NEEDS_SHELL();
  const kv_test::TempFolder temp;
  const std::string supported = kv_img::NameOf(kv_img::SupportedLevel());
  const auto outputOf = [&](const std::string& command) {
    return kv_test::RunShell(temp.Path(), command).out;
  };
  EXPECT_NE(outputOf("KV_LEVEL=AVX $KV members").find("usable, level " + supported + "\n"),
            std::string::npos);
  const auto members =
      nlohmann::json::parse(outputOf("KV_LEVEL=sse2 $KV members --json"))["result"]["members"];
  EXPECT_EQ(members[3]["level"], "sse2");
  EXPECT_FALSE(members[1].contains("level"));
  if (supported == "sse2") return;
  EXPECT_NE(outputOf("KV_LEVEL=sse2 $KV members")
                .find("usable, level sse2 by KV_LEVEL (the processor has " + supported + ")\n"),
            std::string::npos);
}
#endif

TEST_F(CommandLine, MembersForARequest) {
  const auto answeredBy = [&](const std::string& request) {
    return nlohmann::json::parse(Kv("members --json --for " + request).out)["result"]["answeredBy"];
  };
  ExpectRefused("members --for copy:yuv422:dib24",
                "copy");  // names of algorithms are compared with their case
  EXPECT_EQ(answeredBy("Copy:yuv422:dib24"), kv_test::wideMember);
  EXPECT_EQ(answeredBy("Copy:yuv422:dib32"), "kv_algoC");
  EXPECT_EQ(Kv("members --for Scanning:dib24:dib24").status, 3);
  ExpectRefused("members --for Copy:yuv422", "takes 2 pixel classes");
  ExpectRefused("members --for Copy:yuv422:rgb", "'rgb' is no pixel class");
}

TEST_F(CommandLine, BadInputGetsOneLineAndLeavesNothing) {
  WriteFile(folder_ / "cut.y4m", ReadFile(Photograph()).substr(0, 5000));
  WriteFile(folder_ / "magic.y4m", "YUV4MPEG3 W8 H8\n");
  WriteFile(folder_ / "huge.y4m", "YUV4MPEG2 W999999999 H999999999 F25:1 C422\nFRAME\n");
  WriteFile(folder_ / "short.uyvy", std::string(1000, 'x'));
  ExpectRefused("convert cut.y4m out.bmp", "cut.y4m");
  ExpectRefused("convert magic.y4m out.bmp", "magic.y4m");
  ExpectRefused("convert huge.y4m out.bmp", "huge.y4m");
  ExpectRefused("convert short.uyvy out.bmp --size 16x16", "short.uyvy");
  ExpectRefused("convert short.uyvy out.bmp", "short.uyvy");
  ExpectRefused("convert missing.y4m out.bmp", "missing.y4m");
  ExpectRefused("convert " + photo_ + " nowhere/out.bmp", "nowhere/out.bmp");
  ExpectRefused("convert " + photo_ + " out.xyz", "out.xyz");
  for (const char* size : {"5", "16x", "x16", "0x16", "16x0", "-16x16", "16x16x"}) {
    ExpectRefused("convert " + photo_ + " out.bmp --size=" + size,
                  "--size: '" + std::string(size) + "' is no size");
  }
  ExpectRefused("convert " + photo_ + " out.bmp --layout abc", "abc");
  ExpectRefused("convert " + photo_ + " out.bmp --depth 8x", "8x");
  ExpectRefused("convert " + photo_ + " out.pgm --depth 24", "--depth: a pgm file cannot hold 24-bit pixels");
  ExpectRefused("convert " + photo_ + " out.bmp --to-format xyz", "--to-format: 'xyz' is no format");
  ExpectRefused("filter " + photo_ + " out.pgm --window 3 --region 0,0,4,4 --region-mask m.pgm",
                "give --region or --region-mask, not both");
  const std::string find = "find " + photo_ + " " + photo_ + " --at 99,99 ";
  ExpectRefused(find + "--half=-1x2 --range 2x2", "--half: -1x2 does not fit");
  ExpectRefused(find + "--half 2x2 --range=2x-1", "--range: 2x-1 does not fit");
  ExpectRefused("convert " + photo_ + " out.bmp --threads 0", "--threads");
  ExpectRefused("convert " + photo_ + " out.bmp --member kv_algoX", "kv_algoX", 3);
  ExpectRefused("convert", "IN");
  ExpectRefused("nonsense", "nonsense: no such command");
  ExpectRefused("", "--help");
}

TEST_F(CommandLine, OptionsWithoutEffectAreRefused) {
  ExpectDone("convert " + photo_ + " a.uyvy");
  ExpectDone("convert " + photo_ + " g.pgm");
  ExpectRefused("convert " + photo_ + " out.bmp --size 720x576", "states its own size; only raw frames");
  ExpectRefused("diff g.pgm g.pgm out.pgm --size 720x576", "--size: g.pgm states its own size");
  ExpectDone("diff a.uyvy g.pgm out.pgm --size 720x576");
  ExpectRefused("convert " + photo_ + " out.y4m --layout uyvy",
                "is written as y4m, which is not packed 4:2:2");
  ExpectRefused("convert " + photo_ + " out.yuy2 --layout uyvy", "whose byte order is the other one");
  const std::string find = "find g.pgm g.pgm --at 99,99 --half 2x2 --range 2x2 ";
  ExpectRefused(find + "--levels 2", "--levels is for --subpixel");
  ExpectRefused("members --all --for Copy:yuv422:dib24", "--all excludes --for");
  ExpectRefused("clip --polygon '2,1 14,1 6,4' --size 16x8 --region 8,0,4,8 --threads 2", "--threads");
}

TEST_F(CommandLine, NamesThatCannotBeWrittenAreRefusedBeforeTheWork) {
  ExpectDone("convert " + photo_ + " g.pgm");
  const std::string find = "find g.pgm g.pgm --at 99,99 --half 2x2 --range 2x2 ";
  ExpectRefused(find + "--map m.txt", "m.txt: the extension is not known; there are csv, y4m, uyvy");
  ExpectRefused(find + "--map m.csv --annotate a.gif", "a.gif: the format is not known; name it: y4m, uyvy");
  ExpectRefused(find + "--map -", "- is no file");
  ExpectRefused("clip --polygon '2,1 14,1 6,4' --size 16x8 --region 8,0,4,8 --svg p.png",
                "such as pieces.svg");
}

TEST_F(CommandLine, AFullDiskIsReported) {
  KV_NEEDS_SHELL();
  const Outcome outcome = Kv("convert " + photo_ + " /dev/full --to-format uyvy");
  EXPECT_EQ(outcome.status, 2);
  EXPECT_EQ(outcome.ErrorLines(), 1) << outcome.err;
}

TEST_F(CommandLine, AClosedPipeEndsTheProgramSilently) {
  KV_NEEDS_SHELL();
  RunShell(folder_,
           "{ \"$KV\" convert " + photo_ + " - --to-format uyvy 2>message; echo $? >status; } | true");
  EXPECT_EQ(ReadFile(folder_ / "status"), "141\n");
  EXPECT_EQ(ReadFile(folder_ / "message"), "");
}

TEST_F(CommandLine, ATerminalSeesHowFarItIs) {
  KV_NEEDS_SHELL();
  RunShell(folder_, "script -qec \"$KV pan " + photo_ +
                        " out.y4m --size 360x576 --frames 3 --direction right\" transcript >/dev/null");
  EXPECT_NE(ReadFile(folder_ / "transcript").find("3/3"), std::string::npos);
}

TEST_F(CommandLine, ASecondVideoOfFewerFramesIsRefused) {
  const std::string pan = "pan " + photo_ + " --size 360x576 --direction right";
  ExpectDone(pan + " three.y4m --frames 3");
  ExpectDone(pan + " two.y4m --frames 2");
  ExpectRefused("diff three.y4m two.y4m out.bmp", "two.y4m: has 2 frames, fewer than the other input");
}

TEST_F(CommandLine, HelpShowsAnExampleForEachCommand) {
  EXPECT_EQ(Kv("--help").status, 0);
  for (const char* command : {"convert", "members", "copy-roi", "diff", "average", "filter", "blend",
                              "alpha-color", "alpha-prob", "parity", "pan", "find", "clip", "join", "demo"}) {
    const Outcome help = Kv(std::string(command) + " --help");
    EXPECT_EQ(help.status, 0) << command;
    EXPECT_NE(help.out.find("Example: "), std::string::npos) << command;
  }
}

}  // namespace
