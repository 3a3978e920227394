// 4:2:2, RGB and grey by "ColorConversion": --matrix, --range, --chroma and --resample.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <nlohmann/json.hpp>

#include "host/formats/picture_reader.h"
#include "host/formats/picture_writer.h"
#include "tests/host/program.h"
#include "tests/support/random.h"
#include "tests/support/temp_folder.h"

namespace {

using namespace kv_host;
using kv_test::Outcome;

struct Matrix {
  const char* name;
  double kr;
  double kb;
};
constexpr Matrix matrices[] = {{"601", 0.299, 0.114}, {"709", 0.2126, 0.0722}, {"2020", 0.2627, 0.0593}};

struct Spans {
  const char* name;
  double black;
  double luma;
  double chroma;
};
constexpr Spans spans[] = {{"limited", 16, 219, 224}, {"full", 0, 255, 255}};

class ColourOptions : public testing::Test {
 protected:
  Outcome Kv(const std::string& arguments) const { return kv_test::RunKv(temp_.Path(), arguments); }
  void Done(const std::string& arguments) const {
    const Outcome outcome = Kv(arguments);
    ASSERT_EQ(outcome.status, 0) << arguments << ": " << outcome.err;
  }
  Raster Read(const std::string& name) const { return *PictureReader((temp_.Path() / name).string()).Next(); }
  void Write(const std::string& name, const Raster& raster) const {
    PictureWriter writer((temp_.Path() / name).string());
    writer.Write(raster);
    writer.Commit();
  }
  Raster Video(int width, int height) const {
    kv_test::Random random(static_cast<std::uint32_t>(width + height));
    Raster video = MakeRaster(RasterKind::Yuv422Planar, width, height);
    for (Plane& plane : video.planes) random.Fill(plane.bytes);
    return video;
  }
  nlohmann::json ColoursOf(const std::string& arguments) const {
    return nlohmann::json::parse(Kv(arguments + " --json").out)["colours"];
  }

