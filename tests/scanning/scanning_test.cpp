// Where a pan takes its rows and columns from, and what the other field changes.

#include "image/run_region.h"
#include "tests/scanning/scanning_fixture.h"

namespace {

using kv_img::ImageRect;
using kv_img::RegionOfSupport;
using kv_img::RunRegion;
using kv_img::PixelLayout::chromaFirst;
using kv_img::PixelLayout::lumaFirst;
using namespace kv_test;

using Values = std::vector<int>;

class Scanning : public ScanningFixture {};

const auto flatChroma = [](int, int) { return 128; };

/// Luma 10 * column + row.
ScanTestImage Coordinates(int width, int height) {
  ScanTestImage image(width, height, Options(lumaFirst));
  image.Fill([](int x, int y) { return 10 * x + y; }, flatChroma);
  return image;
}

TEST_P(Scanning, IsOfferedForTwo422ImagesOnly) {
  const int yuv = kv_img::PixelYUV422::ClassID;
  const int dib = kv_img::PixelDIB24::ClassID;
  EXPECT_EQ(member_.Get<Operation>("Scanning", {yuv, yuv}), scan_);
  EXPECT_EQ(member_.Get<Operation>("Scanning", {yuv}), nullptr);
  EXPECT_EQ(member_.Get<Operation>("Scanning", {yuv, dib}), nullptr);
}

TEST_P(Scanning, OneStepOrNoneStaysAtTheFirstEdge) {
  const ScanTestImage source = Coordinates(16, 8);
  for (const std::int32_t steps : {1, 0, -5}) {
    for (const std::uint32_t step : {0U, 3U}) {
      for (const std::uint8_t flags : {horizontal, horizontalReverse, vertical, verticalReverse}) {
        ScanTestImage destination(16, 8, Options(lumaFirst, static_cast<int>(step & 1)));
        if ((flags & (horizontal | horizontalReverse)) != 0) {
          Run(*source, *destination, ImageRect(2, 1, 9, 6), ImageRect(4, 2, 7, 7), flags, steps, step);
          for (int y = 2; y <= 7; ++y) {
            EXPECT_EQ(destination.LumaRow(y, 4, 7), (Values{19 + y, 29 + y, 39 + y, 49 + y}));
          }
        } else {
          Run(*source, *destination, ImageRect(2, 1, 5, 6), ImageRect(4, 2, 7, 4), flags, steps, step);
          for (int y = 2; y <= 4; ++y) {
            EXPECT_EQ(destination.LumaRow(y, 4, 7), (Values{19 + y, 29 + y, 39 + y, 49 + y}));
          }
        }
      }
    }
  }
}

/// Column and row of the source that the first pixel of a region comes from.
std::pair<int, int> Origin(const ScanningFixture::Operation& scan, std::uint8_t flags, std::uint32_t step) {
  const ScanTestImage source = Coordinates(12, 10);
  ScanTestImage destination(12, 10, Options(lumaFirst, static_cast<int>(step & 1)), 255);
  const bool isHorizontal = (flags & (horizontal | horizontalReverse)) != 0;
  const ImageRect region = isHorizontal ? ImageRect(2, 2, 5, 9) : ImageRect(2, 4, 11, 5);
  kv_std::SpinBarrier barrier(1);
  scan.Apply(*source, *destination, ImageRect(1, 1, 10, 8), region, flags, 4, step, barrier, 0);
  const int luma = destination.Luma(2, isHorizontal ? 2 : 4);
  return {luma / 10, luma % 10};
}

TEST_P(Scanning, ViewportMovesFromEdgeToEdge) {
  // Six columns or rows of room in three steps.
  for (std::uint32_t step = 0; step < 4; ++step) {
    const int forward = 1 + 2 * static_cast<int>(step);
    const int reverse = 7 - 2 * static_cast<int>(step);
    EXPECT_EQ(Origin(*scan_, horizontal, step), std::pair(forward, 1));
    EXPECT_EQ(Origin(*scan_, horizontalReverse, step), std::pair(reverse, 1));
    EXPECT_EQ(Origin(*scan_, vertical, step), std::pair(1, forward));
    EXPECT_EQ(Origin(*scan_, verticalReverse, step), std::pair(1, reverse));
  }
}

TEST_P(Scanning, HorizontalFlagsBeatVerticalOnesAndForwardBeatsReverse) {
  EXPECT_EQ(Origin(*scan_, 0x03, 1), std::pair(3, 1));
  EXPECT_EQ(Origin(*scan_, 0x0F, 1), std::pair(3, 1));
  EXPECT_EQ(Origin(*scan_, 0xF1, 1), std::pair(3, 1));
  EXPECT_EQ(Origin(*scan_, 0x0E, 1), std::pair(5, 1));
  EXPECT_EQ(Origin(*scan_, 0x06, 1), std::pair(5, 1));
  EXPECT_EQ(Origin(*scan_, 0x0C, 1), std::pair(1, 3));
  EXPECT_EQ(Origin(*scan_, 0xFC, 1), std::pair(1, 3));
  EXPECT_EQ(Origin(*scan_, 0xF8, 1), std::pair(1, 5));
  EXPECT_EQ(Origin(*scan_, 0xF0, 1), std::pair(25, 5)) << "no pan: nothing is written";
}

TEST_P(Scanning, FieldParityIsComparedAsAWholeByte) {
  for (const int parity : {0, 1, 2, 3, 255}) {
    for (const std::uint32_t step : {0U, 1U, 2U, 7U}) {
      ScanTestImage image = Coordinates(8, 4);
      image->GetProperties().fieldParity = static_cast<std::uint8_t>(parity);
      Run(*ScanTestImage(8, 4, Options(lumaFirst)), *image, ImageRect(0, 0, 7, 3), ImageRect(0, 0, 7, 3), 0,
          9, step);
      const bool isOtherField = parity != static_cast<int>(step % 2);
      EXPECT_EQ(image.Luma(0, 3), isOtherField ? 2 : 3) << "parity " << parity << ", step " << step;
    }
  }
}

TEST_P(Scanning, OtherFieldOfAHorizontalPanAveragesTwoRowsAndRepeatsTheLast) {
  ScanTestImage source(8, 6, Options(lumaFirst));
  source.Fill([](int, int y) { return 20 * y; }, [](int, int y) { return 40 * y; });
  for (const int threads : {1, 2}) {
    ScanTestImage destination(8, 6, Options(lumaFirst, 1), 255);
    Run(*source, *destination, ImageRect(0, 1, 7, 4), ImageRect(0, 2, 7, 5), horizontal, 1, 0, threads);
    const Values luma = {255, 255, 30, threads == 1 ? 50 : 30, 70, 70};
    for (int y = 0; y < 6; ++y) EXPECT_EQ(destination.Luma(5, y), luma[static_cast<std::size_t>(y)]) << y;
    EXPECT_EQ(destination.Cb(4, 2), 60);
    EXPECT_EQ(destination.Cb(4, 5), 140);
  }
}

TEST_P(Scanning, OtherFieldOfAVerticalPanLiesHalfARowLower) {
  ScanTestImage source(8, 6, Options(lumaFirst));
  source.Fill([](int, int y) { return 20 * y; }, flatChroma);
  ScanTestImage destination(8, 6, Options(lumaFirst, 1), 255);
  // Step 2 of 8 in a room of two rows: 4/7 of a row, which half a row more moves on to 1/14 of the next.
  Run(*source, *destination, ImageRect(0, 1, 7, 5), ImageRect(0, 0, 7, 2), vertical, 8, 2);
  for (const auto& [y, luma] : {std::pair{0, 41}, std::pair{1, 61}, std::pair{2, 61}, std::pair{3, 255}}) {
    EXPECT_EQ(destination.Luma(3, y), luma) << y;
  }
}

TEST_P(Scanning, VerticalPanRepeatsTheSourceRowInTheBottomRow) {
  ScanTestImage source(8, 6, Options(lumaFirst));
  source.Fill([](int, int y) { return 40 * y; }, flatChroma);
  for (const int threads : {1, 3}) {
    ScanTestImage destination(8, 6, Options(lumaFirst, 1), 255);
    // Half a row on: rows are between two source rows, but the bottom row takes one alone.
    Run(*source, *destination, ImageRect(0, 2, 7, 5), ImageRect(0, 1, 7, 3), vertical, 3, 1, threads);
    for (const auto& [y, luma] : {std::pair{1, 100}, std::pair{2, 140}, std::pair{3, 160}}) {
      EXPECT_EQ(destination.Luma(3, y), luma) << y;
    }
  }
}

TEST_P(Scanning, OneRowBandOfTheOtherFieldCopiesTheRowAbove) {
  for (const std::uint8_t flags : {std::uint8_t{0}, horizontal, vertical}) {
    const ScanTestImage source = Coordinates(8, 6);
    ScanTestImage destination(8, 6, Options(lumaFirst, 1), 255);
    destination.Fill([](int, int y) { return 200 + y; }, flatChroma);
    // Nothing is computed. Band after band copies the row that belongs to the one before it.
    Run(*source, *destination, ImageRect(0, 0, 7, 2), ImageRect(0, 1, 7, 3), flags, 1, 0, 3);
    for (int y = 0; y < 4; ++y) EXPECT_EQ(destination.LumaRow(y, 0, 7), Values(8, 200)) << y;
    EXPECT_EQ(destination.Luma(0, 4), 204);
  }
}

TEST_P(Scanning, RowZeroHasNoRowAboveAndStays) {
  const ScanTestImage source = Coordinates(8, 6);
  ScanTestImage destination(8, 6, Options(lumaFirst, 1), 255);
  Run(*source, *destination, ImageRect(0, 0, 7, 0), ImageRect(0, 0, 7, 0), horizontal, 1, 0);
  EXPECT_TRUE(std::ranges::all_of(destination.Bytes(), [](int byte) { return byte == 255; }));
}

TEST_P(Scanning, EmptyBandsWriteNothing) {
  const ScanTestImage source = Coordinates(8, 6);
  for (const int parity : {0, 1}) {
    ScanTestImage many(8, 6, Options(lumaFirst, parity), 255);
    ScanTestImage one(8, 6, Options(lumaFirst, parity), 255);
    Run(*source, *many, ImageRect(0, 0, 7, 0), ImageRect(0, 3, 7, 3), horizontal, 1, 0, 9);
    Run(*source, *one, ImageRect(0, 0, 7, 0), ImageRect(0, 3, 7, 3), horizontal, 1, 0);
    EXPECT_EQ(many.Bytes(), one.Bytes());
  }
}

TEST_P(Scanning, RegionWithoutPixelsWritesNothing) {
  const ScanTestImage source = Coordinates(8, 6);
  const RunRegion emptyRuns(0, {1, 1, 1}, {0, 0, 0});
  const RunRegion emptyRunsElsewhere(-70000, {1, 1, 1}, {0, 0, 0});
  const ImageRect noColumns(5, 0, 4, 2);
  const ImageRect noRows(1, 3, 5, 2);
  for (const RegionOfSupport* region :
       std::initializer_list<const RegionOfSupport*>{&emptyRuns, &emptyRunsElsewhere, &noColumns, &noRows}) {
    for (const std::uint8_t flags : {std::uint8_t{0}, horizontal, vertical}) {
      ScanTestImage destination(8, 6, Options(lumaFirst, 1), 255);
      Run(*source, *destination, *region, *region, flags, 5, 0);
      EXPECT_TRUE(std::ranges::all_of(destination.Bytes(), [](int byte) { return byte == 255; }));
    }
  }
}

TEST_P(Scanning, WithoutAPanOnlyTheOtherFieldsLastRowIsWritten) {
  // Neither equal sizes nor equal layouts are asked for.
  const ScanTestImage source(12, 6, Options(chromaFirst));
  for (const int parity : {0, 1}) {
    ScanTestImage destination(12, 6, Options(lumaFirst, parity));
    destination.Fill([](int x, int y) { return 10 * y + x; }, flatChroma);
    const std::vector<std::uint8_t> before = destination.Bytes();
    Run(*source, *destination, ImageRect(0, 0, 11, 5), ImageRect(2, 1, 5, 3), 0, 7, 0);
    if (parity == 0) {
      EXPECT_EQ(destination.Bytes(), before);
    } else {
      EXPECT_EQ(destination.LumaRow(3, 0, 7), (Values{30, 31, 22, 23, 24, 25, 36, 37}));
      EXPECT_EQ(destination.LumaRow(2, 0, 7), (Values{20, 21, 22, 23, 24, 25, 26, 27}));
    }
  }
}

TEST_P(Scanning, RepeatedRowTakesWholePairsAndBothChromaSamplesOfPixelsAlone) {
  for (const std::int32_t layout : {chromaFirst, lumaFirst}) {
    const ScanTestImage source(10, 4, Options(layout));
    ScanTestImage destination(10, 4, Options(layout, 1));
    destination.Fill([](int x, int y) { return 100 * y + x; }, [](int x, int y) { return 100 * y + 50 + x; });
    Run(*source, *destination, ImageRect(0, 0, 9, 3), ImageRect(3, 0, 6, 2), 0, 7, 0);
    EXPECT_EQ(destination.LumaRow(2, 1, 8), (Values{201, 202, 103, 104, 105, 106, 207, 208}));
    for (const auto& [x, cb] : {std::pair{0, 250}, std::pair{2, 152}, std::pair{4, 154}, std::pair{6, 156},
                                std::pair{8, 258 - 256}}) {
      EXPECT_EQ(destination.Cb(x, 2), cb) << x;
      EXPECT_EQ(destination.Cr(x, 2), cb + 1) << x;
    }
  }
}

TEST_P(Scanning, VerticalPanGoesBetweenLayouts) {
  ScanTestImage source(8, 4, Options(chromaFirst));
  source.Fill([](int x, int y) { return 10 * x + y; }, [](int x, int) { return 100 + 10 * x; });
  ScanTestImage destination(8, 4, Options(lumaFirst), 255);
  Run(*source, *destination, ImageRect(0, 0, 7, 3), ImageRect(0, 0, 7, 3), vertical, 1, 0);
  for (int y = 0; y < 4; ++y) {
    EXPECT_EQ(destination.LumaRow(y, 0, 3), (Values{y, 10 + y, 20 + y, 30 + y}));
    EXPECT_EQ(destination.Cb(2, y), 120);
    EXPECT_EQ(destination.Cr(2, y), 121);
  }
}

INSTANTIATE_TEST_SUITE_P(Members, Scanning, EachMember(), MemberName);

}  // namespace
