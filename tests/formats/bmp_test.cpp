#include "host/formats/bmp.h"

#include <gtest/gtest.h>

#include "tests/formats/support.h"

namespace kv_host {
namespace {

/// A bitmap file put together field by field.
struct BmpFile {
  std::uint32_t infoSize = 40;
  std::int32_t width = 2;
  std::int32_t height = 2;
  std::uint16_t bits = 24;
  std::uint32_t compression = 0;
  std::uint32_t coloursUsed = 0;
  std::vector<std::uint32_t> masks = {};  // in the header where it has room for them, else after it
  Bytes palette = {};
  std::uint32_t gap = 0;
  Bytes pixels = {};

  Bytes Content() const {
    Bytes info;
    Put(info, infoSize, 4);
    Put(info, static_cast<std::uint32_t>(width), 4);
    Put(info, static_cast<std::uint32_t>(height), 4);
    Put(info, 1, 2);
    Put(info, bits, 2);
    Put(info, compression, 4);
    for (int i = 0; i < 3; ++i) Put(info, 0, 4);
    Put(info, coloursUsed, 4);
    Put(info, 0, 4);
    for (const std::uint32_t mask : masks) Put(info, mask, 4);
    if (info.size() < infoSize) info.resize(infoSize);
    info.insert(info.end(), palette.begin(), palette.end());
    info.resize(info.size() + gap, 0xEE);
    Bytes file = {'B', 'M', 0, 0, 0, 0, 0, 0, 0, 0};
    Put(file, static_cast<std::uint32_t>(14 + info.size()), 4);
    file.insert(file.end(), info.begin(), info.end());
    file.insert(file.end(), pixels.begin(), pixels.end());
    return file;
  }

  Raster Read() const {
    const TestFolder folder;
    WriteFile(folder / "x.bmp", Content());
    return ReadAll(folder / "x.bmp").at(0);
  }

  std::string Refusal() const {
    const TestFolder folder;
    WriteFile(folder / "x.bmp", Content());
    return FormatErrorText([&] { ReadAll(folder / "x.bmp"); });
  }

