// Grey pictures are of full range: their bytes stay as they are wherever grey meets RGB, and the luma that
// operations work on is never scaled.

#include <gtest/gtest.h>

#include "host/formats/picture_reader.h"
#include "host/formats/picture_writer.h"
#include "tests/host/program.h"
#include "tests/support/random.h"
#include "tests/support/temp_folder.h"

namespace {

using namespace kv_host;
using kv_test::Outcome;

class Ranges : public testing::Test {
 protected:
  void SetUp() override {
    Raster grey = MakeRaster(RasterKind::Grey8, 64, 12);
    for (std::size_t i = 0; i < grey.planes[0].bytes.size(); ++i) {
      grey.planes[0].bytes[i] = static_cast<std::uint8_t>(i);
    }
    Write("grey.pgm", grey);
    greys_ = grey.planes[0].bytes;
  }
  void Done(const std::string& arguments) const {
    const Outcome outcome = kv_test::RunKv(folder_, arguments);
    ASSERT_EQ(outcome.status, 0) << arguments << ": " << outcome.err;
  }
  void ExpectRefused(const std::string& arguments, const std::string& words) const {
    const Outcome outcome = kv_test::RunKv(folder_, arguments);
    EXPECT_EQ(outcome.status, 2) << arguments;
    EXPECT_NE(outcome.err.find(words), std::string::npos) << outcome.err;
    EXPECT_EQ(outcome.ErrorLines(), 1);
  }
  Raster Read(const std::string& name) const { return *PictureReader((folder_ / name).string()).Next(); }
  void Write(const std::string& name, const Raster& raster) const {
    PictureWriter writer((folder_ / name).string());
    writer.Write(raster);
    writer.Commit();
  }
  /// The greys of a picture whose red, green and blue are equal; of 4:2:2 the luma.
  std::vector<std::uint8_t> GreysOf(const std::string& name) const {
    const Raster picture = Read(name);
    const auto& bytes = picture.planes[0].bytes;
    if (picture.kind != RasterKind::Dib24 && picture.kind != RasterKind::Dib32) return bytes;
    const std::size_t step = picture.kind == RasterKind::Dib24 ? 3 : 4;
    std::vector<std::uint8_t> greys;
    for (std::size_t i = 0; i < bytes.size(); i += step) {
      EXPECT_TRUE(bytes[i] == bytes[i + 1] && bytes[i] == bytes[i + 2]) << name << " at " << i / step;
      if (step == 4) {
        EXPECT_EQ(bytes[i + 3], 255);
      }
      greys.push_back(bytes[i]);
    }
    return greys;
  }