  const kv_test::TempFolder temp_;
};

double Clamped(double value) {
  return std::clamp(value, 0.0, 255.0);
}

TEST_F(ColourOptions, RgbIsThatOfTheFormula) {
  Raster grid = MakeRaster(RasterKind::Yuv422Planar, 512, 64);
  for (int row = 0; row < 64; ++row) {
    for (std::size_t x = 0; x < 512; ++x) {
      grid.planes[0].Row(row)[x] = static_cast<std::uint8_t>(x / 2);
      grid.planes[1].Row(row)[x / 2] = static_cast<std::uint8_t>(row % 8 * 36);
      grid.planes[2].Row(row)[x / 2] = static_cast<std::uint8_t>(row / 8 * 36 + 2);
    }
  }
  Write("grid.y4m", grid);
  for (const Matrix& matrix : matrices) {
    for (const Spans& range : spans) {
      Done(std::string("convert grid.y4m out.ppm --resample nearest --matrix ") + matrix.name + " --range " +
           range.name);
      const Raster rgb = Read("out.ppm");
      const double kg = 1 - matrix.kr - matrix.kb;
      for (int row = 0; row < 64; ++row) {
        for (std::size_t x = 0; x < 512; ++x) {
          const double luma = (grid.planes[0].Row(row)[x] - range.black) * 255 / range.luma;
          const double cb = (grid.planes[1].Row(row)[x / 2] - 128) * 255 / range.chroma;
          const double cr = (grid.planes[2].Row(row)[x / 2] - 128) * 255 / range.chroma;
          const double red = luma + 2 * (1 - matrix.kr) * cr;
          const double blue = luma + 2 * (1 - matrix.kb) * cb;
          const double green = (luma - matrix.kr * red - matrix.kb * blue) / kg;
          const auto* pixel = &rgb.planes[0].Row(row)[3 * x];
          ASSERT_NEAR(pixel[0], Clamped(blue), 1.01) << matrix.name << range.name << " " << x << "," << row;
          ASSERT_NEAR(pixel[1], Clamped(green), 1.01) << matrix.name << range.name << " " << x << "," << row;
          ASSERT_NEAR(pixel[2], Clamped(red), 1.01) << matrix.name << range.name << " " << x << "," << row;
        }
      }
    }
  }
}

TEST_F(ColourOptions, YuvIsThatOfTheFormulaAndDeclaresItsRange) {
  Raster grid = MakeRaster(RasterKind::Dib24, 64, 64);
  for (std::size_t i = 0; i < 64 * 32; ++i) {
    for (const std::size_t at : {6 * i, 6 * i + 3}) {
      grid.planes[0].bytes[at] = static_cast<std::uint8_t>(i % 12 * 23);
      grid.planes[0].bytes[at + 1] = static_cast<std::uint8_t>(i / 12 % 13 * 21);
      grid.planes[0].bytes[at + 2] = static_cast<std::uint8_t>(i / 156 * 19);
    }
  }
  Write("grid.ppm", grid);
  for (const Matrix& matrix : matrices) {
    for (const Spans& range : spans) {
      Done(std::string("convert grid.ppm out.y4m --resample nearest --matrix ") + matrix.name + " --range " +
           range.name);
      const Raster yuv = Read("out.y4m");
      EXPECT_EQ(yuv.range, range.black == 0 ? ColourRange::Full : ColourRange::Limited);
      for (std::size_t i = 0; i < 64 * 32; ++i) {
        const auto* pixel = &grid.planes[0].bytes[6 * i];
        const double luma =
            matrix.kr * pixel[2] + (1 - matrix.kr - matrix.kb) * pixel[1] + matrix.kb * pixel[0];
        const double cb = (pixel[0] - luma) / (2 * (1 - matrix.kb)) * range.chroma / 255 + 128;
        const double cr = (pixel[2] - luma) / (2 * (1 - matrix.kr)) * range.chroma / 255 + 128;
        ASSERT_NEAR(yuv.planes[0].bytes[2 * i], luma * range.luma / 255 + range.black, 1.01) << matrix.name;
        ASSERT_NEAR(yuv.planes[1].bytes[i], Clamped(cb), 1.01) << matrix.name;
        ASSERT_NEAR(yuv.planes[2].bytes[i], Clamped(cr), 1.01) << matrix.name;
      }
    }
  }
}

TEST_F(ColourOptions, TheMatrixFollowsTheHeight) {
  for (const auto& [height, matrix] : {std::pair{576, "601"}, std::pair{577, "709"}}) {
    Write("in.y4m", Video(16, height));
    const auto colours = ColoursOf("convert in.y4m out.ppm --resample linear");
    ASSERT_EQ(colours.size(), 1U);
    EXPECT_EQ(colours[0]["matrix"]["value"], matrix);
    EXPECT_EQ(colours[0]["matrix"]["from"], "height");
    EXPECT_EQ(colours[0]["resample"]["from"], "option");
    EXPECT_EQ(colours[0]["range"]["from"], "default");
    Done(std::string("convert in.y4m named.ppm --matrix ") + matrix);
    EXPECT_EQ(Read("out.ppm").planes, Read("named.ppm").planes) << height;
  }
}

TEST_F(ColourOptions, TheRangeIsTheFilesUnlessOneIsGiven) {
  Raster video = Video(16, 8);
  video.range = ColourRange::Full;
  Write("full.y4m", video);
  Done("convert full.y4m full.ppm --matrix 601");
  Done("convert full.y4m forced.ppm --range limited");
  video.range = ColourRange::Unknown;
  Write("unknown.y4m", video);
  Done("convert unknown.y4m given.ppm --range full");
  Done("convert unknown.y4m limited.ppm --matrix 601");
  EXPECT_EQ(Read("full.ppm").planes, Read("given.ppm").planes);
  EXPECT_EQ(Read("forced.ppm").planes, Read("limited.ppm").planes);
  EXPECT_NE(Read("full.ppm").planes, Read("limited.ppm").planes);
  EXPECT_EQ(ColoursOf("convert full.y4m again.ppm --matrix 601")[0]["range"]["from"], "source");
}

TEST_F(ColourOptions, EveryPixelOfOddWidthsIsWritten) {
  for (const int width : {1, 3, 17, 33}) {
    Raster white = MakeRaster(RasterKind::Dib24, width, 5);
    std::ranges::fill(white.planes[0].bytes, std::uint8_t{255});
    Write("white.ppm", white);
    for (const char* chroma : {"left", "centre"}) {
      Done(std::string("convert white.ppm white.y4m --matrix 709 --chroma ") + chroma);
      Done(std::string("convert white.y4m back.ppm --matrix 709 --chroma ") + chroma);
      EXPECT_EQ(Read("back.ppm").planes, white.planes) << width << chroma;
    }
  }
}

TEST_F(ColourOptions, LinearChromaIsThatOfItsPosition) {
  // Grey luma, one coloured pair: the right pixel of the pair before takes the mean, or a quarter of it.
  Raster video = MakeRaster(RasterKind::Yuv422Planar, 8, 1);
  std::ranges::fill(video.planes[0].bytes, std::uint8_t{100});
  video.planes[1].bytes = {128, 128, 128, 128};
  video.planes[2].bytes = {128, 168, 128, 128};
  Write("in.y4m", video);
  const auto reds = [&](const std::string& options) {
    Done("convert in.y4m out.ppm --range full " + options);
    std::vector<int> red;
    const Raster out = Read("out.ppm");
    for (std::size_t x = 0; x < 8; ++x) red.push_back(out.planes[0].bytes[3 * x + 2]);
    return red;
  };
  // 100 + 1.402 * 40, * 20, * 30, * 10.
  EXPECT_EQ(reds("--resample nearest"), (std::vector{100, 100, 156, 156, 100, 100, 100, 100}));
  EXPECT_EQ(reds("--chroma left"), (std::vector{100, 128, 156, 128, 100, 100, 100, 100}));
  EXPECT_EQ(reds("--chroma centre"), (std::vector{100, 114, 142, 142, 114, 100, 100, 100}));
}

TEST_F(ColourOptions, FewBitsKeepTheUpperOnes) {
  Write("in.y4m", Video(17, 5));
  Done("convert in.y4m 24.bmp --matrix 709");
  Done("convert in.y4m 16.bmp --matrix 709 --depth 16");
  const Raster whole = Read("24.bmp");
  const Raster few = Read("16.bmp");
  for (int row = 0; row < 5; ++row) {
    for (std::size_t x = 0; x < 17; ++x) {
      const auto* pixel = &whole.planes[0].Row(row)[3 * x];
      const unsigned expected = pixel[2] / 8U * 2048 + pixel[1] / 4U * 32 + pixel[0] / 8U;
      ASSERT_EQ(few.planes[0].Row(row)[2 * x] + 256U * few.planes[0].Row(row)[2 * x + 1], expected);
    }
  }
}

TEST_F(ColourOptions, MembersAndThreadsMakeNoDifference) {
  Write("in.y4m", Video(131, 37));
  Done("convert in.y4m one.ppm --matrix 709 --threads 1");
  Done("convert in.y4m three.ppm --matrix 709 --threads 3 --member kv_algoC");
  EXPECT_EQ(Read("one.ppm").planes, Read("three.ppm").planes);
}

TEST_F(ColourOptions, WhatCannotBeIsRefused) {
  Write("in.y4m", Video(16, 8));
  EXPECT_EQ(Kv("convert in.y4m out.ppm --matrix 470").status, 2);
  EXPECT_EQ(Kv("convert in.y4m out.ppm --range wide").status, 2);
  EXPECT_EQ(Kv("convert in.y4m out.ppm --chroma right").status, 2);
  EXPECT_EQ(Kv("convert in.y4m out.ppm --resample cubic").status, 2);
  for (const char* option : {"--matrix 601", "--range limited", "--chroma left", "--resample linear"}) {
    const Outcome mixed = Kv(std::string("convert in.y4m out.ppm --exact-copy ") + option);
    EXPECT_EQ(mixed.status, 2);
    EXPECT_NE(mixed.err.find("excludes"), std::string::npos) << mixed.err;
    const Outcome unused = Kv(std::string("convert in.y4m out.uyvy ") + option);
    EXPECT_EQ(unused.status, 2);
    EXPECT_NE(unused.err.find("there was none"), std::string::npos) << unused.err;
  }
  EXPECT_FALSE(std::filesystem::exists(temp_.Path() / "out.uyvy"));
}

TEST_F(ColourOptions, PngSaysThatItIsScreenRgb) {
  Write("in.y4m", Video(16, 8));
  for (const auto& [options, isMarked] :
       {std::pair{" --matrix 601", true}, std::pair{" --matrix 709", true},
        std::pair{" --matrix 2020", false}, std::pair{"", true}, std::pair{" --exact-copy", false}}) {
    ASSERT_EQ(Kv(std::string("convert in.y4m out.png") + options).status, 0) << options;
    EXPECT_EQ(kv_test::ReadFile(temp_.Path() / "out.png").find("sRGB") != std::string::npos, isMarked)
        << options;
  }
}

}  // namespace
