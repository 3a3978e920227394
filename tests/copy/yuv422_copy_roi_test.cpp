#include <gtest/gtest.h>

#include <limits>
#include <numeric>
#include <span>

#include "frame/interfaces/copy_roi.h"
#include "tests/copy/roi_regions.h"
#include "tests/models/copy_roi_model.h"
#include "tests/support/expect_error.h"
#include "tests/support/member.h"
#include "tests/support/test_image.h"
#include "tests/support/threads.h"

namespace {

using kv_img::AlgoMMXException;
using kv_img::ImageOptions;
using kv_img::ImageRect;
using kv_img::RegionOfSupport;
using kv_img::PixelLayout::chromaFirst;
using kv_img::PixelLayout::lumaFirst;
using namespace kv_test;

using Operation = kv_img::CopyROIAlgorithmInterface<Yuv422, Yuv422>;
using Bytes = std::vector<std::uint8_t>;

class Yuv422CopyRoi : public testing::TestWithParam<int> {
 protected:
  const Member& member_ = Members()[static_cast<std::size_t>(GetParam())];
  const Operation* copy_ =
      member_.Get<Operation>("CopyROI", {kv_img::PixelYUV422::ClassID, kv_img::PixelYUV422::ClassID});

  void SetUp() override { ASSERT_NE(copy_, nullptr); }

  void Run(const Yuv422& source, Yuv422& destination, const RegionOfSupport& from, const RegionOfSupport& to,
           int threads = 1) {
    CallInTurn(threads, [&](kv_std::SpinBarrier& barrier, std::uint32_t index) {
      EXPECT_EQ(&copy_->Apply(source, destination, from, to, barrier, index), &destination);
    });
  }
};

/// A picture whose byte b of row y is `first` + 40 * y + b, mod 256: up to 20 columns that tell where they
/// came from. Rows do not take the block path.
struct Picture {
  Yuv422 image;

