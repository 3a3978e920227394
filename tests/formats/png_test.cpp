#include <gtest/gtest.h>
#include <zlib.h>

#include "tests/formats/png_maker.h"
#include "tests/formats/support.h"

namespace kv_host {
namespace {

TEST(Png, GreyOfFewBitsIsExpanded) {
  const Raster raster = PngFile{4, 1, 2, PngFile::grey, {0x1B}}.Read();
  EXPECT_EQ(raster.kind, RasterKind::Grey8);
  EXPECT_EQ(raster.planes[0].bytes, (Bytes{0, 85, 170, 255}));
}

TEST(Png, SixteenBitsAreRoundedToEight) {
  const Raster raster = PngFile{3, 1, 16, PngFile::grey, {0x00, 0xFF, 0x80, 0x00, 0xFF, 0xFF}}.Read();
  EXPECT_EQ(raster.kind, RasterKind::Grey8);
  EXPECT_EQ(raster.planes[0].bytes, (Bytes{1, 128, 255}));
}

TEST(Png, ColourIsBlueFirstInMemory) {
  const Raster raster = PngFile{2, 1, 8, PngFile::rgb, {1, 2, 3, 4, 5, 6}}.Read();
  EXPECT_EQ(raster.kind, RasterKind::Dib24);
  EXPECT_EQ(raster.planes[0].bytes, (Bytes{3, 2, 1, 6, 5, 4}));
}

TEST(Png, AlphaStaysBehindTheColours) {
  const Raster raster = PngFile{1, 1, 8, PngFile::rgbAlpha, {1, 2, 3, 4}}.Read();
  EXPECT_EQ(raster.kind, RasterKind::Dib32);
  EXPECT_EQ(raster.planes[0].bytes, (Bytes{3, 2, 1, 4}));
}

TEST(Png, GreyWithAlphaBecomesColourWithAlpha) {
  const Raster raster = PngFile{2, 1, 8, PngFile::greyAlpha, {9, 200, 7, 0}}.Read();
  EXPECT_EQ(raster.kind, RasterKind::Dib32);
  EXPECT_EQ(raster.planes[0].bytes, (Bytes{9, 9, 9, 200, 7, 7, 7, 0}));
}

TEST(Png, GreyWithATransparentValue) {
  PngFile file{2, 1, 8, PngFile::grey, {9, 7}};
  file.chunks = {{"tRNS", {0, 7}}};
  EXPECT_EQ(file.Read().planes[0].bytes, (Bytes{9, 9, 9, 255, 7, 7, 7, 0}));
}

TEST(Png, PalettesAreExpanded) {
  PngFile file{3, 1, 8, PngFile::palette, {1, 0, 1}};
  file.chunks = {{"PLTE", {10, 20, 30, 40, 50, 60}}};
  EXPECT_EQ(file.Read().kind, RasterKind::Dib24);
  EXPECT_EQ(file.Read().planes[0].bytes, (Bytes{60, 50, 40, 30, 20, 10, 60, 50, 40}));
  file.chunks.push_back({"tRNS", {77}});
  EXPECT_EQ(file.Read().kind, RasterKind::Dib32);
  EXPECT_EQ(file.Read().planes[0].bytes, (Bytes{60, 50, 40, 255, 30, 20, 10, 77, 60, 50, 40, 255}));
}

TEST(Png, InterlacedPicturesOfAllSmallSizes) {
  for (int width = 1; width <= 17; ++width) {
    for (int height = 1; height <= 10; ++height) {
      const Raster raster = RandomRaster(RasterKind::Grey8, width, height);
      PngFile file{width, height, 8, PngFile::grey, raster.planes[0].bytes};
      file.isInterlaced = true;
      EXPECT_EQ(file.Read(), raster) << width << "x" << height;
    }
  }
}

TEST(Png, InterlacedPicturesOfFewAndManyBits) {
  PngFile few{9, 9, 1, PngFile::grey, Bytes(18, 0x55)};
  PngFile many{9, 9, 16, PngFile::rgbAlpha, RandomRaster(RasterKind::Grey8, 72, 9).planes[0].bytes};
  for (PngFile* file : {&few, &many}) {
    const Raster plain = file->Read();
    file->isInterlaced = true;
    EXPECT_EQ(file->Read(), plain);
  }
}

TEST(Png, RoundTripsOfAllKindsAndSmallSizes) {
  const TestFolder folder;
  for (const RasterKind kind : {RasterKind::Grey8, RasterKind::Dib24, RasterKind::Dib32}) {
    for (int width = 1; width <= 9; ++width) {
      for (int height = 1; height <= 3; ++height) {
        const Raster raster = RandomRaster(kind, width, height);
        WriteAll(folder / "x.png", {raster});
        EXPECT_EQ(ReadAll(folder / "x.png"), std::vector{raster})
            << NameOf(kind) << " " << width << "x" << height;
      }
    }
  }
}

TEST(Png, PicturesOneBehindTheOther) {
  const TestFolder folder;
  Bytes all;
  for (const std::uint8_t grey : {3, 4, 5}) {
    const Bytes one = PngFile{1, 1, 8, PngFile::grey, {grey}}.Content();
    all.insert(all.end(), one.begin(), one.end());
  }
  WriteFile(folder / "x.png", all);
  const auto frames = ReadAll(folder / "x.png");
  ASSERT_EQ(frames.size(), 3U);
  EXPECT_EQ(frames[2].planes[0].bytes, Bytes{5});
}

TEST(Png, ErrorsNameTheFileAndThePlace) {
  const TestFolder folder;
  Bytes file = PngFile{1, 1, 8, PngFile::grey, {9}}.Content();
  file[29] ^= 1;  // the check sum of the header chunk
  WriteFile(folder / "x.png", file);
  const std::string text = FormatErrorText([&] { ReadAll(folder / "x.png"); });
  EXPECT_EQ(text, folder / "x.png" + ": byte 33: not a valid PNG file: IHDR: CRC error");
}

TEST(Png, AbsurdSizesAreRefused) {
  const TestFolder folder;
  WriteFile(folder / "x.png", PngFile{1, 1, 8, PngFile::grey, {9}}.Content());
  Bytes file = FileBytes(folder / "x.png");
  for (const std::uint32_t width : {0U, 32769U, 0x7FFFFFFFU, 0xFFFFFFFFU}) {
    for (unsigned i = 0; i < 4; ++i) file[16 + i] = static_cast<std::uint8_t>(width >> (24 - 8 * i));
    const auto sum = crc32(0, file.data() + 12, 17);
    for (unsigned i = 0; i < 4; ++i) file[29 + i] = static_cast<std::uint8_t>(sum >> (24 - 8 * i));
    WriteFile(folder / "y.png", file);
    EXPECT_NE(FormatErrorText([&] { ReadAll(folder / "y.png"); }).find("not a valid PNG file"),
              std::string::npos);
  }
}

}  // namespace
}  // namespace kv_host
