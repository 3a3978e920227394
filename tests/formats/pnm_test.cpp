#include "host/formats/pnm.h"

#include <gtest/gtest.h>

#include "tests/formats/support.h"

namespace kv_host {
namespace {

Raster Read(const std::string& content) {
  const TestFolder folder;
  WriteFile(folder / "x.pnm", ToBytes(content));
  return ReadAll(folder / "x.pnm").at(0);
}

std::string Refusal(const std::string& content) {
  const TestFolder folder;
  WriteFile(folder / "x.pnm", ToBytes(content));
  return FormatErrorText([&] { ReadAll(folder / "x.pnm"); });
}

TEST(Pnm, BinaryGrey) {
  const Raster raster = Read("P5\n3 2\n255\nabcdef");
  EXPECT_EQ(raster.kind, RasterKind::Grey8);
  EXPECT_EQ(raster.width, 3);
  EXPECT_EQ(raster.planes[0].bytes, ToBytes("abcdef"));
}

TEST(Pnm, BinaryColourIsBlueFirstInMemory) {
  const Raster raster = Read("P6 1 2 255 abcdef");
  EXPECT_EQ(raster.kind, RasterKind::Dib24);
  EXPECT_EQ(raster.planes[0].bytes, ToBytes("cbafed"));
}

TEST(Pnm, CommentsAnywhereInTheHeader) {
  EXPECT_EQ(Read("P5# a\n#b\n 3#c\r 2\t# d 99\n255\nabcdef").planes[0].bytes, ToBytes("abcdef"));
}

TEST(Pnm, OneByteEndsTheHeaderAndSamplesMayLookLikeSpace) {
  EXPECT_EQ(Read("P5 2 1 255\n\n#").planes[0].bytes, ToBytes("\n#"));
}

TEST(Pnm, PlainForms) {
  EXPECT_EQ(Read("P2 2 2 255\n0 10\n # note\n 200 255").planes[0].bytes, (Bytes{0, 10, 200, 255}));
  EXPECT_EQ(Read("P3 1 1 255 1 2 3").planes[0].bytes, (Bytes{3, 2, 1}));
  EXPECT_EQ(Read("P1 3 2 0101 1\n0").planes[0].bytes, (Bytes{255, 0, 255, 0, 0, 255}));
}

TEST(Pnm, PackedBitsStartEachRowOnAByte) {
  EXPECT_EQ(Read("P4 3 2 \xA0\x60").planes[0].bytes, (Bytes{0, 255, 0, 255, 0, 0}));
  EXPECT_EQ(Read("P4 9 1 \xFF\x7F").planes[0].bytes, (Bytes{0, 0, 0, 0, 0, 0, 0, 0, 255}));
}

TEST(Pnm, BadHeadersAreRefused) {
  EXPECT_NE(Refusal("P5 0 2 255 ").find("0x2 is out of range"), std::string::npos);
  EXPECT_NE(Refusal("P5 32769 2 255 ").find("out of range"), std::string::npos);
  EXPECT_NE(Refusal("P5 -3 2 255 ").find("a whole number was expected as the width"), std::string::npos);
  EXPECT_NE(Refusal("P5 99999999999999999999 2 255 ").find("the width is too large"), std::string::npos);
  EXPECT_NE(Refusal("P5 1 1 65535 aa").find("greatest value is 65535"), std::string::npos);
  EXPECT_NE(Refusal("P5 1 1 255a").find("white-space"), std::string::npos);
  EXPECT_NE(Refusal("P51 1 255 a").find("white space must follow"), std::string::npos);
  EXPECT_NE(Refusal("P7\nWIDTH 1").find("not a PNM file"), std::string::npos);
}

TEST(Pnm, BadSamplesAreRefused) {
  EXPECT_NE(Refusal("P2 1 1 255 256").find("sample 256"), std::string::npos);
  EXPECT_NE(Refusal("P2 1 1 255 x").find("whole number"), std::string::npos);
  EXPECT_NE(Refusal("P1 2 1 02").find("0 or 1"), std::string::npos);
}

TEST(Pnm, TruncatedSamplesAreCounted) {
  EXPECT_NE(Refusal("P6 2 2 255 abcde").find("byte 16: the file ends early: the picture lacks 7 of 12 bytes"),
            std::string::npos);
}

TEST(Pnm, BytesOfWrittenFiles) {
  const TestFolder folder;
  WriteAll(folder / "x.pgm", {Read("P5 3 2 255 abcdef")});
  EXPECT_EQ(FileBytes(folder / "x.pgm"), ToBytes("P5\n3 2\n255\nabcdef"));
  WriteAll(folder / "x.ppm", {Read("P6 1 2 255 abcdef")});
  EXPECT_EQ(FileBytes(folder / "x.ppm"), ToBytes("P6\n1 2\n255\nabcdef"));
}

TEST(Pnm, RoundTripsOfAllSmallSizes) {
  const TestFolder folder;
  for (const RasterKind kind : {RasterKind::Grey8, RasterKind::Dib24}) {
    for (int width = 1; width <= 9; ++width) {
      const Raster raster = RandomRaster(kind, width, 3);
      WriteAll(folder / "x.pnm", {raster});
      EXPECT_EQ(ReadAll(folder / "x.pnm"), std::vector{raster});
    }
  }
}

TEST(Pnm, PicturesOneBehindTheOther) {
  const TestFolder folder;
  WriteFile(folder / "x.pnm", ToBytes("P5 1 1 255 aP6 1 1 255 abcP5 2 1 255 xy"));
  const auto frames = ReadAll(folder / "x.pnm");
  ASSERT_EQ(frames.size(), 3U);
  EXPECT_EQ(frames[1].planes[0].bytes, ToBytes("cba"));
  EXPECT_EQ(frames[2].planes[0].bytes, ToBytes("xy"));
}

}  // namespace
}  // namespace kv_host
