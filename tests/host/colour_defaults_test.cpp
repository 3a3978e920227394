// What kv does about colours when nobody says: by which rule, with which assumptions, and that it says so.

#include <gtest/gtest.h>

#include <array>
#include <nlohmann/json.hpp>

#include "host/formats/picture_reader.h"
#include "host/formats/picture_writer.h"
#include "tests/host/program.h"
#include "tests/support/random.h"
#include "tests/support/temp_folder.h"

namespace {

using namespace kv_host;
using kv_test::Outcome;

/// A line without its end, which differs from system to system; more than one line stays as it is.
std::string LineOf(const std::string& text) {
  const std::size_t end = text.find_first_of("\r\n");
  return text.find('\n') + 1 == text.size() ? text.substr(0, end) : text;
}

class ColourDefaults : public testing::Test {
 protected:
  Outcome Kv(const std::string& arguments) const { return kv_test::RunKv(temp_.Path(), arguments); }
  void Done(const std::string& arguments) const {
    const Outcome outcome = Kv(arguments);
    ASSERT_EQ(outcome.status, 0) << arguments << ": " << outcome.err;
  }
  nlohmann::json ReportOf(const std::string& arguments) const {
    return nlohmann::json::parse(Kv(arguments + " --json").out);
  }
  Raster Read(const std::string& name) const { return *PictureReader((temp_.Path() / name).string()).Next(); }
  std::string Bytes(const std::string& name) const { return kv_test::ReadFile(temp_.Path() / name); }
  void Write(const std::string& name, const Raster& raster) const {
    PictureWriter writer((temp_.Path() / name).string());
    writer.Write(raster);
    writer.Commit();
  }
  void WriteNoise(const std::string& name, RasterKind kind, int width, int height,
                  ColourRange range = ColourRange::Unknown) const {
    kv_test::Random random(static_cast<std::uint32_t>(3 * width + height));
    Raster noise = MakeRaster(kind, width, height);
    for (Plane& plane : noise.planes) random.Fill(plane.bytes);
    if (range != ColourRange::Unknown) noise.range = range;
    Write(name, noise);
  }
  /// A picture of one colour.
  void WriteFlat(const std::string& name, int width, int height, std::array<std::uint8_t, 3> bgr) const {
    Raster flat = MakeRaster(RasterKind::Dib24, width, height);
    for (std::size_t i = 0; i < flat.planes[0].bytes.size(); ++i) flat.planes[0].bytes[i] = bgr[i % 3];
    Write(name, flat);
  }

  const kv_test::TempFolder temp_;
};

TEST_F(ColourDefaults, AreTheMatrixByHeightLimitedLeftAndLinear) {
  for (const auto& [height, matrix] : {std::pair{576, "601"}, std::pair{577, "709"}}) {
    WriteNoise("in.y4m", RasterKind::Yuv422Planar, 19, height);
    WriteNoise("in.bmp", RasterKind::Dib24, 19, height);
    const std::string all =
        std::string(" --range limited --chroma left --resample linear --matrix ") + matrix;
    for (const auto& [from, to] : {std::pair{"in.y4m", ".bmp"}, std::pair{"in.y4m", ".pgm"},
                                   std::pair{"in.bmp", ".y4m"}, std::pair{"in.bmp", ".uyvy"}}) {
      Done(std::string("convert ") + from + " default" + to);
      Done(std::string("convert ") + from + " named" + to + all);
      EXPECT_EQ(Bytes(std::string("default") + to), Bytes(std::string("named") + to)) << from << to;
    }
    const auto colours = ReportOf("convert in.y4m out.bmp")["colours"];
    ASSERT_EQ(colours.size(), 1U);
    EXPECT_EQ(
        colours[0].dump(),
        std::string(R"({"chroma":{"from":"default","value":"left"},"matrix":{"from":"height","value":")") +
            matrix +
            R"("},"range":{"from":"default","value":"limited"},"resample":{"from":"default",)"
            R"("value":"linear"},"to":"rgb","transfer":null})");
    EXPECT_EQ(ReportOf("convert in.y4m out.pgm")["colours"][0]["to"], "grey");
    EXPECT_EQ(ReportOf("convert in.bmp out.y4m")["colours"][0]["to"], "yuv");
  }
}

TEST_F(ColourDefaults, VerboseSaysWhatWasAssumedAndWhy) {
  WriteNoise("in.y4m", RasterKind::Yuv422Planar, 16, 8, ColourRange::Full);
  const Outcome outcome = Kv("convert in.y4m out.ppm --verbose --chroma centre");
  EXPECT_EQ(LineOf(outcome.err),
            "kv: 4:2:2 to RGB: matrix 601 (height), range full (source), chroma centre (option), "
            "resample linear (default)");
  EXPECT_EQ(outcome.out, "");
  EXPECT_EQ(Kv("convert in.y4m out.uyvy --verbose").err, "");
  EXPECT_EQ(Kv("convert in.y4m out.ppm --exact-copy --range full").status, 2);
  // In a report it says so already.
  EXPECT_EQ(Kv("convert in.y4m out.ppm --verbose --json").err, "");
}

