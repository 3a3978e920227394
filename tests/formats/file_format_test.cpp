#include "host/formats/file_format.h"

#include <gtest/gtest.h>

#include "tests/formats/support.h"

namespace kv_host {
namespace {

std::optional<FileFormat> ContentFormat(const Bytes& bytes) {
  const TestFolder folder;
  WriteFile(folder / "f", bytes);
  ByteSource source(folder / "f");
  const auto format = FormatOfContent(source);
  EXPECT_EQ(source.Offset(), 0U);
  return format;
}

TEST(FileFormat, NamesAndExtensionsInAnyCase) {
  EXPECT_EQ(FormatNamed("y4m"), FileFormat::Y4m);
  EXPECT_EQ(FormatNamed("UYVY"), FileFormat::Uyvy);
  EXPECT_EQ(FormatNamed("jpeg"), FileFormat::Jpeg);
  EXPECT_EQ(FormatNamed("tif"), FileFormat::Tiff);
  EXPECT_EQ(FormatNamed("gif"), std::nullopt);
  EXPECT_EQ(FormatNamed(""), std::nullopt);
  EXPECT_EQ(FormatOfExtension("a/b.c/picture.PNG"), FileFormat::Png);
  EXPECT_EQ(FormatOfExtension("a.png/picture"), std::nullopt);
  EXPECT_EQ(FormatOfExtension("picture."), std::nullopt);
  EXPECT_EQ(FormatOfExtension("-"), std::nullopt);
}

TEST(FileFormat, EveryNameLeadsBackToItsFormat) {
  EXPECT_EQ(FormatNames(),
            "y4m, uyvy, yuy2, yvyu, uyvya, yuy2a, nv16, yuv422p, yuv420p, nv12, v210, yuv422p10le, gray, "
            "bgr24, rgb24, "
            "bgra, rgba, bmp, pgm, ppm, pnm, png");
  for (const FileFormat format :
       {FileFormat::Y4m,   FileFormat::Uyvy,      FileFormat::Yuy2,    FileFormat::Yvyu,    FileFormat::Uyvya,
        FileFormat::Yuy2a, FileFormat::Nv16,      FileFormat::Yuv422p, FileFormat::Yuv420p, FileFormat::Nv12,
        FileFormat::V210,  FileFormat::Yuv422p10, FileFormat::Grey,    FileFormat::Bgr24,   FileFormat::Rgb24,
        FileFormat::Bgra,  FileFormat::Rgba,      FileFormat::Bmp,     FileFormat::Pgm,     FileFormat::Ppm,
        FileFormat::Pnm,   FileFormat::Png}) {
    EXPECT_EQ(FormatNamed(TraitsOf(format).name), format);
    EXPECT_FALSE(TraitsOf(format).writableRasters.empty());
  }
}

TEST(FileFormat, FirstBytesShowTheFormat) {
  EXPECT_EQ(ContentFormat(ToBytes("YUV4MPEG2 W1")), FileFormat::Y4m);
  EXPECT_EQ(ContentFormat({0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'}), FileFormat::Png);
  EXPECT_EQ(ContentFormat(ToBytes("BM")), FileFormat::Bmp);
  EXPECT_EQ(ContentFormat(ToBytes("P5 ")), FileFormat::Pgm);
  EXPECT_EQ(ContentFormat(ToBytes("P6 ")), FileFormat::Ppm);
  EXPECT_EQ(ContentFormat(ToBytes("P7 ")), std::nullopt);
  EXPECT_EQ(ContentFormat(ToBytes("YUV4MPEG")), std::nullopt);
  EXPECT_EQ(ContentFormat(ToBytes("P")), std::nullopt);
  EXPECT_EQ(ContentFormat({}), std::nullopt);
}

}  // namespace
}  // namespace kv_host
