#include "host/formats/raw_yuv.h"

#include <gtest/gtest.h>

#include "host/formats/packing.h"
#include "host/formats/picture_reader.h"
#include "host/formats/picture_writer.h"
#include "tests/formats/support.h"

namespace kv_host {
namespace {

std::vector<Raster> ReadRaw(const std::string& name, int width, int height) {
  PictureReader reader(name, {.format = {}, .width = width, .height = height});
  std::vector<Raster> frames;
  while (auto frame = reader.Next()) frames.push_back(std::move(*frame));
  return frames;
}

TEST(RawYuv, RoundTripsOfAllSmallSizes) {
  const TestFolder folder;
  for (int width = 1; width <= 9; ++width) {
    for (int height = 1; height <= 3; ++height) {
      const auto uyvy = std::vector{RandomRaster(RasterKind::Yuv422, width, height, LayoutChromaFirst, 1),
                                    RandomRaster(RasterKind::Yuv422, width, height, LayoutChromaFirst, 2)};
      WriteAll(folder / "x.uyvy", uyvy);
      EXPECT_EQ(ReadRaw(folder / "x.uyvy", width, height), uyvy) << width << "x" << height;
      const auto yuy2a = std::vector{RandomRaster(RasterKind::Yuva422, width, height, LayoutLumaFirst, 1),
                                     RandomRaster(RasterKind::Yuva422, width, height, LayoutLumaFirst, 2)};
      WriteAll(folder / "x.yuy2a", yuy2a);
      EXPECT_EQ(ReadRaw(folder / "x.yuy2a", width, height), yuy2a) << width << "x" << height;
    }
  }
}

TEST(RawYuv, AlphaRowsLieBehindTheColourRows) {
  const TestFolder folder;
  Raster frame = MakeRaster(RasterKind::Yuva422, 2, 2, LayoutChromaFirst);
  frame.planes[0].bytes = ToBytes("abcdefgh");
  frame.planes[1].bytes = ToBytes("1234");
  WriteAll(folder / "x.uyvya", {frame, frame});
  EXPECT_EQ(FileBytes(folder / "x.uyvya"), ToBytes("abcdefgh1234abcdefgh1234"));
}

TEST(RawYuv, OtherLayoutAndPlanesAreConvertedToTheFilesOwn) {
  const TestFolder folder;
  Raster planar = RandomRaster(RasterKind::Yuv422Planar, 5, 2);
  const Raster uyvy = Pack(planar, LayoutChromaFirst);
  WriteAll(folder / "x.uyvy", {planar, uyvy, Pack(planar, LayoutLumaFirst)});
  EXPECT_EQ(ReadRaw(folder / "x.uyvy", 5, 2), (std::vector{uyvy, uyvy, uyvy}));
  const Raster alpha = RandomRaster(RasterKind::Yuva422, 5, 2, LayoutLumaFirst);
  WriteAll(folder / "x.uyvya", {alpha});
  EXPECT_EQ(ReadRaw(folder / "x.uyvya", 5, 2), std::vector{WithLayout(alpha, LayoutChromaFirst)});
}

TEST(RawYuv, SizeThatDoesNotFitTheFileIsExplained) {
  const TestFolder folder;
  WriteFile(folder / "x.uyvy", Bytes(100));
  EXPECT_EQ(FormatErrorText([&] { ReadRaw(folder / "x.uyvy", 5, 3); }),
            folder / "x.uyvy" +
                ": the size does not fit the file: a 5x3 frame has 36 bytes, the file has 100, which is 2 "
                "frames and "
                "28 bytes over");
}

TEST(RawYuv, MissingAndAbsurdSizesAreRefused) {
  const TestFolder folder;
  WriteFile(folder / "x.uyvy", Bytes(100));
  EXPECT_NE(FormatErrorText([&] { ReadRaw(folder / "x.uyvy", 0, 0); }).find("states no size"),
            std::string::npos);
  EXPECT_NE(FormatErrorText([&] { ReadRaw(folder / "x.uyvy", 0, 4); }).find("out of range"),
            std::string::npos);
  EXPECT_NE(FormatErrorText([&] { ReadRaw(folder / "x.uyvy", -4, 4); }).find("out of range"),
            std::string::npos);
  EXPECT_NE(FormatErrorText([&] { ReadRaw(folder / "x.uyvy", 40000, 1); }).find("out of range"),
            std::string::npos);
}

TEST(RawYuv, EmptyFileHoldsNoFrame) {
  const TestFolder folder;
  WriteFile(folder / "x.yuy2", {});
  EXPECT_NE(FormatErrorText([&] { ReadRaw(folder / "x.yuy2", 4, 4); }).find("holds no frame"),
            std::string::npos);
}

TEST(RawYuv, PipeEndsInsideAFrame) {
  KV_NEEDS_NAMED_PIPES();
  TestPipe pipe;
  pipe.Send(Bytes(50));
  pipe.CloseWriter();
  PictureReader reader(pipe.ReadName(), {.format = FileFormat::Uyvy, .width = 5, .height = 3});
  EXPECT_TRUE(reader.Next().has_value());
  EXPECT_NE(FormatErrorText([&] { reader.Next(); }).find("frame 2 of 5x3 pixels lacks 22 of 36 bytes"),
            std::string::npos);
}

TEST(RawYuv, BytesOfAnotherFormatsSignatureAreSamples) {
  const TestFolder folder;
  Bytes bytes = ToBytes("BM");
  bytes.resize(8);
  WriteFile(folder / "x.uyvy", bytes);
  EXPECT_EQ(ReadRaw(folder / "x.uyvy", 2, 2).at(0).planes[0].bytes, bytes);
}

}  // namespace
}  // namespace kv_host