TEST_F(ColourDefaults, ExactCopyIsCopyAlone) {
  WriteNoise("in.y4m", RasterKind::Yuv422Planar, 24, 8);
  WriteNoise("in.bmp", RasterKind::Dib24, 24, 8);
  const auto algorithms = [&](const std::string& arguments) {
    std::string names;
    const auto report = ReportOf(arguments);
    for (const auto& operation : report["operations"])
      names += operation["algorithm"].get<std::string>() + " ";
    EXPECT_EQ(report["colours"].empty(), names.find("ColorConversion") == std::string::npos);
    return names;
  };
  EXPECT_EQ(algorithms("convert in.y4m out.bmp --exact-copy"), "Copy ");
  EXPECT_EQ(algorithms("convert in.y4m out.bmp --exact-copy --depth 16"), "Copy ");
  EXPECT_EQ(algorithms("convert in.bmp out.y4m --exact-copy"), "Copy ");
  EXPECT_EQ(algorithms("convert in.y4m out.bmp"), "Copy ColorConversion ");  // planes to pairs, then colours
  EXPECT_EQ(algorithms("convert in.bmp out.y4m"), "ColorConversion ");
  Done("convert in.y4m copied.bmp --exact-copy");
  Done("convert in.y4m converted.bmp");
  EXPECT_NE(Bytes("copied.bmp"), Bytes("converted.bmp"));
}

#if !defined(__aarch64__)  // There every member can.
TEST_F(ColourDefaults, TheMemberWithoutItNamesWhatHelps) {
  WriteNoise("in.y4m", RasterKind::Yuv422Planar, 16, 8);
  const Outcome outcome = Kv("convert in.y4m out.ppm --member kv_algoMMX");
  EXPECT_EQ(outcome.status, 3);
  EXPECT_EQ(
      LineOf(outcome.err),
      "kv: no member of the family offers ColorConversion for these pictures (only kv_algoMMX was asked); "
      "--exact-copy converts by \"Copy\", the rule of standard definition");
  Done("convert in.y4m out.ppm --member kv_algoMMX --exact-copy");
  for (const char* member : {"kv_algoSSE2", "kv_algoC"}) {
    Done(std::string("convert in.y4m there.ppm --member ") + member);
    Done(std::string("convert there.ppm back.y4m --member ") + member);
  }
}
#endif

TEST_F(ColourDefaults, VideoOfFullRangeIsConverted) {
  WriteNoise("full.y4m", RasterKind::Yuv422Planar, 33, 8, ColourRange::Full);
  for (const char* file : {"a.ppm", "a.bmp", "a.pgm"}) {
    Done(std::string("convert full.y4m ") + file);
    Done(std::string("convert full.y4m named-") + file + " --range full");
    EXPECT_EQ(Bytes(file), Bytes(std::string("named-") + file));
  }
  EXPECT_EQ(Read("a.pgm").planes[0], Read("full.y4m").planes[0]);
}

TEST_F(ColourDefaults, ChromaIsWhereY4mDeclaresIt) {
  WriteNoise("in.ppm", RasterKind::Dib24, 33, 8);
  Done("convert in.ppm centre.y4m --chroma centre");
  EXPECT_NE(Bytes("centre.y4m").find(" C422jpeg "), std::string::npos);
  Done("convert in.ppm left.y4m");
  EXPECT_NE(Bytes("left.y4m").find(" C422 "), std::string::npos);
  const auto colours = ReportOf("convert centre.y4m out.ppm")["colours"][0];
  EXPECT_EQ(colours["chroma"].dump(), R"({"from":"source","value":"centre"})");
  Done("convert centre.y4m named.ppm --chroma centre");
  EXPECT_EQ(Bytes("out.ppm"), Bytes("named.ppm"));
  const auto byOption = ReportOf("convert centre.y4m out.ppm --chroma left")["colours"][0];
  EXPECT_EQ(byOption["chroma"].dump(), R"({"from":"option","value":"left"})");
  Done("parity centre.y4m moved.y4m");
  EXPECT_NE(Bytes("moved.y4m").find(" C422jpeg "), std::string::npos);
}

