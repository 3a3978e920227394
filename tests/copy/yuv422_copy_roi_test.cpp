#include "tests/copy/copy_roi_fixture.h"

// Which pixels of packed 4:2:2 are copied, and how.

namespace {

using kv_img::ImageRect;
using kv_img::RegionOfSupport;
using kv_img::PixelLayout::chromaFirst;
using kv_img::PixelLayout::lumaFirst;
using namespace kv_test;

class Yuv422CopyRoi : public CopyRoiFixture<kv_img::PixelYUV422> {};

TEST_P(Yuv422CopyRoi, RectanglesOfEqualSizeAtDifferentPositions) {
  for (const std::int32_t layout : {lumaFirst, chromaFirst}) {
    const Picture source(16, 5, 0, lumaFirst);
    Picture destination(20, 6, 100, layout);
    const Picture before(20, 6, 100, layout);
    Run(source.image, destination.image, ImageRect(2, 1, 9, 3), ImageRect(12, 2, 19, 4));
    for (int row = 0; row < 6; ++row) {
      Bytes expected = before.Columns(row, 0, 19);
      if (row >= 2 && row <= 4) {
        const Bytes pixels = source.Columns(row - 1, 2, 9);
        const Bytes copied = layout == lumaFirst ? pixels : Swapped(pixels);
        std::ranges::copy(copied, expected.begin() + 24);
      }
      EXPECT_EQ(destination.Columns(row, 0, 19), expected) << "row " << row;
    }
  }
}

TEST_P(Yuv422CopyRoi, RegionsThatDoNotFitAreRefusedByEveryThread) {
  const Yuv422 source(16, 8);
  const Picture before(12, 9, 0, chromaFirst);
  Picture destination(12, 9, 0, chromaFirst);
  const auto refused = [&](const RegionOfSupport& from, const RegionOfSupport& to) {
    ExpectRegionsRefused(source, destination.image, from, to);
    for (int row = 0; row < 9; ++row) EXPECT_EQ(destination.Columns(row, 0, 11), before.Columns(row, 0, 11));
  };
  {
    SCOPED_TRACE("different widths");
    refused(ImageRect(0, 0, 7, 3), ImageRect(0, 0, 8, 3));
  }
  {
    SCOPED_TRACE("different heights");
    refused(ImageRect(0, 0, 7, 3), ImageRect(0, 0, 7, 4));
  }
  {
    SCOPED_TRACE("source outside its image, destination valid");
    refused(ImageRect(10, 0, 16, 3), ImageRect(0, 0, 6, 3));
    refused(ImageRect(0, 5, 6, 8), ImageRect(0, 0, 6, 3));
    refused(ImageRect(-1, 0, 5, 3), ImageRect(0, 0, 6, 3));
  }
  {
    SCOPED_TRACE("destination outside its image, source valid");
    refused(ImageRect(9, 0, 15, 3), ImageRect(6, 0, 12, 3));
    refused(ImageRect(0, 0, 6, 3), ImageRect(0, -1, 6, 2));
  }
  {
    SCOPED_TRACE("different numbers of runs");
    refused(Runs(0, {{0, 3}, {1, 4}}), Runs(0, {{0, 3}, {1, 4}, {0, 3}}));
  }
  {
    SCOPED_TRACE("runs of different lengths");
    refused(Runs(0, {{0, 3}, {1, 4}}), Runs(3, {{0, 3}, {1, 5}}));
    refused(Runs(0, {{0, 3}, {1, 0}}), Runs(3, {{0, 3}, {1, -1}}));
  }
  {
    SCOPED_TRACE("one region rectangular, the other not");
    refused(ImageRect(0, 0, 3, 1), Runs(3, {{0, 3}, {1, 5}}));
  }
  {
    SCOPED_TRACE("a run outside its image");
    refused(Runs(0, {{0, 3}, {13, 16}}), Runs(0, {{0, 3}, {0, 3}}));
    refused(Runs(0, {{0, 3}, {12, 15}}), Runs(0, {{0, 3}, {9, 12}}));
  }
}

TEST_P(Yuv422CopyRoi, RunsMayLieDifferentlyRowByRow) {
  const Picture source(16, 3, 0, lumaFirst);
  Picture destination(16, 3, 100, chromaFirst);
  Run(source.image, destination.image, Runs(0, {{0, 5}, {4, 6}}), Runs(1, {{8, 13}, {2, 4}}));
  EXPECT_EQ(destination.Columns(1, 8, 13), Swapped(source.Columns(0, 0, 5)));
  EXPECT_EQ(destination.Columns(2, 2, 4), Swapped(source.Columns(1, 4, 6)));
  EXPECT_EQ(destination.Columns(2, 5, 15), Picture(16, 3, 100, chromaFirst).Columns(2, 5, 15));
}

TEST_P(Yuv422CopyRoi, StartColumnsThreeAndFiveBeginWithTheOddPixelAlone) {
  const Picture source(16, 1, 0, lumaFirst);
  Picture destination(16, 1, 100, chromaFirst);
  Run(source.image, destination.image, ImageRect(3, 0, 8, 0), ImageRect(5, 0, 10, 0));
  const Bytes expected = {108, 109, 7, 6, 9, 8, 11, 10, 13, 12, 15, 14, 17, 16, 122, 123};
  EXPECT_EQ(destination.Columns(0, 4, 11), expected);
}

TEST_P(Yuv422CopyRoi, StartColumnsTwoAndFiveCopyComponentsFromTheUnshiftedRow) {
  // The source's parity would shift row 0 to row 1.
  const Picture source(16, 3, 0, lumaFirst, 1);
  Picture destination(16, 3, 100, chromaFirst, 0);
  Run(source.image, destination.image, ImageRect(2, 0, 5, 1), ImageRect(5, 0, 8, 1));
  // Source, luma first: Y2 4, Cb 5, Y3 6, Cr 7, Y4 8, Cb 9, Y5 10, Cr 11. Pair 4-5 takes the chroma of column
  // 2, pair 6-7 that of column 4, the last pair that of column 5. Columns 4 and 9 keep their luma.
  const Bytes expected = {5, 109, 7, 4, 9, 6, 11, 8, 9, 10, 11, 119};
  EXPECT_EQ(destination.Columns(0, 4, 9), expected);
  Bytes nextRow = expected;
  for (std::uint8_t& byte : nextRow) byte += 40;
  EXPECT_EQ(destination.Columns(1, 4, 9), nextRow);
}

TEST_P(Yuv422CopyRoi, SpanOfSevenFromAnEvenColumnIsWrittenWhole) {
  const Picture source(16, 1, 0, chromaFirst);
  Picture destination(16, 1, 100, lumaFirst);
  Run(source.image, destination.image, ImageRect(4, 0, 10, 0), ImageRect(2, 0, 8, 0));
  EXPECT_EQ(destination.Columns(0, 2, 8), Swapped(source.Columns(0, 4, 10)));
  EXPECT_EQ(destination.Columns(0, 0, 1), (Bytes{100, 101, 102, 103}));
  EXPECT_EQ(destination.Columns(0, 9, 10), (Bytes{118, 119, 120, 121}));
}

TEST_P(Yuv422CopyRoi, PairEndsWithTheChromaCopiedLast) {
  for (const std::int32_t layout : {lumaFirst, chromaFirst}) {
    const Picture source(16, 1, 0, layout);
    Picture destination(16, 1, 100, layout);
    Run(source.image, destination.image, ImageRect(1, 0, 11, 0), ImageRect(0, 0, 10, 0));
    const int luma = layout == lumaFirst ? 0 : 1;
    const Bytes row = destination.Columns(0, 0, 11);
    for (int pixel = 0; pixel <= 10; ++pixel) EXPECT_EQ(row[2 * pixel + luma], 2 * (pixel + 1) + luma);
    // Whole pairs end with their odd pixel; it was column 2, 4, ... and so brings the pair after it.
    for (int pair = 0; pair < 5; ++pair) {
      EXPECT_EQ(row[4 * pair + 1 - luma], 4 * (pair + 1) + 1 - luma);
      EXPECT_EQ(row[4 * pair + 3 - luma], 4 * (pair + 1) + 3 - luma);
    }
    // The last pair gets its even pixel only, column 11, and that one's chroma.
    EXPECT_EQ(row[21 - luma], 21 - luma);
    EXPECT_EQ(row[23 - luma], 23 - luma);
    EXPECT_EQ(row[22 + luma], 122 + luma);
  }
}

TEST_P(Yuv422CopyRoi, TwoDifferentOtherLayoutCodesAreBothLumaFirstButExchangedWhereColumnsAgree) {
  const Picture source(16, 1, 0, lumaFirst);
  Picture destination(16, 1, 100, 4999);
  Run(source.image, destination.image, ImageRect(0, 0, 4, 0), ImageRect(2, 0, 6, 0));
  EXPECT_EQ(destination.Columns(0, 2, 6), Swapped(source.Columns(0, 0, 4)));
  Run(source.image, destination.image, ImageRect(0, 0, 0, 0), ImageRect(11, 0, 11, 0));
  EXPECT_EQ(destination.Columns(0, 10, 11), (Bytes{120, 1, 0, 3}));
}

INSTANTIATE_TEST_SUITE_P(Members, Yuv422CopyRoi, EachMember(), MemberName);

}  // namespace