  static void Put(Bytes& out, std::uint32_t value, int count) {
    for (int i = 0; i < count; ++i) out.push_back(static_cast<std::uint8_t>(value >> (8 * i)));
  }
};

const Bytes TwoRows24 = {1, 2, 3, 4, 5, 6, 0, 0, 7, 8, 9, 10, 11, 12, 0, 0};

TEST(Bmp, BottomUpRows) {
  const Raster raster = BmpFile{.pixels = TwoRows24}.Read();
  EXPECT_EQ(raster.kind, RasterKind::Dib24);
  EXPECT_EQ(raster.planes[0].bytes, (Bytes{7, 8, 9, 10, 11, 12, 1, 2, 3, 4, 5, 6}));
}

TEST(Bmp, TopDownRows) {
  const Raster raster = BmpFile{.height = -2, .pixels = TwoRows24}.Read();
  EXPECT_EQ(raster.planes[0].bytes, (Bytes{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12}));
}

TEST(Bmp, AllHeaderSizesAndAGapBeforeThePixels) {
  for (const std::uint32_t size : {40U, 52U, 56U, 108U, 124U}) {
    EXPECT_EQ((BmpFile{.infoSize = size, .gap = 7, .pixels = TwoRows24}.Read()),
              BmpFile{.pixels = TwoRows24}.Read());
  }
  for (const std::uint32_t size : {0U, 12U, 39U, 64U, 0xFFFFFFFFU}) {
    BmpFile file{.pixels = TwoRows24};
    Bytes content = file.Content();
    for (unsigned i = 0; i < 4; ++i) content[14 + i] = static_cast<std::uint8_t>(size >> (8 * i));
    const TestFolder folder;
    WriteFile(folder / "x.bmp", content);
    EXPECT_NE(FormatErrorText([&] { ReadAll(folder / "x.bmp"); }).find("40, 52, 56, 108 and 124"),
              std::string::npos);
  }
}

TEST(Bmp, ThirtyTwoBitsWithAlphaInTheSpareByte) {
  const Raster raster = BmpFile{.width = 1, .bits = 32, .pixels = {1, 2, 3, 0, 5, 6, 7, 8}}.Read();
  EXPECT_EQ(raster.kind, RasterKind::Dib32);
  EXPECT_EQ(raster.planes[0].bytes, (Bytes{5, 6, 7, 8, 1, 2, 3, 0}));
}

TEST(Bmp, ThirtyTwoBitsWithoutAlphaAreOpaque) {
  const Raster raster = BmpFile{.width = 1, .bits = 32, .pixels = {1, 2, 3, 0, 5, 6, 7, 0}}.Read();
  EXPECT_EQ(raster.planes[0].bytes, (Bytes{5, 6, 7, 255, 1, 2, 3, 255}));
}

TEST(Bmp, NamedAlphaStaysAlsoWhereItIsZero) {
  const Raster raster = BmpFile{
      .infoSize = 108,
      .width = 1,
      .bits = 32,
      .compression = 3,
      .masks = {0xFF0000, 0xFF00, 0xFF, 0xFF000000},
      .pixels = {1, 2, 3, 0, 5, 6, 7,
                 0}}.Read();
  EXPECT_EQ(raster.planes[0].bytes, (Bytes{5, 6, 7, 0, 1, 2, 3, 0}));
}

TEST(Bmp, MasksInOtherByteOrders) {
  const BmpFile rgba{.infoSize = 56,
                     .width = 1,
                     .height = 1,
                     .bits = 32,
                     .compression = 3,
                     .masks = {0xFF, 0xFF00, 0xFF0000, 0xFF000000},
                     .pixels = {1, 2, 3, 4}};
  EXPECT_EQ(rgba.Read().planes[0].bytes, (Bytes{3, 2, 1, 4}));
  BmpFile behind{.width = 1,
                 .height = 1,
                 .bits = 32,
                 .compression = 3,
                 .masks = {0xFF00, 0xFF0000, 0xFF000000},
                 .pixels = {9, 1, 2, 3}};
  EXPECT_EQ(behind.Read().planes[0].bytes, (Bytes{3, 2, 1, 9}));
  behind.infoSize = 52;
  EXPECT_EQ(behind.Read().planes[0].bytes, (Bytes{3, 2, 1, 9}));
  const BmpFile alphaBehind{.width = 1,
                            .height = 1,
                            .bits = 32,
                            .compression = 6,
                            .masks = {0xFF00, 0xFF0000, 0xFF000000, 0xFF},
                            .pixels = {0, 1, 2, 3}};
  EXPECT_EQ(alphaBehind.Read().planes[0].bytes, (Bytes{3, 2, 1, 0}));
}

TEST(Bmp, UnusualMasksAreRefused) {
  BmpFile file{.infoSize = 56,
               .width = 1,
               .height = 1,
               .bits = 32,
               .compression = 3,
               .masks = {0x3FF00000, 0xFFC00, 0x3FF, 0},
               .pixels = {0, 1, 2, 3}};
  EXPECT_NE(file.Refusal().find("masks are not read"), std::string::npos);
  file.masks = {0xFF, 0xFF, 0xFF, 0xFF};
  EXPECT_NE(file.Refusal().find("masks are not read"), std::string::npos);
  file.masks = {0, 0, 0, 0};
  EXPECT_NE(file.Refusal().find("masks are not read"), std::string::npos);
  file.bits = 16;
  file.masks = {0xF000, 0xF00, 0xF0, 0xF};
  EXPECT_NE(file.Refusal().find("masks are not read"), std::string::npos);
  file.bits = 24;
  EXPECT_NE(file.Refusal().find("do not go with 24 bits"), std::string::npos);
}

TEST(Bmp, SixteenBitsByTheirMasks) {
  const Bytes pixels = {1, 2, 3, 4, 5, 6, 7, 8};
  BmpFile file{.bits = 16, .pixels = pixels};
  EXPECT_EQ(file.Read().kind, RasterKind::Dib15);
  EXPECT_EQ(file.Read().planes[0].bytes, (Bytes{5, 6, 7, 8, 1, 2, 3, 4}));
  file.compression = 3;
  file.masks = {0x7C00, 0x3E0, 0x1F};
  EXPECT_EQ(file.Read().kind, RasterKind::Dib15);
  file.masks = {0xF800, 0x7E0, 0x1F};
  EXPECT_EQ(file.Read().kind, RasterKind::Dib16);
  EXPECT_EQ(file.Read().planes[0].bytes, (Bytes{5, 6, 7, 8, 1, 2, 3, 4}));
}

TEST(Bmp, TopBitOfFifteenBitWordsIsCleared) {
  const BmpFile file{.width = 1, .height = 1, .bits = 16, .pixels = {0x12, 0xF4, 0, 0}};
  EXPECT_EQ(file.Read().planes[0].bytes, (Bytes{0x12, 0x74}));
}

TEST(Bmp, PalettesAreExpanded) {
  const BmpFile two{
      .width = 3, .height = 1, .bits = 1, .palette = {1, 2, 3, 0, 4, 5, 6, 0}, .pixels = {0xA0, 0, 0, 0}};
  EXPECT_EQ(two.Read().kind, RasterKind::Dib24);
  EXPECT_EQ(two.Read().planes[0].bytes, (Bytes{4, 5, 6, 1, 2, 3, 4, 5, 6}));
  const BmpFile grey{.width = 3,
                     .height = 1,
                     .bits = 4,
                     .coloursUsed = 3,
                     .palette = {7, 7, 7, 0, 8, 8, 8, 0, 9, 9, 9, 0},
                     .pixels = {0x20, 0x10, 0, 0}};
  EXPECT_EQ(grey.Read().kind, RasterKind::Grey8);
  EXPECT_EQ(grey.Read().planes[0].bytes, (Bytes{9, 7, 8}));
  BmpFile beyond = grey;
  beyond.pixels[0] = 0x30;
  EXPECT_NE(beyond.Refusal().find("colour 3 of a palette with 3"), std::string::npos);
  beyond.coloursUsed = 17;
  EXPECT_NE(beyond.Refusal().find("palette of 17 colours is too long"), std::string::npos);
}

TEST(Bmp, BadHeadersAreRefused) {
  EXPECT_NE((BmpFile{.width = 0}.Refusal().find("0x2 is out of range")), std::string::npos);
  EXPECT_NE((BmpFile{.width = -2}.Refusal().find("-2x2 is out of range")), std::string::npos);
  EXPECT_NE((BmpFile{.height = 0}.Refusal().find("out of range")), std::string::npos);
  EXPECT_NE((BmpFile{.height = INT32_MIN}.Refusal().find("2x2147483648 is out of range")), std::string::npos);
  EXPECT_NE((BmpFile{.width = INT32_MAX, .height = INT32_MAX}.Refusal().find("out of range")),
            std::string::npos);
  EXPECT_NE((BmpFile{.bits = 48}.Refusal().find("48 bits a pixel")), std::string::npos);
  EXPECT_NE((BmpFile{.bits = 8, .compression = 1}.Refusal().find("compression 1")), std::string::npos);
  EXPECT_NE((BmpFile{.width = 10000, .height = 10000}.Refusal().find(
                "the pixel data lacks 300000000 of 300000000")),
            std::string::npos);
}

TEST(Bmp, PixelsThatBeginInsideTheHeaderAreRefused) {
  Bytes content = BmpFile{.pixels = TwoRows24}.Content();
  content[10] = 53;
  const TestFolder folder;
  WriteFile(folder / "x.bmp", content);
  EXPECT_NE(FormatErrorText([&] { ReadAll(folder / "x.bmp"); }).find("cannot begin at byte 53"),
            std::string::npos);
}

TEST(Bmp, BytesOfAWritten24BitFile) {
  const TestFolder folder;
  Raster raster = MakeRaster(RasterKind::Dib24, 1, 2);
  raster.planes[0].bytes = {1, 2, 3, 4, 5, 6};
  WriteAll(folder / "x.bmp", {raster});
  Bytes expected = {'B', 'M', 62, 0, 0, 0, 0, 0, 0, 0, 54, 0, 0, 0};
  const Bytes info = {40, 0, 0, 0, 1,    0,    0, 0, 2,    0,    0, 0, 1, 0, 24, 0, 0, 0, 0, 0,
                      8,  0, 0, 0, 0x13, 0x0B, 0, 0, 0x13, 0x0B, 0, 0, 0, 0, 0,  0, 0, 0, 0, 0};
  const Bytes pixels = {4, 5, 6, 0, 1, 2, 3, 0};
  expected.insert(expected.end(), info.begin(), info.end());
  expected.insert(expected.end(), pixels.begin(), pixels.end());
  EXPECT_EQ(FileBytes(folder / "x.bmp"), expected);
}

TEST(Bmp, RoundTripsOfAllKindsAndSmallSizes) {
  const TestFolder folder;
  for (const RasterKind kind :
       {RasterKind::Dib15, RasterKind::Dib16, RasterKind::Dib24, RasterKind::Dib32, RasterKind::Grey8}) {
    for (int width = 1; width <= 9; ++width) {
      for (int height = 1; height <= 3; ++height) {
        const Raster raster = RandomRaster(kind, width, height);
        WriteAll(folder / "x.bmp", {raster});
        EXPECT_EQ(ReadAll(folder / "x.bmp"), std::vector{raster})
            << NameOf(kind) << " " << width << "x" << height;
      }
    }
  }
}

TEST(Bmp, TransparentPictureStaysTransparent) {
  const TestFolder folder;
  const Raster raster = MakeRaster(RasterKind::Dib32, 3, 2);
  WriteAll(folder / "x.bmp", {raster});
  EXPECT_EQ(ReadAll(folder / "x.bmp"), std::vector{raster});
}

}  // namespace
}  // namespace kv_host