  const kv_test::TempFolder temp_;
  const std::filesystem::path folder_ = temp_.Path();
  std::vector<std::uint8_t> greys_;
};

TEST_F(Ranges, GreysAreTheSameInEveryFormat) {
  for (const char* file : {"a.ppm", "a.pnm", "a.bmp", "a.y4m --range full", "b.y4m --exact-copy"}) {
    Done(std::string("convert grey.pgm ") + file);
    const std::string name(file, 5);
    EXPECT_EQ(GreysOf(name), greys_) << file;
    Done("convert " + name + " back.pgm");
    EXPECT_EQ(GreysOf("back.pgm"), greys_) << file;
  }
  for (const char* depth : {"8", "24", "32"}) {
    Done(std::string("convert grey.pgm deep.bmp --depth ") + depth);
    EXPECT_EQ(GreysOf("deep.bmp"), greys_) << depth;
    Done("convert deep.bmp back.pgm");
    EXPECT_EQ(GreysOf("back.pgm"), greys_) << depth;
  }
}

TEST_F(Ranges, FewBitsKeepTheUpperOnes) {
  Done("convert grey.pgm 15.bmp --depth 15");
  Done("convert grey.pgm 16.bmp --depth 16");
  const Raster low = Read("15.bmp");
  const Raster high = Read("16.bmp");
  for (std::size_t i = 0; i < greys_.size(); ++i) {
    const unsigned five = greys_[i] / 8U;
    const unsigned six = greys_[i] / 4U;
    const auto wordOf = [&](const Raster& picture) {
      return picture.planes[0].bytes[2 * i] + 256U * picture.planes[0].bytes[2 * i + 1];
    };
    ASSERT_EQ(wordOf(low), five * 1024 + five * 32 + five);
    ASSERT_EQ(wordOf(high), five * 2048 + six * 32 + five);
  }
}

TEST_F(Ranges, ColoursBecomeGreyByOneIntegerRule) {
  Raster colour = MakeRaster(RasterKind::Dib24, 33, 7);
  kv_test::Random random(31);
  for (std::uint8_t& value : colour.planes[0].bytes) value = static_cast<std::uint8_t>(random.Next());
  const std::uint8_t corners[] = {255, 255, 255, 0, 0, 0, 0, 0, 255, 0, 255, 0, 255, 0, 0};
  std::ranges::copy(corners, colour.planes[0].bytes.begin());
  Write("colour.ppm", colour);
  Done("convert colour.ppm grey.pgm");
  const auto greys = GreysOf("grey.pgm");
  const std::uint8_t known[] = {255, 0, 76, 150, 29};  // white, black, red, green, blue
  EXPECT_TRUE(std::ranges::equal(std::span(greys).first(5), known));
  for (std::size_t i = 0; i < greys.size(); ++i) {
    const auto* bytes = &colour.planes[0].bytes[3 * i];
    const double exact = 0.299 * bytes[2] + 0.587 * bytes[1] + 0.114 * bytes[0];
    ASSERT_NEAR(greys[i], exact, 0.502) << i;
  }
}

TEST_F(Ranges, GreyBecomesVideoOfLimitedRange) {
  Done("convert grey.pgm grey.y4m");
  const Raster video = Read("grey.y4m");
  EXPECT_EQ(video.range, ColourRange::Limited);
  for (std::size_t i = 0; i < greys_.size(); ++i) {
    ASSERT_NEAR(video.planes[0].bytes[i], 16 + greys_[i] * 219.0 / 255, 0.5001) << i;
  }
  for (const int plane : {1, 2}) {
    for (const int value : video.planes[static_cast<std::size_t>(plane)].bytes) ASSERT_EQ(value, 128);
  }
  for (const char* output : {"back.pgm", "back.ppm"}) {
    Done(std::string("convert grey.y4m ") + output);
    const auto back = GreysOf(output);
    for (std::size_t i = 0; i < greys_.size(); ++i) ASSERT_NEAR(back[i], greys_[i], 1) << output << i;
    EXPECT_EQ(back[255], 255);
    EXPECT_EQ(back[256], 0);
  }
}

TEST_F(Ranges, GreyVideoByCopySaysThatItIsFullRange) {
  Done("convert grey.pgm grey.y4m --exact-copy");
  EXPECT_NE(kv_test::ReadFile(folder_ / "grey.y4m").find(" XCOLORRANGE=FULL"), std::string::npos);
  const Raster video = Read("grey.y4m");
  EXPECT_EQ(video.planes[0].bytes, greys_);
  for (const int plane : {1, 2}) {
    for (const int value : video.planes[static_cast<std::size_t>(plane)].bytes) ASSERT_EQ(value, 128);
  }
  for (const char* output : {"out.ppm", "out.bmp"}) {
    ExpectRefused(std::string("convert grey.y4m --exact-copy ") + output,
                  "full-range 4:2:2 cannot become RGB");
    EXPECT_FALSE(std::filesystem::exists(folder_ / output));
    Done(std::string("convert grey.y4m ") + output);
    EXPECT_EQ(GreysOf(output), greys_) << output;
  }
  Done("filter grey.y4m out.pgm --window 1");
  EXPECT_EQ(GreysOf("out.pgm"), greys_);
}

TEST_F(Ranges, TheRangeOfVideoGoesAlong) {
  Raster video = MakeRaster(RasterKind::Yuv422Planar, 16, 8);
  for (const ColourRange range : {ColourRange::Unknown, ColourRange::Limited, ColourRange::Full}) {
    video.range = range;
    Write("in.y4m", video);
    for (const char* arguments :
         {"convert in.y4m out.y4m", "parity in.y4m out.y4m", "filter in.y4m out.y4m --window 3",
          "pan in.y4m out.y4m --size 8x8 --frames 1 --direction left", "blend in.y4m in.y4m grey.pgm out.y4m",
          "copy-roi in.y4m in.y4m --from 0,0,4,4 -o out.y4m", "join in.y4m -o out.y4m"}) {
      Raster mask = MakeRaster(RasterKind::Grey8, 16, 8);
      Write("grey.pgm", mask);
      Done(arguments);
      EXPECT_EQ(Read("out.y4m").range, range) << arguments;
    }
  }
}

TEST_F(Ranges, CommandsOnGreyPicturesScaleNothing) {
  // Rows of one grey each: a box one pixel wide, half a line and a pan leave their middle alone.
  Raster rows = MakeRaster(RasterKind::Grey8, 64, 6);
  for (int y = 0; y < 6; ++y) {
    for (std::size_t x = 0; x < 64; ++x) rows.planes[0].Row(y)[x] = static_cast<std::uint8_t>(x * 255 / 63);
  }
  Write("rows.pgm", rows);
  const auto& bytes = rows.planes[0].bytes;
  for (const char* arguments :
       {"filter rows.pgm out.ppm --window 1", "average rows.pgm rows.pgm out.ppm --region-b 0,0,1,1",
        "pan rows.pgm out.ppm --size 64x6 --frames 1 --direction right",
        "blend rows.pgm rows.pgm rows.pgm out.ppm",
        "copy-roi rows.pgm rows.pgm --from 3,1,20,4 -o out.ppm"}) {
    Done(arguments);
    EXPECT_EQ(GreysOf("out.ppm"), bytes) << arguments;
  }
  Done("parity rows.pgm out.ppm --method blend");
  const auto moved = GreysOf("out.ppm");
  for (std::size_t i = 0; i < bytes.size(); ++i) ASSERT_LE(bytes[i] - moved[i], 1) << i;
  Write("zero.pgm", MakeRaster(RasterKind::Grey8, 64, 6));
  Done("diff rows.pgm zero.pgm out.ppm");
  EXPECT_EQ(GreysOf("out.ppm"), bytes);
}

TEST_F(Ranges, GreyAndColourOfOnePictureAreEqual) {
  Done("convert grey.pgm colour.ppm");
  for (const char* pair : {"grey.pgm colour.ppm", "colour.ppm grey.pgm"}) {
    Done(std::string("diff ") + pair + " out.pgm");
    for (const int value : GreysOf("out.pgm")) ASSERT_EQ(value, 0) << pair;
    const Outcome found =
        kv_test::RunKv(folder_, std::string("find ") + pair + " --at 30,6 --half 8x3 --range 4x2");
    EXPECT_EQ(found.out, "found at 30,6 with a mean difference of 0\n") << found.err;
  }
  // Beside a colour picture a grey one is brought to the range of 4:2:2, so black and white stay what they
  // are.
  Write("mask.pgm", MakeRaster(RasterKind::Grey8, 64, 12));
  Done("blend grey.pgm colour.ppm mask.pgm out.ppm");
  Done("blend colour.ppm colour.ppm mask.pgm expected.ppm");
  EXPECT_EQ(Read("out.ppm").planes, Read("expected.ppm").planes);
}

TEST_F(Ranges, ColourTakesTheRangeOfTheVideoItMeets) {
  Raster white = MakeRaster(RasterKind::Dib24, 64, 12);
  std::ranges::fill(white.planes[0].bytes, std::uint8_t{255});
  Write("white.ppm", white);
  Raster mask = MakeRaster(RasterKind::Grey8, 64, 12);
  std::ranges::fill(mask.planes[0].bytes, std::uint8_t{255});
  Write("mask.pgm", mask);
  Raster video = MakeRaster(RasterKind::Yuv422Planar, 64, 12);
  std::ranges::fill(video.planes[1].bytes, std::uint8_t{128});
  std::ranges::fill(video.planes[2].bytes, std::uint8_t{128});
  for (const auto& [range, code] :
       {std::pair{ColourRange::Full, 255}, std::pair{ColourRange::Limited, 235}}) {
    video.range = range;
    Write("video.y4m", video);
    for (const char* picture : {"white.ppm", "mask.pgm"}) {
      Done(std::string("blend ") + picture + " video.y4m mask.pgm out.y4m");
      EXPECT_EQ(Read("out.y4m").range, range) << picture;
      Done(std::string("copy-roi ") + picture + " video.y4m --from 0,0,8,8 -o out.y4m");
      EXPECT_EQ(Read("out.y4m").planes[0].bytes[65], code) << picture;
      Done(std::string("copy-roi video.y4m ") + picture + " --from 0,0,8,8 -o out.ppm");
      EXPECT_EQ(Read("out.ppm").planes[0].bytes[0], 0) << picture;
    }
  }
}

TEST_F(Ranges, VideosOfDifferentRangesDoNotMeet) {
  Raster video = MakeRaster(RasterKind::Yuv422Planar, 64, 12);
  Write("limited.y4m", video);
  video.range = ColourRange::Full;
  Write("full.y4m", video);
  Done("convert limited.y4m colour.ppm");
  const auto expectRefused = [&](const std::string& other, const std::string& option) {
    ExpectRefused("blend full.y4m " + other + " grey.pgm out.y4m" + option, "is full-range 4:2:2");
    ExpectRefused("blend " + other + " full.y4m grey.pgm out.y4m" + option, "is full-range 4:2:2");
    ExpectRefused("copy-roi full.y4m " + other + " --from 0,0,4,4 -o out.y4m" + option,
                  "is full-range 4:2:2");
  };
  expectRefused("limited.y4m", "");
  expectRefused("limited.y4m", " --exact-copy");
  expectRefused("colour.ppm", " --exact-copy");
  Done("blend full.y4m grey.pgm grey.pgm out.y4m");
  EXPECT_EQ(Read("out.y4m").range, ColourRange::Full);
}

}  // namespace