TEST_F(ColourDefaults, EveryCommandKeepsFlatColours) {
  // Encoded with one matrix and read with another, none of these came back.
  const std::array<std::uint8_t, 3> skin = {103, 140, 224};
  for (const int height : {64, 640}) {
    WriteFlat("skin.bmp", 64, height, skin);
    Raster mask = MakeRaster(RasterKind::Grey8, 64, height);
    std::ranges::fill(mask.planes[0].bytes, std::uint8_t{128});
    Write("mask.bmp", mask);
    for (const char* arguments :
         {"convert skin.bmp mid.y4m", "pan skin.bmp out.bmp --size 32x32 --frames 1 --direction left",
          "pan skin.bmp mid.y4m --size 64x32 --frames 1 --direction down", "parity skin.bmp out.bmp",
          "blend skin.bmp skin.bmp mask.bmp out.bmp", "copy-roi skin.bmp skin.bmp --from 3,3,7,9 -o out.bmp",
          "join skin.bmp -o mid.y4m", "blend skin.bmp skin.bmp mask.bmp mid.y4m"}) {
      Done(arguments);
      if (std::string(arguments).find("mid.y4m") != std::string::npos) Done("convert mid.y4m out.bmp");
      const Raster out = Read("out.bmp");
      for (std::size_t i = 0; i < out.planes[0].bytes.size(); ++i) {
        ASSERT_NEAR(out.planes[0].bytes[i], skin[i % 3], 4) << arguments << " at byte " << i;
      }
    }
  }
}

TEST_F(ColourDefaults, RegionsGoIntoPicturesOfOtherHeights) {
  const std::array<std::uint8_t, 3> red = {10, 20, 230};
  WriteFlat("tall.bmp", 32, 720, red);
  WriteFlat("low.bmp", 32, 48, {200, 90, 10});
  Done("convert tall.bmp tall.y4m");
  for (const char* source : {"tall.bmp", "tall.y4m"}) {
    for (const char* place : {"7,9", "8,9", "0,0", "21,30"}) {
      Done(std::string("copy-roi ") + source + " low.bmp --from 5,2,11,7 -o out.bmp --to " + place);
      const Raster out = Read("out.bmp");
      std::size_t count = 0;
      for (std::size_t i = 0; i < out.planes[0].bytes.size(); i += 3) {
        const auto* pixel = &out.planes[0].bytes[i];
        if (pixel[0] == 200 && pixel[1] == 90 && pixel[2] == 10) continue;
        ++count;
        for (std::size_t c = 0; c < 3; ++c)
          ASSERT_NEAR(pixel[c], red[c], 2) << source << place << " " << i / 3;
      }
      EXPECT_EQ(count, 77U) << source << place;
    }
  }
}

TEST_F(ColourDefaults, AlphaIsKept) {
  for (const int width : {1, 2, 7, 33}) {
    WriteNoise("in.bmp", RasterKind::Dib32, width, 5);
    Done("convert in.bmp mid.uyvya");
    Done("convert mid.uyvya out.bmp --depth 32 --size " + std::to_string(width) + "x5");
    const Raster in = Read("in.bmp");
    const Raster out = Read("out.bmp");
    for (std::size_t i = 3; i < in.planes[0].bytes.size(); i += 4) {
      ASSERT_EQ(out.planes[0].bytes[i], in.planes[0].bytes[i]) << width;
    }
    // Without alpha the colours are the same.
    Done("convert mid.uyvya out.ppm --size " + std::to_string(width) + "x5");
    const Raster opaque = Read("out.ppm");
    for (std::size_t i = 0; i < opaque.planes[0].bytes.size(); ++i) {
      ASSERT_EQ(opaque.planes[0].bytes[i], out.planes[0].bytes[i / 3 * 4 + i % 3]) << width;
    }
  }
}

TEST_F(ColourDefaults, OptionsThatNothingTakesAreRefusedByEveryCommand) {
  WriteNoise("a.y4m", RasterKind::Yuv422Planar, 32, 16);
  WriteNoise("m.pgm", RasterKind::Grey8, 32, 16);
  for (const char* arguments :
       {"convert a.y4m b.y4m", "diff a.y4m a.y4m d.pgm", "average a.y4m a.y4m d.pgm",
        "filter a.y4m d.pgm --window 3", "blend a.y4m a.y4m m.pgm b.y4m",
        "alpha-color a.y4m a.y4m d.pgm --window 3", "alpha-prob m.pgm m.pgm d.pgm --window 3",
        "parity a.y4m b.y4m", "join a.y4m -o b.y4m", "pan a.y4m b.y4m --size 8x8 --frames 1 --direction left",
        "copy-roi a.y4m a.y4m --from 0,0,4,4 -o b.y4m",
        "find a.y4m a.y4m --at 16,8 --half 4x4 --range 2x2"}) {
    const Outcome outcome = Kv(std::string(arguments) + " --matrix 709");
    EXPECT_EQ(outcome.status, 2) << arguments;
    EXPECT_NE(outcome.err.find("there was none"), std::string::npos) << outcome.err;
    EXPECT_FALSE(std::filesystem::exists(temp_.Path() / "b.y4m")) << arguments;
    EXPECT_FALSE(std::filesystem::exists(temp_.Path() / "d.pgm")) << arguments;
    Done(std::string(arguments) + " --exact-copy");
    std::filesystem::remove(temp_.Path() / "b.y4m");
    std::filesystem::remove(temp_.Path() / "d.pgm");
  }
}

