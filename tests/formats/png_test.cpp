#include <gtest/gtest.h>
#include <png.h>
#include <zlib.h>

#include "host/formats/png_file.h"
#include "tests/formats/support.h"

namespace kv_host {
namespace {

/// A PNG picture written with the library's plain calls. The tests give it valid pictures only.
struct PngFile {
  png_uint_32 width;
  png_uint_32 height;
  int depth;
  int colourType;
  std::size_t rowBytes;
  Bytes rows;
  int interlace = PNG_INTERLACE_NONE;
  std::vector<png_color> palette = {};
  Bytes paletteAlpha = {};
  int transparentGrey = -1;

  Bytes Content() const {
    Bytes file;
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    png_set_write_fn(
        png, &file,
        [](png_structp state, png_bytep bytes, std::size_t count) {
          auto* out = static_cast<Bytes*>(png_get_io_ptr(state));
          out->insert(out->end(), bytes, bytes + count);
        },
        [](png_structp) {});
    png_set_IHDR(png, info, width, height, depth, colourType, interlace, 0, 0);
    if (!palette.empty()) png_set_PLTE(png, info, palette.data(), static_cast<int>(palette.size()));
    if (!paletteAlpha.empty()) {
      png_set_tRNS(png, info, paletteAlpha.data(), static_cast<int>(paletteAlpha.size()), nullptr);
    }
    if (transparentGrey >= 0) {
      png_color_16 colour{};
      colour.gray = static_cast<png_uint_16>(transparentGrey);
      png_set_tRNS(png, info, nullptr, 0, &colour);
    }
    std::vector<png_bytep> pointers;
    Bytes copy = rows;
    for (png_uint_32 y = 0; y < height; ++y) pointers.push_back(copy.data() + y * rowBytes);
    png_write_info(png, info);
    png_write_image(png, pointers.data());
    png_write_end(png, info);
    png_destroy_write_struct(&png, &info);
    return file;
  }

