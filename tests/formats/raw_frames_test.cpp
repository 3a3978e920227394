#include "host/formats/raw_frames.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>

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

TEST(RawFrames, RoundTripsOfAllSmallSizes) {
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

TEST(RawFrames, AlphaRowsLieBehindTheColourRows) {
  const TestFolder folder;
  Raster frame = MakeRaster(RasterKind::Yuva422, 2, 2, LayoutChromaFirst);
  frame.planes[0].bytes = ToBytes("abcdefgh");
  frame.planes[1].bytes = ToBytes("1234");
  WriteAll(folder / "x.uyvya", {frame, frame});
  EXPECT_EQ(FileBytes(folder / "x.uyvya"), ToBytes("abcdefgh1234abcdefgh1234"));
}

TEST(RawFrames, OtherLayoutAndPlanesAreConvertedToTheFilesOwn) {
  const TestFolder folder;
  Raster planar = RandomRaster(RasterKind::Yuv422Planar, 5, 2);
  const Raster uyvy = Pack(planar, LayoutChromaFirst);
  WriteAll(folder / "x.uyvy", {planar, uyvy, Pack(planar, LayoutLumaFirst)});
  EXPECT_EQ(ReadRaw(folder / "x.uyvy", 5, 2), (std::vector{uyvy, uyvy, uyvy}));
  const Raster alpha = RandomRaster(RasterKind::Yuva422, 5, 2, LayoutLumaFirst);
  WriteAll(folder / "x.uyvya", {alpha});
  EXPECT_EQ(ReadRaw(folder / "x.uyvya", 5, 2), std::vector{WithLayout(alpha, LayoutChromaFirst)});
}

TEST(RawFrames, SizeThatDoesNotFitTheFileIsExplained) {
  const TestFolder folder;
  WriteFile(folder / "x.uyvy", Bytes(100));
  EXPECT_EQ(FormatErrorText([&] { ReadRaw(folder / "x.uyvy", 5, 3); }),
            folder / "x.uyvy" +
                ": the size does not fit the file: a 5x3 frame has 36 bytes, the file has 100, which is 2 "
                "frames and "
                "28 bytes over");
}

TEST(RawFrames, MissingAndAbsurdSizesAreRefused) {
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

TEST(RawFrames, EmptyFileHoldsNoFrame) {
  const TestFolder folder;
  WriteFile(folder / "x.yuy2", {});
  EXPECT_NE(FormatErrorText([&] { ReadRaw(folder / "x.yuy2", 4, 4); }).find("holds no frame"),
            std::string::npos);
}

TEST(RawFrames, PipeEndsInsideAFrame) {
  KV_NEEDS_NAMED_PIPES();
  TestPipe pipe;
  pipe.Send(Bytes(50));
  pipe.CloseWriter();
  PictureReader reader(pipe.ReadName(), {.format = FileFormat::Uyvy, .width = 5, .height = 3});
  EXPECT_TRUE(reader.Next().has_value());
  EXPECT_NE(FormatErrorText([&] { reader.Next(); }).find("frame 2 of 5x3 pixels lacks 22 of 36 bytes"),
            std::string::npos);
}

TEST(RawFrames, BytesOfAnotherFormatsSignatureAreSamples) {
  const TestFolder folder;
  Bytes bytes = ToBytes("BM");
  bytes.resize(8);
  WriteFile(folder / "x.uyvy", bytes);
  EXPECT_EQ(ReadRaw(folder / "x.uyvy", 2, 2).at(0).planes[0].bytes, bytes);
}

Raster WithInterlace(Raster raster, Interlace interlace) {
  raster.interlace = interlace;
  return raster;
}

TEST(RawFrames, FormatsThatLoseNothingRoundTripAllSmallSizes) {
  const TestFolder folder;
  for (const std::string name :
       {"nv16", "yuv422p", "v210", "yuv422p10le", "gray", "bgr24", "rgb24", "bgra", "rgba"}) {
    const RasterKind kind = TraitsOf(*FormatNamed(name)).raw->kind;
    for (int width = 1; width <= 9; ++width) {
      for (int height = 1; height <= 3; ++height) {
        const Raster frame = WithInterlace(RandomRaster(kind, width, height), Interlace::Unknown);
        WriteAll(folder / "x." + name, {frame, frame});
        EXPECT_EQ(ReadRaw(folder / "x." + name, width, height), (std::vector{frame, frame}))
            << name << ' ' << width << 'x' << height;
      }
    }
  }
}

TEST(RawFrames, BytesOfEachFormat) {
  const TestFolder folder;
  Raster planar = MakeRaster(RasterKind::Yuv422Planar, 2, 2);
  planar.planes[0].bytes = ToBytes("1234");
  planar.planes[1].bytes = ToBytes("ac");
  planar.planes[2].bytes = ToBytes("AC");
  const auto written = [&](const std::string& name, const Raster& frame) {
    WriteAll(folder / "x." + name, {frame});
    const Bytes bytes = FileBytes(folder / "x." + name);
    return std::string(bytes.begin(), bytes.end());
  };
  EXPECT_EQ(written("yvyu", planar), "1A2a3C4c");
  EXPECT_EQ(written("nv16", planar), "1234aAcC");
  EXPECT_EQ(written("yuv422p", planar), "1234acAC");
  EXPECT_EQ(written("yuv420p", planar), "1234bB");
  EXPECT_EQ(written("nv12", planar), "1234bB");
  // 'a' is 97, in 10 bits 388: 0x184.
  EXPECT_EQ(written("yuv422p10le", planar).substr(8, 2), "\x84\x01");
  EXPECT_EQ(written("v210", planar).size(), 256U);
  Raster bitmap = MakeRaster(RasterKind::Dib32, 2, 1);
  bitmap.planes[0].bytes = ToBytes("bgraBGRA");
  EXPECT_EQ(written("bgra", bitmap), "bgraBGRA");
  EXPECT_EQ(written("rgba", bitmap), "rgbaRGBA");
  Raster bitmap24 = MakeRaster(RasterKind::Dib24, 2, 1);
  bitmap24.planes[0].bytes = ToBytes("bgrBGR");
  EXPECT_EQ(written("rgb24", bitmap24), "rgbRGB");
}

/// 4:2:0 as 4:2:2: linear between the places of the chroma rows. In rows of the frame, or of a field, row k of the
/// chroma is at 2 k + 1/2, of a top field at 2 k + 1/4, of a bottom field at 2 k + 3/4.
Bytes InterpolatedRows(const Bytes& chroma, int stride, int rows, bool isInterlaced) {
  Bytes result(static_cast<std::size_t>(stride * rows));
  const int chromaRows = static_cast<int>(chroma.size()) / stride;
  const int fields = isInterlaced ? 2 : 1;
  for (int y = 0; y < rows; ++y) {
    const int field = y % fields;
    const int quarter = isInterlaced ? 1 + 2 * field : 2;
    const int ofField = (chromaRows - field + fields - 1) / fields;
    for (int x = 0; x < stride; ++x) {
      int sum = 4;
      for (int k = -1; k <= ofField; ++k) {
        const int weight = 8 - std::abs(4 * (y / fields) - (8 * k + quarter));
        const int row = std::clamp(k, 0, ofField - 1) * fields + field;
        if (weight > 0) sum += weight * chroma[static_cast<std::size_t>(row * stride + x)];
      }
      result[static_cast<std::size_t>(y * stride + x)] = static_cast<std::uint8_t>(sum / 8);
    }
  }
  return result;
}

TEST(RawFrames, FourTwoZeroIsInterpolatedBetweenItsRows) {
  const TestFolder folder;
  for (const Interlace fields :
       {Interlace::Progressive, Interlace::TopFieldFirst, Interlace::BottomFieldFirst}) {
    for (const int height : {4, 8, 10, 12}) {
      const Raster source = RandomRaster(RasterKind::Grey8, 5, height + 2 * ((height + 1) / 2));
      WriteFile(folder / "x.yuv420p",
                Bytes(source.planes[0].bytes.begin(),
                      source.planes[0].bytes.begin() + 5 * height + 6 * ((height + 1) / 2)));
      const Bytes file = FileBytes(folder / "x.yuv420p");
      PictureReader reader(folder / "x.yuv420p",
                           {.format = {}, .width = 5, .height = height, .fields = fields});
      const Raster frame = *reader.Next();
      EXPECT_EQ(frame.interlace, fields);
      const auto chroma = file.begin() + 5 * height;
      const int size = 3 * ((height + 1) / 2);
      const bool isInterlaced = fields != Interlace::Progressive;
      EXPECT_EQ(frame.planes[0].bytes, Bytes(file.begin(), chroma));
      EXPECT_EQ(frame.planes[1].bytes,
                InterpolatedRows(Bytes(chroma, chroma + size), 3, height, isInterlaced));
      EXPECT_EQ(frame.planes[2].bytes,
                InterpolatedRows(Bytes(chroma + size, chroma + 2 * size), 3, height, isInterlaced));
    }
  }
}

TEST(RawFrames, FourTwoZeroOfFieldsIsWrittenFromEachField) {
  const TestFolder folder;
  Raster frame = MakeRaster(RasterKind::Yuv422Planar, 1, 4);
  frame.planes[1].bytes = {100, 20, 104, 24};
  frame.planes[2].bytes = frame.planes[1].bytes;
  frame.interlace = Interlace::TopFieldFirst;
  WriteAll(folder / "x.yuv420p", {frame});
  // (3 · 100 + 104 + 2) / 4 and (20 + 3 · 24 + 2) / 4.
  EXPECT_EQ(FileBytes(folder / "x.yuv420p"), (Bytes{0, 0, 0, 0, 101, 23, 101, 23}));
  frame.interlace = Interlace::Progressive;
  WriteAll(folder / "x.yuv420p", {frame});
  EXPECT_EQ(FileBytes(folder / "x.yuv420p"), (Bytes{0, 0, 0, 0, 60, 64, 60, 64}));
}

TEST(RawFrames, TenBitsAreRoundedOrDithered) {
  EXPECT_EQ(Narrow(0, 10, 0, 0, Dither::None), 0);
  EXPECT_EQ(Narrow(1, 10, 0, 0, Dither::None), 0);
  EXPECT_EQ(Narrow(2, 10, 0, 0, Dither::None), 1);
  EXPECT_EQ(Narrow(1021, 10, 0, 0, Dither::None), 255);
  EXPECT_EQ(Narrow(1023, 10, 0, 0, Dither::None), 255);
  for (unsigned sample = 0; sample < 1020; ++sample) {
    // Four neighbours have the sample's four quarters between them.
    unsigned sum = 0;
    for (std::size_t x = 0; x < 2; ++x) {
      for (int y = 0; y < 2; ++y) sum += Narrow(sample, 10, x + 6, y + 4, Dither::Ordered);
    }
    EXPECT_EQ(sum, sample);
  }
  EXPECT_EQ(Narrow(1, 10, 1, 1, Dither::Ordered), 0);
  EXPECT_EQ(Narrow(1, 10, 0, 1, Dither::Ordered), 1);
  EXPECT_EQ(Narrow(1023, 10, 0, 1, Dither::Ordered), 255);
}

TEST(RawFrames, FieldsHaveAnEvenNumberOfRows) {
  const TestFolder folder;
  WriteFile(folder / "x.uyvy", Bytes(36));
  EXPECT_NE(FormatErrorText([&] {
              PictureReader(folder / "x.uyvy",
                            {.format = {}, .width = 5, .height = 3, .fields = Interlace::TopFieldFirst});
            }).find("3 rows are not two fields of equal height"),
            std::string::npos);
}

}  // namespace
}  // namespace kv_host
