// Which lines are averaged and which copied, the field order, the whole image, and what is refused.

#include "image/image_rect.h"
#include "image/run_region.h"
#include "tests/parity/parity_fixture.h"
#include "tests/support/expect_error.h"

namespace {

using kv_img::AlgoMMXException;
using kv_img::ImageRect;
using kv_img::RegionOfSupport;
using kv_img::RunRegion;
using kv_img::PixelLayout::chromaFirst;
using kv_img::PixelLayout::lumaFirst;
using namespace kv_test;

class ParityChange : public ParityFixture {};

TEST_P(ParityChange, IsOfferedForTwo422ImagesOnly) {
  const int yuv = kv_img::PixelYUV422::ClassID;
  const int dib = kv_img::PixelDIB24::ClassID;
  EXPECT_EQ(member_.Get<Operation>("ParityChange", {yuv, yuv}), change_);
  EXPECT_EQ(member_.Get<Operation>("ParityChange", {yuv}), nullptr);
  EXPECT_EQ(member_.Get<Operation>("ParityChange", {dib, yuv}), nullptr);
}

TEST_P(ParityChange, EqualFlagsCopyTheFirstLineAndAverageWithTheLineAbove) {
  for (const auto& [order, parity] : {std::pair{0, 0}, std::pair{1, 1}, std::pair{1, 2}, std::pair{255, 1}}) {
    EXPECT_EQ(Lines(4, order, parity), (std::vector{0, 5, 15, 25}));
    const ImageRect whole(0, 0, 7, 3);
    EXPECT_EQ(Lines(4, order, parity, &whole), (std::vector{0, 5, 15, 25}));
  }
}

TEST_P(ParityChange, DifferentFlagsCopyTheLastLineAndAverageWithTheLineBelow) {
  for (const auto& [order, parity] : {std::pair{0, 1}, std::pair{1, 0}, std::pair{0, 2}, std::pair{200, 0}}) {
    EXPECT_EQ(Lines(4, order, parity), (std::vector{5, 15, 25, 30}));
    const ImageRect whole(0, 0, 7, 3);
    EXPECT_EQ(Lines(4, order, parity, &whole), (std::vector{5, 15, 25, 30}));
  }
}

TEST_P(ParityChange, RegionCopiesItsOwnFirstOrLastLine) {
  const ImageRect region(0, 1, 7, 3);
  EXPECT_EQ(Lines(5, 0, 0, &region), (std::vector{99, 10, 15, 25, 99}));
  EXPECT_EQ(Lines(5, 0, 1, &region), (std::vector{99, 15, 25, 30, 99}));
}

TEST_P(ParityChange, OneLineIsCopied) {
  const ImageRect region(0, 1, 7, 1);
  for (const int parity : {0, 1}) {
    EXPECT_EQ(Lines(1, 0, parity), (std::vector{0}));
    EXPECT_EQ(Lines(3, 0, parity, &region), (std::vector{99, 10, 99}));
  }
}

TEST_P(ParityChange, FieldOrderBecomesTheOtherAndFieldParityStays) {
  for (const auto& [order, expected] : {std::pair{0, 1}, std::pair{1, 0}, std::pair{77, 0}}) {
    for (const bool inRegion : {false, true}) {
      const Yuv422 source(4, 2, FieldOptions(order, 1));
      Yuv422 destination(4, 2, FieldOptions(9, 5));
      if (inRegion) {
        Run(source, destination, ImageRect(0, 0, 3, 1));
      } else {
        Run(source, destination);
      }
      EXPECT_EQ(destination.GetProperties().fieldOrder, expected);
      EXPECT_EQ(destination.GetProperties().fieldParity, 5);
      EXPECT_EQ(source.GetProperties().fieldOrder, order);
    }
  }
}

TEST_P(ParityChange, ThreeAndFiveAverageToThreeInGroupsAndFourInTheRestOfARegion) {
  LineImage source(9, 2, FieldOptions(0, 1), 3);
  std::fill(source.bytes.begin() + 26, source.bytes.end(), 5);
  LineImage whole(9, 2, FieldOptions(0, 0), 99);
  Run(source.image, whole.image);
  EXPECT_EQ(whole.Line(0, 18), (Bytes{3, 3, 3, 3, 3, 3, 3, 3, 3, 3, 3, 3, 3, 3, 3, 3, 99, 99}));
  // Columns 1 to 8: the odd first pixel, a group, a pair, and an even last pixel.
  LineImage part(9, 2, FieldOptions(0, 0), 99);
  Run(source.image, part.image, ImageRect(1, 0, 8, 1));
  EXPECT_EQ(part.Line(0, 22), (Bytes{99, 4, 4, 4, 3, 3, 3, 3, 3, 3, 3, 3, 4, 4, 4, 4, 4, 4, 99, 4, 99, 99}));
}

TEST_P(ParityChange, WidthSixLeavesTheLastFourBytesOfAveragedLines) {
  LineImage source(6, 2, FieldOptions(0, 0), 20);
  LineImage destination(6, 2, FieldOptions(0, 0), 99);
  Run(source.image, destination.image);
  EXPECT_EQ(destination.Line(0, 14), (Bytes{20, 20, 20, 20, 20, 20, 20, 20, 20, 20, 20, 20, 99, 99}));
  EXPECT_EQ(destination.Line(1, 14), (Bytes{20, 20, 20, 20, 20, 20, 20, 20, 99, 99, 99, 99, 99, 99}));
}

TEST_P(ParityChange, BetweenLayoutsTheCopiedLineOfAnImageIsNotWritten) {
  for (const auto& [from, to] : {std::pair{chromaFirst, lumaFirst}, std::pair{lumaFirst, chromaFirst}}) {
    for (const int parity : {0, 1}) {
      LineImage source(4, 2, FieldOptions(0, parity, from), 0);
      for (const int y : {0, 1}) std::ranges::copy(tens, source.image.GetPixelBuffer().rows[y]);
      LineImage destination(4, 2, FieldOptions(0, 0, to), 99);
      Run(source.image, destination.image);
      const int copied = parity == 0 ? 0 : 1;
      EXPECT_EQ(destination.Line(copied, 10), Bytes(10, 99));
      EXPECT_EQ(destination.Line(1 - copied, 10), (Bytes{20, 10, 40, 30, 60, 50, 80, 70, 99, 99}));
    }
  }
}

TEST_P(ParityChange, EqualLayoutsOfAnyCodeAreTaken) {
  constexpr std::int32_t otherCode = 4242;
  const LineImage source(4, 2, FieldOptions(0, 0, otherCode), 20);
  LineImage whole(4, 2, FieldOptions(0, 0, otherCode), 99);
  Run(source.image, whole.image);
  EXPECT_EQ(whole.Line(1, 9), (Bytes{20, 20, 20, 20, 20, 20, 20, 20, 99}));
  LineImage part(4, 2, FieldOptions(0, 0, otherCode), 99);
  Run(source.image, part.image, ImageRect(1, 0, 2, 1));
  EXPECT_EQ(part.Line(1, 9), (Bytes{99, 20, 20, 20, 20, 20, 99, 20, 99}));
}

TEST_P(ParityChange, ErrorsComeInOrderAndBeforeAnyWrite) {
  constexpr std::int32_t otherCode = 4242;
  const RunRegion ragged(0, {0, 1}, {3, 3});
  const RunRegion raggedOutside(0, {0, 1}, {3, 4});
  const ImageRect whole(0, 0, 3, 1);
  const auto expectRefusal = [&](const Yuv422& source, int width, int height, std::int32_t layout,
                                 const RegionOfSupport* region, std::uint32_t code, const wchar_t* tail) {
    LineImage destination(width, height, FieldOptions(7, 0, layout), 99);
    ExpectError<AlgoMMXException>(
        [&] {
          if (region == nullptr) {
            change_->Apply(source, destination.image);
          } else {
            change_->Apply(source, destination.image, *region);
          }
        },
        code, Name(tail));
    EXPECT_EQ(destination.image.GetProperties().fieldOrder, 7);
    EXPECT_EQ(destination.bytes, Bytes(destination.bytes.size(), 99));
  };
  const wchar_t* conversion = L"<ImageYUV422, ImageYUV422>: color model conversion not supported";
  const wchar_t* notRectangular = L"<ImageYUV422, ImageYUV422>: region of support not rectangular";
  const LineImage known(4, 2, FieldOptions(0, 0, lumaFirst), 20);
  const LineImage other(4, 2, FieldOptions(0, 0, otherCode), 20);

  expectRefusal(known.image, 5, 2, lumaFirst, nullptr, 1, L"");
  expectRefusal(known.image, 4, 3, lumaFirst, nullptr, 1, L"");
  expectRefusal(known.image, 5, 2, otherCode, nullptr, 1, L"");
  expectRefusal(known.image, 4, 2, otherCode, nullptr, 5, conversion);
  expectRefusal(other.image, 4, 2, chromaFirst, nullptr, 5, conversion);

  // The region must be inside the source and in the destination.
  expectRefusal(known.image, 9, 9, otherCode, &raggedOutside, 1, L"");
  expectRefusal(known.image, 3, 2, otherCode, &ragged, 1, L"");
  expectRefusal(known.image, 4, 1, lumaFirst, &whole, 1, L"");
  expectRefusal(known.image, 4, 2, otherCode, &ragged, 5, conversion);
  expectRefusal(other.image, 4, 2, lumaFirst, &whole, 5, conversion);
  expectRefusal(known.image, 4, 2, chromaFirst, &ragged, 4, notRectangular);
}

INSTANTIATE_TEST_SUITE_P(Members, ParityChange, EachMember(), MemberName);

}  // namespace