  Raster Read() const {
    const TestFolder folder;
    WriteFile(folder / "x.png", Content());
    return ReadAll(folder / "x.png").at(0);
  }
};

TEST(Png, GreyOfFewBitsIsExpanded) {
  const Raster raster = PngFile{4, 1, 2, PNG_COLOR_TYPE_GRAY, 1, {0x1B}}.Read();
  EXPECT_EQ(raster.kind, RasterKind::Grey8);
  EXPECT_EQ(raster.planes[0].bytes, (Bytes{0, 85, 170, 255}));
}

TEST(Png, SixteenBitsAreRoundedToEight) {
  const Raster raster =
      PngFile{3, 1, 16, PNG_COLOR_TYPE_GRAY, 6, {0x00, 0xFF, 0x80, 0x00, 0xFF, 0xFF}}.Read();
  EXPECT_EQ(raster.kind, RasterKind::Grey8);
  EXPECT_EQ(raster.planes[0].bytes, (Bytes{1, 128, 255}));
}

TEST(Png, ColourIsBlueFirstInMemory) {
  const Raster raster = PngFile{2, 1, 8, PNG_COLOR_TYPE_RGB, 6, {1, 2, 3, 4, 5, 6}}.Read();
  EXPECT_EQ(raster.kind, RasterKind::Dib24);
  EXPECT_EQ(raster.planes[0].bytes, (Bytes{3, 2, 1, 6, 5, 4}));
}

TEST(Png, AlphaStaysBehindTheColours) {
  const Raster raster = PngFile{1, 1, 8, PNG_COLOR_TYPE_RGB_ALPHA, 4, {1, 2, 3, 4}}.Read();
  EXPECT_EQ(raster.kind, RasterKind::Dib32);
  EXPECT_EQ(raster.planes[0].bytes, (Bytes{3, 2, 1, 4}));
}

TEST(Png, GreyWithAlphaBecomesColourWithAlpha) {
  const Raster raster = PngFile{2, 1, 8, PNG_COLOR_TYPE_GRAY_ALPHA, 4, {9, 200, 7, 0}}.Read();
  EXPECT_EQ(raster.kind, RasterKind::Dib32);
  EXPECT_EQ(raster.planes[0].bytes, (Bytes{9, 9, 9, 200, 7, 7, 7, 0}));
}

TEST(Png, GreyWithATransparentValue) {
  PngFile file{2, 1, 8, PNG_COLOR_TYPE_GRAY, 2, {9, 7}};
  file.transparentGrey = 7;
  EXPECT_EQ(file.Read().planes[0].bytes, (Bytes{9, 9, 9, 255, 7, 7, 7, 0}));
}

TEST(Png, PalettesAreExpanded) {
  PngFile file{3, 1, 8, PNG_COLOR_TYPE_PALETTE, 3, {1, 0, 1}};
  file.palette = {{10, 20, 30}, {40, 50, 60}};
  EXPECT_EQ(file.Read().kind, RasterKind::Dib24);
  EXPECT_EQ(file.Read().planes[0].bytes, (Bytes{60, 50, 40, 30, 20, 10, 60, 50, 40}));
  file.paletteAlpha = {77};
  EXPECT_EQ(file.Read().kind, RasterKind::Dib32);
  EXPECT_EQ(file.Read().planes[0].bytes, (Bytes{60, 50, 40, 255, 30, 20, 10, 77, 60, 50, 40, 255}));
}

TEST(Png, InterlacedPicturesOfAllSmallSizes) {
  for (int width = 1; width <= 17; ++width) {
    for (int height = 1; height <= 10; ++height) {
      const Raster raster = RandomRaster(RasterKind::Grey8, width, height);
      const auto stride = static_cast<std::size_t>(width);
      PngFile file{
          static_cast<png_uint_32>(width), static_cast<png_uint_32>(height), 8, PNG_COLOR_TYPE_GRAY, stride,
          raster.planes[0].bytes};
      file.interlace = PNG_INTERLACE_ADAM7;
      EXPECT_EQ(file.Read(), raster) << width << "x" << height;
    }
  }
}

TEST(Png, InterlacedPicturesOfFewAndManyBits) {
  PngFile few{9, 9, 1, PNG_COLOR_TYPE_GRAY, 2, Bytes(18, 0x55)};
  PngFile many{
      9, 9, 16, PNG_COLOR_TYPE_RGB_ALPHA, 72, RandomRaster(RasterKind::Grey8, 72, 9).planes[0].bytes};
  for (PngFile* file : {&few, &many}) {
    const Raster plain = file->Read();
    file->interlace = PNG_INTERLACE_ADAM7;
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
    const Bytes one = PngFile{1, 1, 8, PNG_COLOR_TYPE_GRAY, 1, {grey}}.Content();
    all.insert(all.end(), one.begin(), one.end());
  }
  WriteFile(folder / "x.png", all);
  const auto frames = ReadAll(folder / "x.png");
  ASSERT_EQ(frames.size(), 3U);
  EXPECT_EQ(frames[2].planes[0].bytes, Bytes{5});
}

TEST(Png, ErrorsNameTheFileAndThePlace) {
  const TestFolder folder;
  Bytes file = PngFile{1, 1, 8, PNG_COLOR_TYPE_GRAY, 1, {9}}.Content();
  file[29] ^= 1;  // the check sum of the header chunk
  WriteFile(folder / "x.png", file);
  const std::string text = FormatErrorText([&] { ReadAll(folder / "x.png"); });
  EXPECT_EQ(text, folder / "x.png" + ": byte 33: not a valid PNG file: IHDR: CRC error");
}

TEST(Png, AbsurdSizesAreRefused) {
  const TestFolder folder;
  WriteFile(folder / "x.png", PngFile{1, 1, 8, PNG_COLOR_TYPE_GRAY, 1, {9}}.Content());
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