TEST_F(ColourDefaults, PicturesAreFoundInVideo) {
  WriteNoise("a.bmp", RasterKind::Dib24, 64, 48);
  Done("convert a.bmp a.y4m --range full --matrix 2020");
  const std::string where = " --at 30,20 --half 8x8 --range 4x4";
  // The video is of full range and declares it; its matrix is not declared.
  EXPECT_TRUE(Kv("find a.bmp a.y4m --matrix 2020" + where).out.starts_with("found at 30,20 with a mean"))
      << "rgb";
  EXPECT_EQ(Kv("find a.y4m a.bmp --matrix 2020" + where).out, "found at 30,20 with a mean difference of 0\n");
  EXPECT_EQ(Kv("find a.y4m a.bmp --colour-range wide" + where).status, 2);
}

/// The check value of a PNG chunk.
std::uint32_t Crc(const std::string& bytes) {
  std::uint32_t crc = ~0U;
  for (const char byte : bytes) {
    crc ^= static_cast<unsigned char>(byte);
    for (int bit = 0; bit < 8; ++bit) crc = (crc & 1U) != 0 ? (crc >> 1U) ^ 0xEDB88320U : crc >> 1U;
  }
  return ~crc;
}
std::string BigEndian(std::uint32_t value) {
  std::string bytes;
  for (const unsigned shift : {24U, 16U, 8U, 0U}) bytes += static_cast<char>(value >> shift & 255U);
  return bytes;
}
/// The file with a cICP chunk after its header.
std::string WithCodePoints(const std::string& png, const std::string& points) {
  constexpr std::size_t afterHeader = 33;
  const std::string chunk = "cICP" + points;
  return png.substr(0, afterHeader) + BigEndian(static_cast<std::uint32_t>(points.size())) + chunk +
         BigEndian(Crc(chunk)) + png.substr(afterHeader);
}

TEST_F(ColourDefaults, WhatPngDeclaresIsKeptOrRefused) {
  WriteNoise("plain.png", RasterKind::Dib24, 16, 8);
  const std::string plain = Bytes("plain.png");
  const auto declare = [&](std::initializer_list<int> points) {
    std::string bytes;
    for (const int point : points) bytes += static_cast<char>(point);
    kv_test::WriteFile(temp_.Path() / "in.png", WithCodePoints(plain, bytes));
  };
  for (const auto& [matrix, words] :
       {std::pair{10, "constant luminance"}, std::pair{13, "constant luminance"}, std::pair{14, "ICtCp"},
        std::pair{1, "luma and chroma"}}) {
    declare({9, 16, matrix, 1});
    const Outcome outcome = Kv("convert in.png out.y4m");
    EXPECT_EQ(outcome.status, 2);
    EXPECT_NE(outcome.err.find(words), std::string::npos) << outcome.err;
  }
  declare({1, 13, 0, 0});
  EXPECT_NE(Kv("convert in.png out.y4m").err.find("limited range"), std::string::npos);

  for (const auto& [transfer, name, note] : {std::tuple{16, "pq", "PQ"}, std::tuple{18, "hlg", "HLG"}}) {
    declare({9, transfer, 0, 1});
    const Outcome outcome = Kv("convert in.png out.y4m");
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.err, std::string("kv: the picture declares the transfer function ") + note +
                               ", which stays as it is\n");
    const auto colours = ReportOf("convert in.png out.y4m")["colours"][0];
    EXPECT_EQ(colours["transfer"], name);
    EXPECT_EQ(colours["matrix"].dump(), R"({"from":"source","value":"2020"})");
    // Samples and declaration go through.
    Done("convert in.png through.png");
    EXPECT_EQ(Read("through.png").planes, Read("in.png").planes);
    EXPECT_NE(Bytes("through.png").find(std::string("cICP\x09") + static_cast<char>(transfer)),
              std::string::npos);
    EXPECT_EQ(Bytes("through.png").find("sRGB"), std::string::npos);
  }
  declare({1, 13, 0, 1});
  EXPECT_EQ(Kv("convert in.png out.y4m").err, "");
  EXPECT_EQ(ReportOf("convert in.png out.y4m")["colours"][0]["matrix"]["from"], "height");
}

}  // namespace
