#include "host/formats/picture_reader.h"

#include <gtest/gtest.h>

#include "tests/formats/support.h"

namespace kv_host {
namespace {

TEST(PictureReader, ContentGoesBeforeTheExtension) {
  const TestFolder folder;
  const Raster raster = RandomRaster(RasterKind::Dib24, 5, 4);
  WriteAll(folder / "x.bmp", {raster});
  std::filesystem::rename(folder / "x.bmp", folder / "x.png");
  PictureReader reader(folder / "x.png");
  EXPECT_EQ(reader.Format(), FileFormat::Bmp);
  EXPECT_EQ(reader.Next(), raster);
  EXPECT_EQ(reader.Next(), std::nullopt);
  EXPECT_EQ(reader.Next(), std::nullopt);
}

TEST(PictureReader, OptionGoesBeforeTheContent) {
  const TestFolder folder;
  WriteFile(folder / "x.bmp", ToBytes("BMxy"));
  PictureReader reader(folder / "x.bmp", {.format = FileFormat::Yuy2, .width = 2, .height = 1});
  EXPECT_EQ(reader.Next()->planes[0].bytes, ToBytes("BMxy"));
}

TEST(PictureReader, WrongSignaturesAreRefused) {
  const TestFolder folder;
  for (const std::string name : {"x.png", "x.bmp", "x.y4m", "x.pgm", "x.ppm", "x.pnm"}) {
    WriteFile(folder / name, ToBytes("GIF89a, or so"));
    EXPECT_NE(FormatErrorText([&] { ReadAll(folder / name); }).find("byte 0: not a "), std::string::npos)
        << name;
  }
}

TEST(PictureReader, UnknownFormatsAreRefusedWithTheKnownOnes) {
  const TestFolder folder;
  WriteFile(folder / "x.gif", ToBytes("GIF89a"));
  EXPECT_EQ(FormatErrorText([&] { ReadAll(folder / "x.gif"); }),
            folder / "x.gif" +
                ": byte 0: the format is not known; name it: y4m, uyvy, yuy2, yvyu, uyvya, yuy2a, nv16, "
                "yuv422p, yuv420p, nv12, v210, yuv422p10le, gray, bgr24, rgb24, bgra, rgba, bmp, pgm, ppm, "
                "pnm, png");
}

TEST(PictureReader, EmptyAndMissingFilesAreNamed) {
  const TestFolder folder;
  WriteFile(folder / "x.png", {});
  EXPECT_EQ(FormatErrorText([&] { ReadAll(folder / "x.png"); }),
            folder / "x.png" + ": byte 0: the file is empty");
  EXPECT_NE(FileErrorText([&] { ReadAll(folder / "none.png"); }).find("No such file"), std::string::npos);
}

TEST(PictureReader, BytesBehindAPictureAreLeftAlone) {
  const TestFolder folder;
  WriteFile(folder / "x.pgm", ToBytes("P5 1 1 255 a and more"));
  EXPECT_EQ(ReadAll(folder / "x.pgm").size(), 1U);
}

TEST(PictureReader, UnprintableNamesStayOnOneLine) {
  // Why not is the system's to say: some allow no such name.
  const std::string text = FileErrorText([] { PictureReader("/none/a\nb\x1B"); });
  EXPECT_TRUE(text.starts_with("/none/a?b?: cannot be opened: ")) << text;
}

}  // namespace
}  // namespace kv_host
