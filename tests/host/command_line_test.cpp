// The program as a person meets it: files in, files out, errors.

#include <gtest/gtest.h>

#include <cmath>
#include <nlohmann/json.hpp>

#include "host/formats/picture_reader.h"
#include "host/formats/picture_writer.h"
#include "tests/host/program.h"
#include "tests/support/temp_folder.h"

namespace {

using namespace kv_host;
using kv_test::Outcome;
using kv_test::Photograph;
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
  ExpectDone("convert " + photo_ + " out.png --threads 4");
  ExpectDone("convert " + photo_ + " out.bmp");
  ExpectDone("convert " + photo_ + " out16.bmp --depth 16");
  ExpectDone("convert " + photo_ + " out15.bmp --depth 15");
  const Raster png = Read("out.png");
  EXPECT_EQ(png.width, 720);
  EXPECT_EQ(png.height, 576);
  EXPECT_EQ(png.planes, Read("out.bmp").planes);
  // A bright sky above, dark grass below.
  EXPECT_GT(png.planes[0].Row(5)[3 * 420], 200);
  EXPECT_LT(png.planes[0].Row(560)[3 * 620], 60);
}

TEST_F(CommandLine, RawFramesOfEitherOrderHoldTheSamePicture) {
  ExpectDone("convert " + photo_ + " a.uyvy");
  ExpectDone("convert " + photo_ + " a.yuy2");
  ExpectDone("convert a.uyvy a.png --size 720x576");
  ExpectDone("convert a.yuy2 b.png --size 720x576");
  ExpectDone("convert " + photo_ + " c.png");
  EXPECT_EQ(ReadFile(folder_ / "a.png"), ReadFile(folder_ / "b.png"));
  EXPECT_EQ(ReadFile(folder_ / "a.png"), ReadFile(folder_ / "c.png"));
}

TEST_F(CommandLine, MembersGiveTheSameBytes) {
  ExpectDone("convert " + photo_ + " mmx.png --member kv_algoMMX");
  ExpectDone("convert " + photo_ + " c.png --member kv_algoC --threads 3");
  EXPECT_EQ(ReadFile(folder_ / "mmx.png"), ReadFile(folder_ / "c.png"));
}

TEST_F(CommandLine, PipesWork) {
  const Outcome outcome =
      RunShell(folder_, "cat " + photo_ + " | \"$KV\" convert - - --to-format png > piped.png");
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  ExpectDone("convert " + photo_ + " file.png");
  EXPECT_EQ(ReadFile(folder_ / "piped.png"), ReadFile(folder_ / "file.png"));
}

