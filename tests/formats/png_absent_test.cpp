// A program without libpng says what to do instead.

#include <gtest/gtest.h>

#include "host/formats/picture_writer.h"
#include "host/formats/png_file.h"
#include "tests/formats/support.h"

namespace kv_host {
namespace {

TEST(PngAbsent, WritingOffersBmpAndLeavesNothing) {
  const TestFolder folder;
  EXPECT_FALSE(HasPng());
  EXPECT_EQ(FormatErrorText([&] { WriteAll(folder / "x.png", {MakeRaster(RasterKind::Dib24, 3, 2)}); }),
            folder / "x.png" + ": PNG is not built into this kv; write a BMP file instead");
  EXPECT_TRUE(folder.Names().empty());
}

TEST(PngAbsent, ReadingOffersBmp) {
  const TestFolder folder;
  WriteFile(folder / "x", {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n', 0});
  EXPECT_EQ(FormatErrorText([&] { ReadAll(folder / "x"); }),
            folder / "x" + ": PNG is not built into this kv; make a BMP file of the picture first");
}

}  // namespace
}  // namespace kv_host
