#include "image/image.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <set>

#include "image/errors/exceptions.h"
#include "image/image_factory.h"
#include "image/row_range.h"
#include "tests/support/expect_error.h"
#include "tests/support/test_image.h"

namespace {

using kv_img::AlgoException;
using kv_img::Image;
using kv_img::ImageOptions;
using kv_img::PixelComponent;
using kv_img::WrappedRows;
using namespace kv_test;

template <class PixelClass>
class EveryImage : public testing::Test {};
using PixelClasses =
    testing::Types<kv_img::PixelYUV422, kv_img::PixelYUVA422, kv_img::PixelYUV411P, kv_img::PixelYUV411,
                   kv_img::PixelYUV211, kv_img::PixelDIB24, kv_img::PixelDIB32, kv_img::PixelDIB15,
                   kv_img::PixelDIB16, kv_img::PixelNoColor<unsigned char>>;
TYPED_TEST_SUITE(EveryImage, PixelClasses);

TYPED_TEST(EveryImage, OwnedRowsAreAlignedWithSlack) {
  for (int width = 1; width <= 70; ++width) {
    Image<TypeParam> image(width, 3);
    const auto& buffer = image.GetPixelBuffer();
    EXPECT_EQ(buffer.width, width);
    EXPECT_EQ(buffer.height, 3);
    EXPECT_EQ(buffer.data, buffer.rows[0]);
    EXPECT_EQ(buffer.totalBytes, static_cast<std::uint64_t>(buffer.bytesPerRow) *
                                     static_cast<std::uint64_t>(image.GetStoredRowCount()));
    for (int row = 0; row < image.GetStoredRowCount(); ++row) {
      EXPECT_EQ(reinterpret_cast<std::uintptr_t>(buffer.rows[row]) % 64, 0U);
      EXPECT_EQ(buffer.rows[row], buffer.data + static_cast<std::ptrdiff_t>(row) * buffer.bytesPerRow);
      // Sanitizers watch that the last byte belongs to the image.
      std::memset(buffer.rows[row], row, static_cast<std::size_t>(buffer.bytesPerRow));
    }
    EXPECT_GE(static_cast<std::size_t>(buffer.bytesPerRow), image.Row(0).size() + 8);
    EXPECT_EQ(image.Row(2).data(), buffer.rows[2]);
  }
}

TYPED_TEST(EveryImage, AbsurdSizesAreRefused) {
  for (const int side : {0, -1, -2147483647, kv_img::maxImageSide + 1, 2147483647}) {
    const std::wstring bad = L" (" + std::to_wstring(side) + L", must be 1 to 1048576)";
    ExpectError<AlgoException>([&] { Image<TypeParam>(side, 2); }, 2, L"width" + bad, L"Image::Image");
    ExpectError<AlgoException>([&] { Image<TypeParam>(2, side); }, 2, L"height" + bad, L"Image::Image");
  }
}

TYPED_TEST(EveryImage, WrappedRowsAreTheCallers) {
  constexpr int width = 13;
  constexpr int height = 4;
  std::vector<std::uint8_t> memory(100 * 3 * height);
  Image<TypeParam> image(width, height, WrappedRows::Strided(memory.data(), 100));
  EXPECT_EQ(image.GetPixelBuffer().rows[2], memory.data() + 200);
  EXPECT_EQ(image.GetPixelBuffer().data, memory.data());

  const int stored = image.GetStoredRowCount();
  std::uint8_t* lastRow = memory.data() + std::ptrdiff_t{100} * (stored - 1);
  const Image<TypeParam> bottomUp(width, height, WrappedRows::Strided(lastRow, -100));
  EXPECT_EQ(bottomUp.GetPixelBuffer().rows[0], lastRow);
  EXPECT_EQ(bottomUp.GetPixelBuffer().rows[stored - 1], memory.data());
  EXPECT_EQ(bottomUp.GetPixelBuffer().data, memory.data());

  std::vector<std::uint8_t*> rows(static_cast<std::size_t>(stored), memory.data() + 7);
  const Image<TypeParam> separate(width, height, WrappedRows::Separate(rows));
  EXPECT_EQ(separate.GetPixelBuffer().rows[stored - 1], memory.data() + 7);
}

TYPED_TEST(EveryImage, WrongRowsAreRefused) {
  std::uint8_t byte = 0;
  EXPECT_THROW(Image<TypeParam>(64, 4, WrappedRows::Strided(nullptr, 1000)), AlgoException);
  EXPECT_THROW(Image<TypeParam>(64, 4, WrappedRows::Strided(&byte, 63)), AlgoException);
  EXPECT_THROW(Image<TypeParam>(64, 4, WrappedRows::Strided(&byte, -63)), AlgoException);
  std::vector<std::uint8_t*> rows(12, &byte);
  EXPECT_NO_THROW(Image<TypeParam>(64, 4, WrappedRows::Separate(rows)));
  EXPECT_THROW(Image<TypeParam>(64, 13, WrappedRows::Separate(rows)), AlgoException);
  rows[3] = nullptr;
  EXPECT_THROW(Image<TypeParam>(64, 4, WrappedRows::Separate(rows)), AlgoException);
}

TEST(Image, WrongRowsAreNamed) {
  std::uint8_t byte = 0;
  std::uint8_t* rows[] = {&byte, nullptr};
  ExpectError<AlgoException>([&] { Yuv422(4, 2, WrappedRows::Strided(&byte, 7)); }, 2,
                             L"stride (7, a row takes 8 bytes)", L"Image::Image");
  ExpectError<AlgoException>([&] { Yuv422(4, 2, WrappedRows::Separate(rows)); }, 2, L"rows (row 1 is null)",
                             L"Image::Image");
  ExpectError<AlgoException>([&] { Yuv422(4, 3, WrappedRows::Separate(rows)); }, 2,
                             L"rows (2 given, 3 needed)", L"Image::Image");
}

TEST(Image, ClassIdentifiersAreDistinct) {
  const std::set<int> ids = {kv_img::PixelYUV422::ClassID,
                             kv_img::PixelYUVA422::ClassID,
                             kv_img::PixelYUV411P::ClassID,
                             kv_img::PixelYUV411::ClassID,
                             kv_img::PixelYUV211::ClassID,
                             kv_img::PixelDIB24::ClassID,
                             kv_img::PixelDIB32::ClassID,
                             kv_img::PixelDIB15::ClassID,
                             kv_img::PixelDIB16::ClassID,
                             kv_img::PixelNoColor<unsigned char>::ClassID,
                             Grey8::ClassID,
                             Yuv422::ClassID,
                             Image<kv_img::PixelYUVA422>::ClassID,
                             Image<kv_img::PixelYUV411P>::ClassID,
                             Image<kv_img::PixelYUV411>::ClassID,
                             Image<kv_img::PixelYUV211>::ClassID,
                             Image<kv_img::PixelDIB24>::ClassID,
                             Image<kv_img::PixelDIB32>::ClassID,
                             Image<kv_img::PixelDIB15>::ClassID,
                             Image<kv_img::PixelDIB16>::ClassID};
  EXPECT_EQ(ids.size(), 20U);
}

TEST(Image, OwnedRowsHaveSlackBehindTheirLastWholeGroup) {
  ImageOptions options;
  options.rowSlack = 0;
  for (int width = 1; width <= 130; ++width) {
    EXPECT_GE(Grey8(width, 1, options).GetPixelBuffer().bytesPerRow, width + 8) << width;
    // Four pixels share six bytes.
    EXPECT_GE(Image<kv_img::PixelYUV411>(width, 1, options).GetPixelBuffer().bytesPerRow,
              (width + 3) / 4 * 6 + 8)
        << width;
  }
}

TEST(Image, OwnedPicturesBeginBlack) {
  for (int round = 0; round < 3; ++round) {
    // Memory that was used before comes first at the next allocation.
    const Grey8 image(100, 9);
    const auto& buffer = image.GetPixelBuffer();
    const std::size_t bytes = buffer.totalBytes;
    EXPECT_EQ(std::count(buffer.data, buffer.data + bytes, 0), static_cast<std::ptrdiff_t>(bytes)) << round;
    std::memset(buffer.data, 7, bytes);
  }
}

TEST(Image, StandardPixelSizes) {
  EXPECT_EQ(kv_img::PixelYUV422::NbrOfBitsPerPixel, 16U);
  EXPECT_EQ(kv_img::PixelYUV411::NbrOfBitsPerPixel, 12U);
  EXPECT_EQ(kv_img::PixelDIB24::NbrOfBitsPerPixel, 24U);
  EXPECT_EQ(kv_img::PixelDIB32::NbrOfBitsPerPixel, 32U);
  EXPECT_EQ(kv_img::PixelNoColor<unsigned char>::NbrOfBitsPerPixel, 8U);
  EXPECT_EQ(kv_img::PixelYUV422::ComponentTypeSize, 1U);
}

TEST(Image, LayoutCodesTellWhereComponentsLie) {
  struct Case {
    int layout;
    int cb;
    int luma;
    int cr;
  };
  for (const auto& [layout, cb, luma, cr] : {Case{4097, 0, 1, 2}, Case{4098, 1, 0, 3}, Case{4099, 1, 0, 3}}) {
    const Yuv422 image(4, 1, Options(layout));
    const auto& descriptor = image.GetPixelBuffer().descriptor;
    EXPECT_EQ(image.GetPixelLayout(), layout);
    EXPECT_EQ(descriptor.GetLayout(), layout);
    EXPECT_EQ(descriptor.GetPosition(PixelComponent::Cb), cb);
    EXPECT_EQ(descriptor.GetPosition(PixelComponent::Luma), luma);
    EXPECT_EQ(descriptor.GetPosition(PixelComponent::Cr), cr);
    EXPECT_EQ(descriptor.GetPosition(descriptor.GetComponent(0)), 0);
  }
}

TEST(Image, PlanesLieOneAfterTheOther) {
  const Yuv411P planar(5, 3);
  const auto& planes = planar.GetPixelBuffer().descriptor;
  EXPECT_EQ(planes.GetComponent(0), PixelComponent::Luma);
  EXPECT_EQ(planar.GetStoredRowCount(), 9);
  EXPECT_EQ(planar.PlaneRow(PixelComponent::Luma, 1).data(), planar.GetPixelBuffer().rows[1]);
  EXPECT_EQ(planar.PlaneRow(PixelComponent::Cb, 1).data(), planar.GetPixelBuffer().rows[4]);
  EXPECT_EQ(planar.PlaneRow(PixelComponent::Cr, 2).data(), planar.GetPixelBuffer().rows[8]);
  EXPECT_EQ(planar.PlaneRow(PixelComponent::Cr, 2).size(), 3U);

  const Yuva422 alpha(5, 3);
  EXPECT_EQ(alpha.PlaneRow(PixelComponent::Cr, 2).data(), alpha.GetPixelBuffer().rows[2]);
  EXPECT_EQ(alpha.PlaneRow(PixelComponent::Alpha, 2).data(), alpha.GetPixelBuffer().rows[5]);
  EXPECT_EQ(alpha.PlaneRow(PixelComponent::Alpha, 2).size(), 5U);
  const auto& start = alpha.GetPixelBuffer().descriptor.planeStart;
  EXPECT_EQ(start[0], start[1]);
  EXPECT_EQ(start[1], start[2]);
}

TEST(Image, BitmapLayoutSelectsTheTableRow) {
  const Dib24 blueFirst(2, 1);
  const Dib24 redFirst(2, 1, Options(kv_img::PixelLayout::redFirst));
  EXPECT_EQ(blueFirst.GetPixelBuffer().descriptor.Positions()[2], 2U);
  EXPECT_EQ(redFirst.GetPixelBuffer().descriptor.Positions()[2], 0U);
  const Dib16 words(2, 1, Options(kv_img::PixelLayout::redFirst));
  EXPECT_EQ(words.GetPixelBuffer().descriptor.layoutFlags & 0xF0U, 0U);
}

TEST(Image, PropertiesAreOneRecord) {
  ImageOptions options;
  options.properties = {1, 1, 2, 0, 7};
  Yuv422 image(4, 2, options);
  EXPECT_EQ(image.GetProperties(), options.properties);
  image.GetProperties().fieldParity = 9;
  EXPECT_EQ(image.GetPixelBuffer().properties.fieldParity, 9);
}

TEST(Image, RowsThatLieAlikeShareAStorageFlag) {
  std::vector<std::uint8_t> memory(1000);
  ImageOptions moreSlack;
  moreSlack.rowSlack = 200;
  const auto flag = [](const Yuv422& image) { return image.GetPixelBuffer().storageFlag; };
  EXPECT_EQ(flag(Yuv422(9, 2)), flag(Yuv422(9, 2)));
  EXPECT_NE(flag(Yuv422(9, 2)), flag(Yuv422(9, 2, moreSlack)));
  const Yuv422 apart(9, 2, WrappedRows::Strided(memory.data(), 20));
  const Yuv422 together(9, 2, WrappedRows::Strided(memory.data(), 18));
  EXPECT_NE(flag(apart), flag(together));
  EXPECT_EQ(apart.GetProperties().propertyFlag, 1) << "rows that are not contiguous are copied row by row";
  EXPECT_EQ(together.GetProperties().propertyFlag, 0);
  ImageOptions chosen;
  chosen.storageFlag = 42;
  const Yuv422 explicitFlag(9, 2, WrappedRows::Strided(memory.data(), 20), chosen);
  EXPECT_EQ(flag(explicitFlag), 42);
  EXPECT_EQ(explicitFlag.GetProperties().propertyFlag, 0);
}

TEST(Image, RowsAreIterated) {
  Grey8 image(5, 3);
  std::uint8_t value = 0;
  for (const auto row : Rows(image)) std::ranges::fill(row, ++value);
  const Grey8& constant = image;
  int sum = 0;
  for (const auto row : Rows(constant)) {
    static_assert(std::is_same_v<decltype(row), const std::span<const std::uint8_t>>);
    EXPECT_EQ(row.size(), 5U);
    sum += row[4];
  }
  EXPECT_EQ(sum, 1 + 2 + 3);
}

TEST(Image, SpareBytesLieBehindTheLastRow) {
  ImageOptions options;
  options.spareBytes = 1000;
  Yuv422 image(4, 2, options);
  const auto& buffer = image.GetPixelBuffer();
  std::memset(buffer.data, 1, buffer.totalBytes + 1000);
  EXPECT_EQ(buffer.totalBytes, 2U * static_cast<unsigned>(buffer.bytesPerRow));
}

TEST(ImageFactory, MakesImagesLikeOthersOrFromSizes) {
  ImageOptions options;
  options.properties = {0, 1, 1, 0, 3};
  const Yuv422 frame(33, 7, options);
  const auto like = kv_img::ImageFactory<Grey8>::CreateImage(frame);
  EXPECT_EQ(like->GetWidth(), 33U);
  EXPECT_EQ(like->GetHeight(), 7U);
  EXPECT_EQ(like->GetProperties(), options.properties);
  const auto sized = kv_img::ImageFactory<Grey8>::CreateImage(5, 6, options.properties, 16384, 1);
  EXPECT_EQ(sized->GetWidth(), 5U);
  EXPECT_EQ(sized->GetHeight(), 6U);
  EXPECT_EQ(sized->GetPixelLayout(), 16384);
  EXPECT_EQ(sized->GetProperties(), options.properties);
}

TEST(Pixel, BitmapPixelsAreBuiltFromAnyPixel) {
  const kv_img::PixelDIB32 colour(1, 2, 3, 4);
  const kv_img::PixelDIB24 opaque(colour);
  EXPECT_EQ(opaque.GetBlue(), 1);
  EXPECT_EQ(opaque.GetRed(), 3);
  EXPECT_EQ(kv_img::PixelDIB32(opaque).GetAlpha(), 255);
  EXPECT_EQ(kv_img::PixelDIB32(colour).GetAlpha(), 4);
}

}  // namespace
