#include "host/formats/y4m.h"

#include <gtest/gtest.h>

#include "host/formats/packing.h"
#include "host/formats/picture_reader.h"
#include "host/formats/picture_writer.h"
#include "tests/formats/support.h"

namespace kv_host {
namespace {

std::string RefusalOf(const std::string& content) {
  const TestFolder folder;
  WriteFile(folder / "in.y4m", ToBytes(content));
  return FormatErrorText([&] { ReadAll(folder / "in.y4m"); });
}

Raster OneFrameOf(const std::string& content) {
  const TestFolder folder;
  WriteFile(folder / "in.y4m", ToBytes(content));
  const auto frames = ReadAll(folder / "in.y4m");
  EXPECT_EQ(frames.size(), 1U);
  return frames.at(0);
}

Raster ThreeByTwo() {
  Raster frame = MakeRaster(RasterKind::Yuv422Planar, 3, 2);
  frame.planes[0].bytes = ToBytes("abcdef");
  frame.planes[1].bytes = ToBytes("ghij");
  frame.planes[2].bytes = ToBytes("klmn");
  frame.interlace = Interlace::TopFieldFirst;
  frame.frameRate = {50, 2};
  frame.pixelAspect = {12, 11};
  return frame;
}

TEST(Y4m, BytesOfAWrittenStream) {
  const TestFolder folder;
  WriteAll(folder / "out.y4m", {ThreeByTwo(), ThreeByTwo()});
  EXPECT_EQ(FileBytes(folder / "out.y4m"),
            ToBytes("YUV4MPEG2 W3 H2 F50:2 It A12:11 C422\nFRAME\nabcdefghijklmnFRAME\nabcdefghijklmn"));
}

TEST(Y4m, ReadsSizeRateAspectAndInterlace) {
  EXPECT_EQ(OneFrameOf("YUV4MPEG2 C422 A12:11 It F50:2 H2 W3\nFRAME\nabcdefghijklmn"), ThreeByTwo());
}

TEST(Y4m, InterlaceTagsGoThereAndBack) {
  const TestFolder folder;
  for (const Interlace interlace :
       {Interlace::Unknown, Interlace::Progressive, Interlace::TopFieldFirst, Interlace::BottomFieldFirst}) {
    Raster frame = ThreeByTwo();
    frame.interlace = interlace;
    WriteAll(folder / "x.y4m", {frame});
    EXPECT_EQ(ReadAll(folder / "x.y4m"), std::vector{frame});
  }
}

TEST(Y4m, ColourRangeGoesThereAndBack) {
  const TestFolder folder;
  for (const ColourRange range : {ColourRange::Unknown, ColourRange::Limited, ColourRange::Full}) {
    Raster frame = ThreeByTwo();
    frame.range = range;
    WriteAll(folder / "x.y4m", {frame});
    EXPECT_EQ(ReadAll(folder / "x.y4m"), std::vector{frame});
  }
}

TEST(Y4m, MixedInterlaceIsStatedByEachFrame) {
  const TestFolder folder;
  WriteFile(folder / "x.y4m",
            ToBytes("YUV4MPEG2 W1 H1 C422 Im\nFRAME Itpp\nabcFRAME Ibpp\nabcFRAME I1pp\nabcFRAME\nabc"));
  const auto frames = ReadAll(folder / "x.y4m");
  ASSERT_EQ(frames.size(), 4U);
  EXPECT_EQ(frames[0].interlace, Interlace::TopFieldFirst);
  EXPECT_EQ(frames[1].interlace, Interlace::BottomFieldFirst);
  EXPECT_EQ(frames[2].interlace, Interlace::Progressive);
  EXPECT_EQ(frames[3].interlace, Interlace::Unknown);
}

TEST(Y4m, FrameParametersAndUnknownTagsArePassedOver) {
  const Raster frame = OneFrameOf("YUV4MPEG2  W1 H1 XYSCSS=422 C422 Z\nFRAME Ibpp Xnote\nabc");
  EXPECT_EQ(frame.planes[2].bytes, ToBytes("c"));
  EXPECT_EQ(frame.interlace, Interlace::Unknown);
}

TEST(Y4m, RoundTripsOfAllSmallSizes) {
  const TestFolder folder;
  for (int width = 1; width <= 9; ++width) {
    for (int height = 1; height <= 3; ++height) {
      Raster frame = RandomRaster(RasterKind::Yuv422Planar, width, height);
      frame.frameRate = {25, 1};
      WriteAll(folder / "x.y4m", {frame, frame, frame});
      EXPECT_EQ(ReadAll(folder / "x.y4m"), (std::vector{frame, frame, frame})) << width << "x" << height;
    }
  }
}

TEST(Y4m, PackedFramesAreUnpacked) {
  const TestFolder folder;
  Raster frame = RandomRaster(RasterKind::Yuv422Planar, 5, 4);
  frame.frameRate = {25, 1};
  WriteAll(folder / "x.y4m", {Pack(frame, LayoutChromaFirst), Pack(frame, LayoutLumaFirst)});
  EXPECT_EQ(ReadAll(folder / "x.y4m"), (std::vector{frame, frame}));
}

TEST(Y4m, UnknownRateIsWrittenAsTwentyFive) {
  const TestFolder folder;
  WriteAll(folder / "x.y4m", {MakeRaster(RasterKind::Yuv422Planar, 1, 1)});
  EXPECT_EQ(FileBytes(folder / "x.y4m"),
            Bytes(ToBytes(std::string_view("YUV4MPEG2 W1 H1 F25:1 I? A0:0 C422\nFRAME\n\0\0\0", 44))));
}

TEST(Y4m, OtherColourSpacesAreRefusedWithTheHelpfulOption) {
  for (const std::string space : {"C411", "C440", "C444alpha", "C422p12", "Cmono12", "C420p16", "C"}) {
    const std::string text = RefusalOf("YUV4MPEG2 W4 H4 " + space + "\nFRAME\n");
    EXPECT_NE(
        text.find("byte 16: '" + space + "' is not read; 4:2:0, 4:2:2, 4:4:4 and mono with 8 or 10 bits are"),
        std::string::npos)
        << text;
    EXPECT_NE(text.find("-pix_fmt yuv422p"), std::string::npos) << text;
  }
}

std::string PlanesOf(const Raster& frame) {
  std::string text;
  for (const Plane& plane : frame.planes) {
    if (!text.empty()) text += '|';
    text.append(plane.bytes.begin(), plane.bytes.end());
  }
  return text;
}

TEST(Y4m, EveryPositionOfFourTwoZeroHasItsRowsWeighted) {
  // Chroma rows 'a' and 'i', 8 apart: 3:1 gives a, a + 2, a + 6, i.
  for (const std::string tag : {"", " C420", " C420jpeg", " C420mpeg2", " C420paldv"}) {
    const Raster frame = OneFrameOf("YUV4MPEG2 W1 H4 Ip" + tag + "\nFRAME\n1234aiAI");
    EXPECT_EQ(PlanesOf(frame), "1234|acgi|ACGI") << tag;
    EXPECT_EQ(frame.kind, RasterKind::Yuv422Planar);
  }
}

TEST(Y4m, FieldsOfFourTwoZeroAreFilteredOnTheirOwn) {
  // The top field has chroma rows 'a' and 'i', the bottom one 'A' and 'I': weights 7:1 and 5:3, and 5:3 and 7:1.
  for (const std::string order : {"It", "Ib"}) {
    const Raster frame = OneFrameOf("YUV4MPEG2 W1 H8 " + order + "\nFRAME\n12345678aAiIaAiI");
    EXPECT_EQ(PlanesOf(frame).substr(9, 8), std::string("aAdBhFiI")) << order;
  }
}

TEST(Y4m, InterlacedFourTwoZeroHasAnEvenNumberOfRows) {
  EXPECT_NE(RefusalOf("YUV4MPEG2 W2 H3 It C420\nFRAME\n").find("an even number of rows, not 3"),
            std::string::npos);
  EXPECT_EQ(PlanesOf(OneFrameOf("YUV4MPEG2 W1 H3 It C422\nFRAME\n123abcABC")), "123|abc|ABC");
}

TEST(Y4m, FourFourFourIsWeightedAboutEvenPixels) {
  // 'a', 'e', 'i', 'a', 'a': (3a + e) / 4, (e + 2i + a) / 4, a.
  EXPECT_EQ(PlanesOf(OneFrameOf("YUV4MPEG2 W5 H1 C444\nFRAME\n12345aeiaaAEIAA")), "12345|bfa|BFA");
}

TEST(Y4m, MonoIsGrey) {
  const Raster frame = OneFrameOf("YUV4MPEG2 W3 H2 Cmono XCOLORRANGE=LIMITED\nFRAME\nabcdef");
  EXPECT_EQ(frame.kind, RasterKind::Grey8);
  EXPECT_EQ(frame.range, ColourRange::Full);
  EXPECT_EQ(PlanesOf(frame), "abcdef");
}

TEST(Y4m, TenBitsAreRoundedToEight) {
  // 4 · 'a' and up to 3 more; halves up, and 1023 is 255.
  const std::string words("\x84\x01\x85\x01\x86\x01\x87\x01\xFF\x03\x00\x00", 12);
  const std::string rest("\x84\x01\x84\x01\x84\x01", 6);
  const Raster frame = OneFrameOf("YUV4MPEG2 W6 H1 C422p10\nFRAME\n" + words + rest + rest);
  EXPECT_EQ(PlanesOf(frame), std::string("aabb\xFF\0|aaa|aaa", 14));
  EXPECT_EQ(PlanesOf(OneFrameOf("YUV4MPEG2 W1 H1 Cmono10\nFRAME\n\x84\x01")), "a");
  EXPECT_EQ(PlanesOf(OneFrameOf("YUV4MPEG2 W1 H1 C420p10\nFRAME\n" + rest)), "a|a|a");
  EXPECT_EQ(PlanesOf(OneFrameOf("YUV4MPEG2 W1 H1 C444p10\nFRAME\n" + rest)), "a|a|a");
}

TEST(Y4m, BadSizesAreRefused) {
  EXPECT_NE(RefusalOf("YUV4MPEG2 W0 H4 C422\nFRAME\n").find("byte 10: 'W0' is not a size"),
            std::string::npos);
  EXPECT_NE(RefusalOf("YUV4MPEG2 W4 H-4 C422\nFRAME\n").find("byte 13: 'H-4' is not a size"),
            std::string::npos);
  EXPECT_NE(RefusalOf("YUV4MPEG2 W4x H4 C422\nFRAME\n").find("'W4x'"), std::string::npos);
  EXPECT_NE(RefusalOf("YUV4MPEG2 W99999999999999999999 H4 C422\nFRAME\n").find("is not a size"),
            std::string::npos);
  EXPECT_NE(RefusalOf("YUV4MPEG2 W32769 H4 C422\nFRAME\n").find("out of range"), std::string::npos);
  EXPECT_NE(RefusalOf("YUV4MPEG2 W32768 H32768 C422\nFRAME\n").find("out of range"), std::string::npos);
  EXPECT_NE(RefusalOf("YUV4MPEG2 W4 C422\nFRAME\n").find("lacks its size"), std::string::npos);
}

TEST(Y4m, BadTagsAreRefused) {
  EXPECT_NE(RefusalOf("YUV4MPEG2 W4 H4 F25 C422\n").find("'F25' is not a ratio"), std::string::npos);
  EXPECT_NE(RefusalOf("YUV4MPEG2 W4 H4 A1:x C422\n").find("'A1:x' is not a ratio"), std::string::npos);
  EXPECT_NE(RefusalOf("YUV4MPEG2 W4 H4 Iq C422\n").find("'Iq' is not an interlace tag"), std::string::npos);
  EXPECT_NE(RefusalOf("YUV4MPEG2W4 H4 C422\n").find("a space must follow"), std::string::npos);
  EXPECT_NE(RefusalOf("YUV4MPEG2 " + std::string(5000, 'X')).find("longer than 4096 bytes"),
            std::string::npos);
}

TEST(Y4m, BadFrameHeadersAreRefused) {
  const std::string head = "YUV4MPEG2 W1 H1 C422\n";
  EXPECT_NE(RefusalOf(head + "FRAME\nabcfrm").find("byte 30: the header of frame 2"), std::string::npos);
  EXPECT_NE(RefusalOf(head + "FRAMEX\nabc").find("FRAME was expected"), std::string::npos);
}

TEST(Y4m, TruncatedFrameSaysWhatItLacks) {
  const std::string text = RefusalOf("YUV4MPEG2 W3 H2 C422\nFRAME\nabcdefghijklmnFRAME\nabcdefgh");
  EXPECT_NE(text.find("byte 55: the file ends early: frame 2 lacks 6 of 14 bytes"), std::string::npos)
      << text;
}

TEST(Y4m, StreamWithoutFramesIsRefused) {
  EXPECT_NE(RefusalOf("YUV4MPEG2 W3 H2 C422\n").find("byte 21: the file holds no frame"), std::string::npos);
}

TEST(Y4m, FramesOfAPipeAreReadAsTheyArrive) {
  KV_NEEDS_NAMED_PIPES();
  const TestPipe pipe;
  pipe.Send(ToBytes("YUV4MPEG2 W3 H2 C422\nFRAME\nabcdefghijklmn"));
  PictureReader reader(pipe.ReadName());
  ASSERT_TRUE(reader.Next().has_value());  // would wait for ever if it read ahead
  pipe.Send(ToBytes("FRAME\nabcdefghijklmn"));
  ASSERT_TRUE(reader.Next().has_value());
}

TEST(Y4m, TruncatedPipeSaysWhatItLacks) {
  KV_NEEDS_NAMED_PIPES();
  TestPipe pipe;
  pipe.Send(ToBytes("YUV4MPEG2 W3 H2 C422\nFRAME\nabcdefgh"));
  pipe.CloseWriter();
  PictureReader reader(pipe.ReadName());
  EXPECT_NE(FormatErrorText([&] { reader.Next(); }).find("frame 1 lacks 6 of 14 bytes"), std::string::npos);
}

TEST(Y4m, FramesThatDifferFromTheFirstAreRefused) {
  const TestFolder folder;
  PictureWriter writer(folder / "x.y4m");
  writer.Write(MakeRaster(RasterKind::Yuv422Planar, 4, 2));
  EXPECT_NE(FormatErrorText([&] { writer.Write(MakeRaster(RasterKind::Yuv422Planar, 2, 4)); }).find("4x2"),
            std::string::npos);
  Raster interlaced = MakeRaster(RasterKind::Yuv422Planar, 4, 2);
  interlaced.interlace = Interlace::TopFieldFirst;
  EXPECT_NE(FormatErrorText([&] { writer.Write(interlaced); }).find("one interlace"), std::string::npos);
}

}  // namespace
}  // namespace kv_host