  Picture(int width, int height, int first, std::int32_t layout, int parity = 0)
      : image(width, height, [&] {
          ImageOptions options = Options(layout, parity);
          options.properties.propertyFlag = 1;
          return options;
        }()) {
    for (int row = 0; row < height; ++row) {
      std::iota(image.Row(row).begin(), image.Row(row).end(), static_cast<std::uint8_t>(first + 40 * row));
    }
  }
  /// The bytes of columns `first` to `last`.
  Bytes Columns(int row, int first, int last) const {
    return {image.Row(row).begin() + 2 * first, image.Row(row).begin() + 2 * last + 2};
  }
};

Bytes Swapped(Bytes bytes) {
  for (std::size_t at = 0; at + 1 < bytes.size(); at += 2) std::swap(bytes[at], bytes[at + 1]);
  return bytes;
}

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
    kv_std::SpinBarrier barrier(3);
    for (std::uint32_t index = 0; index < 3; ++index) {
      ExpectError<AlgoMMXException>(
          [&] { copy_->Apply(source, destination.image, from, to, barrier, index); }, 2,
          L"CopyROI" + member_.Suffix());
    }
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
    // Whole pairs end with their odd pixel; it was column 2, 4, ... and so brings the pair behind.
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

/// The source row, 0 to 9, that each destination row took its first pixel from; -1: none.
std::vector<int> RowOrigins(const Operation& copy, const RegionOfSupport& from, const RegionOfSupport& to,
                            int threads, int sourceParity, int destinationParity, std::int32_t layout) {
  Picture source(16, 10, 0, lumaFirst, sourceParity);
  Picture destination(16, 10, 0, layout, destinationParity);
  for (int row = 0; row < 10; ++row) {
    std::ranges::fill(source.image.Row(row), static_cast<std::uint8_t>(row));
    std::ranges::fill(destination.image.Row(row), 99);
  }
  CallInTurn(threads, [&](kv_std::SpinBarrier& barrier, std::uint32_t index) {
    copy.Apply(source.image, destination.image, from, to, barrier, index);
  });
  std::vector<int> origins;
  for (int row = 0; row < 10; ++row) {
    const auto pixels = destination.image.Row(row);
    const auto written = std::ranges::find_if(pixels, [](int byte) { return byte != 99; });
    origins.push_back(written == pixels.end() ? -1 : *written);
  }
  return origins;
}

TEST_P(Yuv422CopyRoi, FieldParityShiftsRowsInsideTheBand) {
  const ImageRect from(2, 1, 9, 5);
  const ImageRect to(4, 3, 11, 7);
  for (const std::int32_t layout : {lumaFirst, chromaFirst}) {
    EXPECT_EQ(RowOrigins(*copy_, from, to, 1, 1, 0, layout),
              (std::vector{-1, -1, -1, 2, 3, 4, 5, 5, -1, -1}));
    EXPECT_EQ(RowOrigins(*copy_, from, to, 1, 0, 1, layout),
              (std::vector{-1, -1, -1, 1, 1, 2, 3, 4, -1, -1}));
    EXPECT_EQ(RowOrigins(*copy_, from, to, 2, 1, 0, layout),
              (std::vector{-1, -1, -1, 2, 2, 4, 5, 5, -1, -1}));
    EXPECT_EQ(RowOrigins(*copy_, from, to, 2, 0, 1, layout),
              (std::vector{-1, -1, -1, 1, 1, 3, 3, 4, -1, -1}));
    EXPECT_EQ(RowOrigins(*copy_, from, to, 1, 2, 2, layout),
              (std::vector{-1, -1, -1, 1, 2, 3, 4, 5, -1, -1}));
  }
}

TEST_P(Yuv422CopyRoi, ColumnsOfDifferentParityAreNotShifted) {
  for (const std::int32_t layout : {lumaFirst, chromaFirst}) {
    EXPECT_EQ(RowOrigins(*copy_, ImageRect(2, 1, 9, 5), ImageRect(5, 3, 12, 7), 2, 1, 0, layout),
              (std::vector{-1, -1, -1, 1, 2, 3, 4, 5, -1, -1}));
  }
}

TEST_P(Yuv422CopyRoi, MoreThreadsThanRows) {
  EXPECT_EQ(RowOrigins(*copy_, ImageRect(2, 1, 9, 3), ImageRect(0, 0, 7, 2), 7, 0, 0, chromaFirst),
            (std::vector{1, 2, 3, -1, -1, -1, -1, -1, -1, -1}));
}

TEST_P(Yuv422CopyRoi, RunIsReadFromTheShiftedRowThoughItLiesOutsideTheSourceRegion) {
  for (const std::int32_t layout : {lumaFirst, chromaFirst}) {
    const Picture source(16, 2, 0, lumaFirst, 1);
    Picture destination(16, 2, 100, layout, 0);
    Run(source.image, destination.image, Runs(0, {{0, 3}, {8, 11}}), Runs(0, {{4, 7}, {4, 7}}));
    const Bytes below = source.Columns(1, 0, 3);
    EXPECT_EQ(destination.Columns(0, 4, 7), layout == lumaFirst ? below : Swapped(below));
  }
}

TEST_P(Yuv422CopyRoi, RowsWithoutPixelsMayLieOutsideTheImages) {
  // Two rows above the source, one above the destination; two below the source.
  const auto from = Runs(-2, {{0, -1},
                              {0, -1},
                              {2, 5},
                              {2, 5},
                              {2, 5},
                              {2, 5},
                              {2, 5},
                              {2, 5},
                              {2, 5},
                              {2, 5},
                              {2, 5},
                              {2, 5},
                              {0, -1},
                              {0, -1}});
  const auto to = Runs(-2, {{0, -1},
                            {0, -1},
                            {4, 7},
                            {2, 5},
                            {2, 5},
                            {2, 5},
                            {2, 5},
                            {2, 5},
                            {2, 5},
                            {2, 5},
                            {2, 5},
                            {2, 5},
                            {0, -1},
                            {0, -1}});
  for (const int threads : {1, 2, 5, 14, 20}) {
    EXPECT_EQ(RowOrigins(*copy_, from, to, threads, 0, 0, chromaFirst),
              (std::vector{0, 1, 2, 3, 4, 5, 6, 7, 8, 9}));
  }
  // The clamp of the shift is to the rows that lie in both images.
  EXPECT_EQ(RowOrigins(*copy_, from, to, 1, 1, 0, chromaFirst), (std::vector{1, 2, 3, 4, 5, 6, 7, 8, 9, 9}));
  EXPECT_EQ(RowOrigins(*copy_, from, to, 1, 0, 1, chromaFirst), (std::vector{0, 0, 1, 2, 3, 4, 5, 6, 7, 8}));
}

TEST_P(Yuv422CopyRoi, EmptyRunThatStartsOddStillWritesItsFirstPixelWhereBytesAreExchanged) {
  const auto from = Runs(0, {{3, 2}, {0, 3}});
  const auto to = Runs(0, {{5, 4}, {8, 11}});
  const Picture source(16, 2, 0, lumaFirst);
  Picture destination(16, 2, 100, chromaFirst);
  Run(source.image, destination.image, from, to);
  EXPECT_EQ(destination.Columns(0, 4, 6), (Bytes{108, 109, 7, 6, 112, 113}));

  Picture sameLayout(16, 2, 100, lumaFirst);
  Run(source.image, sameLayout.image, from, to);
  EXPECT_EQ(sameLayout.Columns(0, 0, 15), Picture(16, 2, 100, lumaFirst).Columns(0, 0, 15));
}

TEST_P(Yuv422CopyRoi, EmptyRunThatStartsEvenOrAcrossPairsWritesNothing) {
  const Picture source(16, 3, 0, lumaFirst);
  Picture destination(16, 3, 100, chromaFirst);
  Run(source.image, destination.image, Runs(0, {{2, 1}, {2, -3}, {0, 3}}),
      Runs(0, {{4, 3}, {5, 0}, {8, 11}}));
  for (const int row : {0, 1}) {
    EXPECT_EQ(destination.Columns(row, 0, 15), Picture(16, 3, 100, chromaFirst).Columns(row, 0, 15));
  }
}

TEST_P(Yuv422CopyRoi, EmptyRunOutsideTheImagesIsSkipped) {
  const Picture source(16, 5, 0, lumaFirst);
  Picture destination(16, 5, 100, chromaFirst);
  // Right of the source, left of it, right of the destination, left of it; each would write an odd pixel.
  Run(source.image, destination.image, Runs(0, {{17, 16}, {-1, -2}, {3, 2}, {3, 2}, {0, 3}}),
      Runs(0, {{3, 2}, {3, 2}, {17, 16}, {-1, -2}, {0, 3}}));
  for (const int row : {0, 1, 2, 3}) {
    EXPECT_EQ(destination.Columns(row, 0, 15), Picture(16, 5, 100, chromaFirst).Columns(row, 0, 15));
  }
}

TEST_P(Yuv422CopyRoi, RegionsWithoutPixelsMayHaveAnyBounds) {
  constexpr int lowest = std::numeric_limits<int>::min();
  constexpr int highest = std::numeric_limits<int>::max();
  const Picture source(16, 2, 0, lumaFirst);
  for (const std::int32_t layout : {lumaFirst, chromaFirst}) {
    Picture destination(16, 2, 100, layout);
    const ImageRect noRows[] = {ImageRect(), ImageRect(highest, highest, lowest, lowest),
                                ImageRect(0, 0, 15, lowest), ImageRect(0, highest, 15, -7)};
    const ImageRect oneRow[] = {ImageRect(highest, lowest, lowest, lowest), ImageRect(5, highest, 4, highest),
                                ImageRect(lowest + 1, -1, lowest, -1)};
    for (const std::span<const ImageRect> regions :
         {std::span<const ImageRect>(noRows), std::span<const ImageRect>(oneRow)}) {
      for (const ImageRect& from : regions) {
        for (const ImageRect& to : regions) {
          for (const int threads : {1, 3}) Run(source.image, destination.image, from, to, threads);
        }
      }
    }
    for (int row = 0; row < 2; ++row) {
      EXPECT_EQ(destination.Columns(row, 0, 15), Picture(16, 2, 100, layout).Columns(row, 0, 15));
    }
  }
}

TEST_P(Yuv422CopyRoi, WhatReachesOutOfTheImagesIsCutOff) {
  const auto expectColumns = [&](int sourceLeft, int destinationLeft, int length, int sourceFirst,
                                 int destinationFirst, int pixels) {
    SCOPED_TRACE(testing::Message() << sourceLeft << " to " << destinationLeft << ", " << length);
    const Picture source(12, 2, 0, lumaFirst);
    Picture destination(10, 2, 100, chromaFirst);
    Run(source.image, destination.image, BoldRegion(Runs(1, {{sourceLeft, sourceLeft + length - 1}})),
        BoldRegion(Runs(0, {{destinationLeft, destinationLeft + length - 1}})));
    Bytes expected = Picture(10, 2, 100, chromaFirst).Columns(0, 0, 9);
    if (pixels > 0) {
      const Bytes copied = Swapped(source.Columns(1, sourceFirst, sourceFirst + pixels - 1));
      std::ranges::copy(copied, expected.begin() + std::ptrdiff_t{2} * destinationFirst);
    }
    EXPECT_EQ(destination.Columns(0, 0, 9), expected);
  };
  expectColumns(-3, 1, 8, 0, 4, 5);       // left of the source
  expectColumns(8, 0, 8, 8, 0, 4);        // right of the source
  expectColumns(2, -4, 8, 6, 0, 4);       // left of the destination
  expectColumns(0, 4, 8, 0, 4, 6);        // right of the destination
  expectColumns(-20, -20, 60, 0, 0, 10);  // on all sides
  expectColumns(-8, 0, 8, 0, 0, 0);       // nothing of the source
  expectColumns(0, 10, 8, 0, 0, 0);       // nothing of the destination
  expectColumns(-6, 4, 8, 0, 0, 0);       // what there is of the source goes outside
}

TEST_P(Yuv422CopyRoi, RowsOutsideTheImagesAreCutOff) {
  const std::vector<std::pair<int, int>> runs(16, {2, 9});
  const auto origins = [&](int sourceTop, int destinationTop, int threads, int sourceParity) {
    return RowOrigins(*copy_, BoldRegion(Runs(sourceTop, runs)), BoldRegion(Runs(destinationTop, runs)),
                      threads, sourceParity, 0, chromaFirst);
  };
  EXPECT_EQ(origins(-3, 0, 1, 0), (std::vector{-1, -1, -1, 0, 1, 2, 3, 4, 5, 6}));
  EXPECT_EQ(origins(0, -3, 1, 0), (std::vector{3, 4, 5, 6, 7, 8, 9, -1, -1, -1}));
  EXPECT_EQ(origins(-6, -4, 1, 0), (std::vector{-1, -1, 0, 1, 2, 3, 4, 5, 6, 7}));
  EXPECT_EQ(origins(-16, 0, 1, 0), std::vector<int>(10, -1));
  EXPECT_EQ(origins(0, 10, 1, 0), std::vector<int>(10, -1));
  // The shift is clamped to the band's rows that lie in both images: here rows 0 to 7 of the source.
  EXPECT_EQ(origins(-6, -4, 1, 1), (std::vector{-1, -1, 1, 2, 3, 4, 5, 6, 7, 7}));
  EXPECT_EQ(origins(-6, -4, 4, 1), (std::vector{-1, -1, 1, 1, 3, 4, 5, 5, 7, 7}));
}

TEST_P(Yuv422CopyRoi, EqualsTheModelForEveryWidth) {
  Random random(0x2501);
  for (int width = 1; width <= 130; ++width) {
    for (int round = 0; round < 16; ++round) {
      SCOPED_TRACE(testing::Message() << "width " << width << " round " << round);
      const Size from{width, random.Between(1, 9)};
      const Size to{random.OneIn(2) ? width : random.Between(1, 130), random.Between(1, 9)};
      const auto anyOptions = [&] {
        ImageOptions options =
            Options(random.Pick({chromaFirst, lumaFirst, lumaFirst + 1}), random.Between(0, 2));
        // Scattered rows are no block.
        options.properties.propertyFlag = 1;
        return options;
      };
      TestImage<kv_img::PixelYUV422> source(random, from.width, from.height, Placement::Any(random),
                                            anyOptions());
      TestImage<kv_img::PixelYUV422> destination(random, to.width, to.height, Placement::Any(random),
                                                 anyOptions());
      TestImage modelSource = source;
      TestImage model = destination;
      const RegionPair regions = RandomRegionPair(random, from, to);
      ASSERT_FALSE(kv_model::RoiIsRefused(*source, *destination, *regions.source, *regions.destination));
      const int threads = random.Between(1, 9);
      Run(*source, *destination, *regions.source, *regions.destination, threads);
      kv_model::CopyRoiYuv422(*modelSource, *model, *regions.source, *regions.destination, threads);
      ASSERT_EQ(destination.DifferenceFrom(model), "");
      ASSERT_EQ(source.DifferenceFrom(modelSource), "");
    }
  }
}

TEST_P(Yuv422CopyRoi, EveryCombinationOfStartParitiesAndLengthsEqualsTheModel) {
  Random random(0x2502);
  for (int start = 0; start < 4; ++start) {
    for (int length = 1; length <= 40; ++length) {
      for (const std::int32_t layout : {chromaFirst, lumaFirst}) {
        for (const std::int32_t otherLayout : {chromaFirst, lumaFirst}) {
          const auto options = [&](std::int32_t code) {
            ImageOptions result = Options(code, random.Between(0, 1));
            result.properties.propertyFlag = 1;
            return result;
          };
          TestImage<kv_img::PixelYUV422> source(random, 44, 3, Placement::Any(random), options(layout));
          TestImage<kv_img::PixelYUV422> destination(random, 44, 3, Placement::Any(random),
                                                     options(otherLayout));
          TestImage model = destination;
          const int from = start % 2 + 2 * random.Between(0, 1);
          const int to = start / 2 + 2 * random.Between(0, 1);
          const ImageRect fromRect(from, 0, from + length - 1, 2);
          const ImageRect toRect(to, 0, to + length - 1, 2);
          Run(*source, *destination, fromRect, toRect);
          kv_model::CopyRoiYuv422(*source, *model, fromRect, toRect, 1);
          ASSERT_EQ(destination.DifferenceFrom(model), "") << start << " " << length;
        }
      }
    }
  }
}

TEST_P(Yuv422CopyRoi, RefusesWhatTheModelRefuses) {
  Random random(0x2503);
  int refusals = 0;
  for (int round = 0; round < 3000; ++round) {
    const Size size{random.Between(1, 12), random.Between(1, 5)};
    TestImage<kv_img::PixelYUV422> source(random, size.width, size.height, {}, Options(chromaFirst));
    TestImage<kv_img::PixelYUV422> destination(random, random.Between(1, 12), random.Between(1, 5), {});
    TestImage model = destination;
    RegionPair regions = RandomRegionPair(random, size, size);
    if (random.OneIn(3)) regions.source = std::move(RandomRegionPair(random, size, size).source);
    const bool refused = kv_model::RoiIsRefused(*source, *destination, *regions.source, *regions.destination);
    if (refused) {
      ++refusals;
      ExpectError<AlgoMMXException>(
          [&] { Run(*source, *destination, *regions.source, *regions.destination); }, 2,
          L"CopyROI" + member_.Suffix());
    } else {
      Run(*source, *destination, *regions.source, *regions.destination);
      kv_model::CopyRoiYuv422(*source, *model, *regions.source, *regions.destination, 1);
    }
    ASSERT_EQ(destination.DifferenceFrom(model), "") << round;
  }
  EXPECT_GT(refusals, 500);
  EXPECT_LT(refusals, 2500);
}

TEST_P(Yuv422CopyRoi, ThreadsAtOnceGiveTheSameBytes) {
  Random random(0x2504);
  for (int round = 0; round < 20; ++round) {
    const Size size{random.Between(1, 130), random.Between(1, 40)};
    TestImage<kv_img::PixelYUV422> source(random, size.width, size.height, Placement::Any(random),
                                          Options(chromaFirst, 1));
    TestImage<kv_img::PixelYUV422> destination(random, size.width, size.height, Placement::Any(random),
                                               Options(lumaFirst));
    TestImage model = destination;
    const RegionPair regions = RandomRegionPair(random, size, size);
    const int threads = random.Between(1, 9);
    for (const auto& thrown : CallOnThreads(threads, [&](kv_std::SpinBarrier&barrier, std::uint32_t index) {
           copy_->Apply(*source, *destination, *regions.source, *regions.destination, barrier, index);
         })) {
      ASSERT_EQ(thrown, nullptr);
    }
    kv_model::CopyRoiYuv422(*source, *model, *regions.source, *regions.destination, threads);
    ASSERT_EQ(destination.DifferenceFrom(model), "");
  }
}

INSTANTIATE_TEST_SUITE_P(Members, Yuv422CopyRoi, EachMember(), MemberName);

}  // namespace