TEST_F(CommandLine, FfmpegPipesInAndOut) {
  const Outcome outcome = RunShell(
      folder_,
      "ffmpeg -nostdin -loglevel error -f lavfi -i testsrc=size=130x98:rate=5:duration=1 -pix_fmt yuv422p "
      "-f yuv4mpegpipe - | \"$KV\" convert - - --to-format y4m | ffmpeg -nostdin -loglevel error -i - -y "
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
  ExpectDone("convert two.y4m out.png");
  EXPECT_EQ(Files(), (std::vector<std::string>{"out-0001.png", "out-0002.png", "two.y4m"}));
}

TEST_F(CommandLine, RoundTripThroughBitmapLooksRight) {
  ExpectDone("convert " + photo_ + " a.bmp");
  ExpectDone("convert a.bmp b.y4m");
  ExpectDone("convert b.y4m c.bmp");
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
  EXPECT_NE(text.out.find("kv_algoMMX   priority 3, feature mask 0x800000, usable"), std::string::npos)
      << text.out;
  EXPECT_NE(text.out.find("kv_algoSSE   not found"), std::string::npos) << text.out;
  const auto json = nlohmann::json::parse(Kv("members --json").out);
  ASSERT_EQ(json.size(), 4U);
  EXPECT_EQ(json[0]["name"], "kv_algoC");
  EXPECT_EQ(json[0]["priority"], 1);
  EXPECT_EQ(json[1]["usable"], true);
  EXPECT_EQ(json[1]["combinations"].size(), 22U);
  EXPECT_EQ(json[2]["found"], false);
}

TEST_F(CommandLine, MembersForARequest) {
  const auto both = nlohmann::json::parse(Kv("members --for copy:yuv422:dib24 --json").out, nullptr, false);
  EXPECT_TRUE(both.is_discarded()) << "names of algorithms are compared with their case";
  EXPECT_EQ(nlohmann::json::parse(Kv("members --for Copy:yuv422:dib24 --json").out)["answeredBy"],
            "kv_algoSSE2");
  EXPECT_EQ(nlohmann::json::parse(Kv("members --for Copy:yuv422:dib32 --json").out)["answeredBy"],
            "kv_algoC");
  EXPECT_EQ(Kv("members --for Scanning:dib24:dib24").status, 3);
  ExpectRefused("members --for Copy:yuv422", "takes 2 pixel classes");
  ExpectRefused("members --for Copy:yuv422:rgb", "'rgb' is no pixel class");
}

TEST_F(CommandLine, BadInputGetsOneLineAndLeavesNothing) {
  WriteFile(folder_ / "cut.y4m", ReadFile(Photograph()).substr(0, 5000));
  WriteFile(folder_ / "magic.y4m", "YUV4MPEG3 W8 H8\n");
  WriteFile(folder_ / "huge.y4m", "YUV4MPEG2 W999999999 H999999999 F25:1 C422\nFRAME\n");
  WriteFile(folder_ / "short.uyvy", std::string(1000, 'x'));
  ExpectRefused("convert cut.y4m out.png", "cut.y4m");
  ExpectRefused("convert magic.y4m out.png", "magic.y4m");
  ExpectRefused("convert huge.y4m out.png", "huge.y4m");
  ExpectRefused("convert short.uyvy out.png --size 16x16", "short.uyvy");
  ExpectRefused("convert short.uyvy out.png", "short.uyvy");
  ExpectRefused("convert missing.y4m out.png", "missing.y4m");
  ExpectRefused("convert " + photo_ + " nowhere/out.png", "nowhere/out.png");
  ExpectRefused("convert " + photo_ + " out.xyz", "out.xyz");
  ExpectRefused("convert " + photo_ + " out.png --size 5", "--size");
  ExpectRefused("convert " + photo_ + " out.png --layout abc", "abc");
  ExpectRefused("convert " + photo_ + " out.png --depth 15", "15");
  ExpectRefused("convert " + photo_ + " out.png --threads 0", "--threads");
  ExpectRefused("convert " + photo_ + " out.png --member kv_algoX", "kv_algoX", 3);
  ExpectRefused("convert", "IN");
  ExpectRefused("nonsense", "nonsense: no such command");
  ExpectRefused("", "--help");
}

TEST_F(CommandLine, AFullDiskIsReported) {
  const Outcome outcome = Kv("convert " + photo_ + " /dev/full --to-format uyvy");
  EXPECT_EQ(outcome.status, 2);
  EXPECT_EQ(outcome.ErrorLines(), 1) << outcome.err;
}

TEST_F(CommandLine, AClosedPipeIsReported) {
  RunShell(folder_,
           "{ \"$KV\" convert " + photo_ + " - --to-format uyvy 2>message; echo $? >status; } | true");
  EXPECT_EQ(ReadFile(folder_ / "status"), "2\n");
  EXPECT_EQ(ReadFile(folder_ / "message").find("kv: "), 0U) << ReadFile(folder_ / "message");
}

TEST_F(CommandLine, HelpShowsAnExampleForEachCommand) {
  EXPECT_EQ(Kv("--help").status, 0);
  for (const char* command : {"convert", "members", "copy-roi", "diff", "average", "filter", "blend",
                              "alpha-color", "alpha-prob", "parity", "pan", "find"}) {
    const Outcome help = Kv(std::string(command) + " --help");
    EXPECT_EQ(help.status, 0) << command;
    EXPECT_NE(help.out.find("Example: "), std::string::npos) << command;
  }
}

}  // namespace
