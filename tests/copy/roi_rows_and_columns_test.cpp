#include <limits>
#include <span>

#include "tests/copy/copy_roi_fixture.h"

// Rows of threads, the shift between fields, empty runs, and what is cut off; packed 4:2:2 stands for both
// formats.

namespace {

using kv_img::ImageRect;
using kv_img::RegionOfSupport;
using kv_img::PixelLayout::chromaFirst;
using kv_img::PixelLayout::lumaFirst;
using namespace kv_test;

using Operation = kv_img::CopyROIAlgorithmInterface<Yuv422, Yuv422>;

class RoiRowsAndColumns : public CopyRoiFixture<kv_img::PixelYUV422> {};

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

TEST_P(RoiRowsAndColumns, FieldParityShiftsRowsInsideTheBand) {
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

TEST_P(RoiRowsAndColumns, ColumnsOfDifferentParityAreNotShifted) {
  for (const std::int32_t layout : {lumaFirst, chromaFirst}) {
    EXPECT_EQ(RowOrigins(*copy_, ImageRect(2, 1, 9, 5), ImageRect(5, 3, 12, 7), 2, 1, 0, layout),
              (std::vector{-1, -1, -1, 1, 2, 3, 4, 5, -1, -1}));
  }
}

TEST_P(RoiRowsAndColumns, MoreThreadsThanRows) {
  EXPECT_EQ(RowOrigins(*copy_, ImageRect(2, 1, 9, 3), ImageRect(0, 0, 7, 2), 7, 0, 0, chromaFirst),
            (std::vector{1, 2, 3, -1, -1, -1, -1, -1, -1, -1}));
}

TEST_P(RoiRowsAndColumns, RunIsReadFromTheShiftedRowThoughItLiesOutsideTheSourceRegion) {
  for (const std::int32_t layout : {lumaFirst, chromaFirst}) {
    const Picture source(16, 2, 0, lumaFirst, 1);
    Picture destination(16, 2, 100, layout, 0);
    Run(source.image, destination.image, Runs(0, {{0, 3}, {8, 11}}), Runs(0, {{4, 7}, {4, 7}}));
    const Bytes below = source.Columns(1, 0, 3);
    EXPECT_EQ(destination.Columns(0, 4, 7), layout == lumaFirst ? below : Swapped(below));
  }
}

TEST_P(RoiRowsAndColumns, RowsWithoutPixelsMayLieOutsideTheImages) {
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
  // The shift is clamped to the rows that are in both images.
  EXPECT_EQ(RowOrigins(*copy_, from, to, 1, 1, 0, chromaFirst), (std::vector{1, 2, 3, 4, 5, 6, 7, 8, 9, 9}));
  EXPECT_EQ(RowOrigins(*copy_, from, to, 1, 0, 1, chromaFirst), (std::vector{0, 0, 1, 2, 3, 4, 5, 6, 7, 8}));
}

TEST_P(RoiRowsAndColumns, EmptyRunThatStartsOddStillWritesItsFirstPixelWhereBytesAreExchanged) {
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

TEST_P(RoiRowsAndColumns, EmptyRunThatStartsEvenOrAcrossPairsWritesNothing) {
  const Picture source(16, 3, 0, lumaFirst);
  Picture destination(16, 3, 100, chromaFirst);
  Run(source.image, destination.image, Runs(0, {{2, 1}, {2, -3}, {0, 3}}),
      Runs(0, {{4, 3}, {5, 0}, {8, 11}}));
  for (const int row : {0, 1}) {
    EXPECT_EQ(destination.Columns(row, 0, 15), Picture(16, 3, 100, chromaFirst).Columns(row, 0, 15));
  }
}

TEST_P(RoiRowsAndColumns, EmptyRunOutsideTheImagesIsSkipped) {
  const Picture source(16, 5, 0, lumaFirst);
  Picture destination(16, 5, 100, chromaFirst);
  // Right of the source, left of it, right of the destination, left of it; each would write an odd pixel.
  Run(source.image, destination.image, Runs(0, {{17, 16}, {-1, -2}, {3, 2}, {3, 2}, {0, 3}}),
      Runs(0, {{3, 2}, {3, 2}, {17, 16}, {-1, -2}, {0, 3}}));
  for (const int row : {0, 1, 2, 3}) {
    EXPECT_EQ(destination.Columns(row, 0, 15), Picture(16, 5, 100, chromaFirst).Columns(row, 0, 15));
  }
}

TEST_P(RoiRowsAndColumns, RegionsWithoutPixelsMayHaveAnyBounds) {
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

TEST_P(RoiRowsAndColumns, WhatReachesOutOfTheImagesIsCutOff) {
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

TEST_P(RoiRowsAndColumns, RowsOutsideTheImagesAreCutOff) {
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
  // The shift is clamped to the band's rows that are in both images: here rows 0 to 7 of the source.
  EXPECT_EQ(origins(-6, -4, 1, 1), (std::vector{-1, -1, 1, 2, 3, 4, 5, 6, 7, 7}));
  EXPECT_EQ(origins(-6, -4, 4, 1), (std::vector{-1, -1, 1, 1, 3, 4, 5, 5, 7, 7}));
}

INSTANTIATE_TEST_SUITE_P(Members, RoiRowsAndColumns, EachMember(), MemberName);

}  // namespace
