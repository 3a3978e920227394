#include "frame/interfaces/average_filter.h"

#include <gtest/gtest.h>

#include "check/models/average_filter_model.h"
#include "tests/support/any_region.h"
#include "tests/support/expect_error.h"
#include "tests/support/member.h"
#include "tests/support/test_image.h"
#include "tests/support/threads.h"

namespace {

using kv_img::AlgoMMXException;
using kv_img::ImageRect;
using kv_img::RegionOfSupport;
using kv_img::RunRegion;
using Grey = kv_img::PixelNoColor<unsigned char>;
using namespace kv_test;

using Filter = kv_img::AverageFilterAlgorithmInterface<Grey8>;

class AverageFilter : public testing::TestWithParam<int> {
 protected:
  const Member& member_ = Members()[static_cast<std::size_t>(GetParam())];
  const Filter* filter_ = member_.Get<Filter>("AverageFilter", {Grey::ClassID});

  void SetUp() override { ASSERT_NE(filter_, nullptr); }

  void Run(const Grey8& source, Grey8& destination, const RegionOfSupport& region, int windowSize,
           int threads = 1) {
    CallInTurn(threads, [&](kv_std::SpinBarrier& barrier, std::uint32_t index) {
      EXPECT_EQ(&filter_->Apply(source, destination, region, static_cast<std::uint32_t>(windowSize), barrier,
                                index),
                &destination);
    });
  }

  /// Filters random images and compares every byte with the model.
  void Compare(Random& random, int width, int height, const RegionOfSupport& region, int windowSize,
               int threads) {
    SCOPED_TRACE(testing::Message() << width << " x " << height << ", window " << windowSize << ", "
                                    << threads << " threads, region type " << region.GetRegionType());
    TestImage<Grey> source(random, width, height, Placement::Any(random));
    TestImage<Grey> destination(random, width, height, Placement::Any(random));
    const TestImage sourceBefore = source;
    TestImage model = destination;
    Run(*source, *destination, region, windowSize, threads);
    kv_model::AverageFilter(*source, *model, region, windowSize);
    ASSERT_EQ(destination.DifferenceFrom(model), "");
    ASSERT_EQ(source.DifferenceFrom(sourceBefore), "");
  }
};

std::vector<int> Values(const Grey8& image, int row) {
  return {image.Row(row).begin(), image.Row(row).begin() + static_cast<std::ptrdiff_t>(image.GetWidth())};
}

void SetRows(Grey8& image, const std::vector<std::vector<int>>& rows) {
  for (std::size_t row = 0; row < rows.size(); ++row)
    std::ranges::copy(rows[row], image.Row(static_cast<int>(row)).begin());
}

TEST_P(AverageFilter, WindowOfOneCopiesTheRegion) {
  Random random(0x3301);
  const TestImage<Grey> source(random, 40, 5, Placement::Any(random));
  TestImage<Grey> destination(random, 40, 5, Placement::Any(random));
  TestImage expected = destination;
  for (int row = 1; row <= 3; ++row) {
    for (std::size_t column = 3; column <= 36; ++column)
      expected->Row(row)[column] = source->Row(row)[column];
  }
  Run(*source, *destination, ImageRect(3, 1, 36, 3), 1);
  EXPECT_EQ(destination.DifferenceFrom(expected), "");
}

TEST_P(AverageFilter, TopRowCountsTwiceInAWindowOfThree) {
  Grey8 source(4, 3);
  Grey8 destination(4, 3);
  SetRows(source, {{10, 20, 30, 40}, {1, 2, 3, 9}, {200, 200, 200, 200}});
  Run(source, destination, ImageRect(0, 0, 3, 2), 3);
  // Column sums 21, 42, 63 and 89; the borders divide by 6.
  EXPECT_EQ(Values(destination, 0), (std::vector{63 / 6, 126 / 9, 194 / 9, 152 / 6}));
}

TEST_P(AverageFilter, EvenWindowReachesFurtherBackThanAhead) {
  Grey8 source(6, 1);
  Grey8 destination(6, 1);
  SetRows(source, {{0, 0, 0, 160, 0, 0}});
  Run(source, destination, ImageRect(0, 0, 5, 0), 4);
  // Columns c - 2 to c + 1, as far as there are any.
  EXPECT_EQ(Values(destination, 0), (std::vector{0, 0, 40, 40, 40, 160 / 3}));
}

TEST_P(AverageFilter, NarrowerNeighboursWeighColumnsByTheirOwnCounts) {
  Grey8 source(5, 3);
  Grey8 destination(5, 3);
  SetRows(source, {{90, 90, 12, 90, 90}, {6, 6, 6, 6, 7}, {90, 90, 18, 90, 90}});
  Run(source, destination, RunRegion(0, {2, 0, 2}, {2, 4, 2}), 3);
  // Row 1: column sums 6, 6, 36, 6 and 7 of 1, 1, 3, 1 and 1 rows.
  EXPECT_EQ(Values(destination, 1), (std::vector{12 / 2, 48 / 5, 48 / 5, 49 / 5, 13 / 2}));
  // Rows 0 and 2 have one pixel each; the window's other columns are not theirs.
  EXPECT_EQ(Values(destination, 0), (std::vector{0, 0, (2 * 12 + 6) / 3, 0, 0}));
  EXPECT_EQ(Values(destination, 2), (std::vector{0, 0, (6 + 2 * 18) / 3, 0, 0}));
}

TEST_P(AverageFilter, RegionNarrowerThanTheWindowIsAllBorder) {
  Grey8 source(4, 1);
  Grey8 destination(4, 1);
  SetRows(source, {{9, 20, 31, 9}});
  Run(source, destination, ImageRect(1, 0, 2, 0), 5);
  EXPECT_EQ(Values(destination, 0), (std::vector{0, 51 / 2, 51 / 2, 0}));
}

TEST_P(AverageFilter, WindowOfTwoOverOneColumn) {
  Grey8 source(3, 2);
  Grey8 destination(3, 2);
  SetRows(source, {{90, 20, 90}, {90, 31, 90}});
  Run(source, destination, ImageRect(1, 0, 1, 1), 2);
  EXPECT_EQ(Values(destination, 0), (std::vector{0, 20, 0}));
  EXPECT_EQ(Values(destination, 1), (std::vector{0, 25, 0}));
}

TEST_P(AverageFilter, WindowOfTwoOverRowsWithoutACommonColumn) {
  Grey8 source(5, 2);
  Grey8 destination(5, 2);
  SetRows(source, {{10, 21, 90, 90, 90}, {90, 90, 90, 40, 51}});
  Run(source, destination, RunRegion(0, {0, 3}, {1, 4}), 2);
  EXPECT_EQ(Values(destination, 0), (std::vector{10, 15, 0, 0, 0}));
  EXPECT_EQ(Values(destination, 1), (std::vector{0, 0, 0, 40, 45}));
}

TEST_P(AverageFilter, WindowOfFourOverRowsWithoutACommonColumn) {
  Random random(0x3302);
  const RunRegion apart(0, {0, 20, 0, 20, 3}, {18, 39, 18, 39, 2});
  for (const int windowSize : {2, 3, 4, 5}) Compare(random, 40, 5, apart, windowSize, 1);
}

TEST_P(AverageFilter, LargestWindowHoldsWhiteWithoutWrapping) {
  Grey8 source(300, 260);
  Grey8 destination(300, 260);
  for (int row = 0; row < 260; ++row) std::ranges::fill(source.Row(row), 255);
  Run(source, destination, ImageRect(0, 0, 299, 259), 255);
  for (int row = 0; row < 260; ++row)
    EXPECT_EQ(Values(destination, row), std::vector(300, 255)) << "row " << row;
}

TEST_P(AverageFilter, PixelsOutsideTheRegionAreNeitherReadNorWritten) {
  Random random(0x3303);
  const RunRegion region(2, {5, 4, 9, 6}, {50, 44, 8, 49});
  for (const int windowSize : {1, 2, 3, 4, 5, 40}) {
    TestImage<Grey> source(random, 60, 9, Placement::Any(random));
    TestImage<Grey> destination(random, 60, 9, Placement::Any(random));
    TestImage other = source;
    TestImage again = destination;
    for (int row = 0; row < 9; ++row) {
      for (int column = 0; column < 60; ++column) {
        const bool inside =
            row >= 2 && row <= 5 && column >= region.GetLeft(row) && column <= region.GetRight(row);
        if (!inside) other->Row(row)[static_cast<std::size_t>(column)] ^= 0xFF;
      }
    }
    const TestImage before = destination;
    Run(*source, *destination, region, windowSize);
    Run(*other, *again, region, windowSize);
    EXPECT_EQ(destination.DifferenceFrom(again), "");
    for (int row = 0; row < 9; ++row) {
      for (int column = 0; column < 60; ++column) {
        if (row >= 2 && row <= 5 && column >= region.GetLeft(row) && column <= region.GetRight(row)) continue;
        const auto at = static_cast<std::size_t>(column);
        ASSERT_EQ(destination->Row(row)[at], before->Row(row)[at]) << row << ", " << column;
      }
    }
  }
}

TEST_P(AverageFilter, SizeMismatchIsRefusedBeforeTheWindowSize) {
  const Grey8 source(8, 4);
  for (const auto& [width, height] : {std::pair{9, 4}, std::pair{8, 5}}) {
    Grey8 destination(width, height);
    kv_std::SpinBarrier barrier(2);
    for (std::uint32_t index = 0; index < 2; ++index) {
      ExpectError<AlgoMMXException>(
          [&] { filter_->Apply(source, destination, ImageRect(0, 0, 7, 3), 0, barrier, index); }, 1,
          L"AverageFilter" + member_.Suffix());
    }
  }
}

TEST_P(AverageFilter, WindowSizesOutside1To255AreRefused) {
  const Grey8 source(8, 4);
  Grey8 destination(8, 4);
  std::ranges::fill(destination.Row(0), 77);
  kv_std::SpinBarrier barrier(1);
  for (const std::uint32_t windowSize : {0U, 256U, 65536U, 0xFFFFFFFFU}) {
    ExpectError<AlgoMMXException>(
        [&] { filter_->Apply(source, destination, ImageRect(0, 0, 7, 3), windowSize, barrier, 0); }, 4,
        L"AverageFilter" + member_.Suffix(), L"window size");
  }
  EXPECT_TRUE(std::ranges::all_of(destination.Row(0), [](int byte) { return byte == 77; }));
}

TEST_P(AverageFilter, RegionWithoutRowsWritesNothing) {
  Random random(0x3304);
  const TestImage<Grey> source(random, 20, 5, Placement::Any(random));
  TestImage<Grey> destination(random, 20, 5, Placement::Any(random));
  const TestImage before = destination;
  Run(*source, *destination, ImageRect(0, 3, 19, 2), 5, 3);
  EXPECT_EQ(destination.DifferenceFrom(before), "");
}

TEST_P(AverageFilter, EqualsTheModelForEveryWidth) {
  Random random(0x3305);
  for (int width = 1; width <= 130; ++width) {
    for (int round = 0; round < 10; ++round) {
      const int height = random.Between(1, 12);
      const int windowSize = random.OneIn(3) ? random.Between(2, 4) : random.Between(1, 12);
      Compare(random, width, height, *AnyRegion(random, width, height), windowSize, random.Between(1, 9));
      if (HasFatalFailure()) return;
    }
  }
}

TEST_P(AverageFilter, EqualsTheModelForWindowsOf1To40And255) {
  Random random(0x3306);
  std::vector<int> sizes = {254, 255};
  for (int size = 1; size <= 40; ++size) sizes.push_back(size);
  for (const int windowSize : sizes) {
    const int rounds = windowSize > 40 ? 2 : 8;
    for (int round = 0; round < rounds; ++round) {
      const int width = random.Between(1, 130);
      const int height = random.Between(1, windowSize > 40 ? 6 : 20);
      Compare(random, width, height, *AnyRegion(random, width, height), windowSize, random.Between(1, 5));
      if (HasFatalFailure()) return;
    }
  }
}

TEST_P(AverageFilter, EqualsTheModelAboveAndBelowRowsOfOneRun) {
  Random random(0x3309);
  for (int windowSize = 1; windowSize <= 6; ++windowSize) {
    // Long runs between short ones, and a stretch of each that is as high as the window, or one row lower.
    std::vector<int> first;
    std::vector<int> last;
    for (const int rows : {1, windowSize, 1, windowSize - 1, 2, 3 * windowSize, windowSize + 1}) {
      const int left = random.Between(0, 5);
      const int right = random.Between(80, 139);
      first.insert(first.end(), static_cast<std::size_t>(rows), left);
      last.insert(last.end(), static_cast<std::size_t>(rows), right);
    }
    const int height = static_cast<int>(first.size()) + 3;
    for (int threads = 1; threads <= height; threads += 3) {
      Compare(random, 140, height, RunRegion(2, first, last), windowSize, threads);
      if (HasFatalFailure()) return;
    }
  }
}

TEST_P(AverageFilter, EqualsTheModelInALargeWindowWithAnInterior) {
  Random random(0x3307);
  Compare(random, 300, 4, ImageRect(0, 0, 299, 3), 255, 2);
  Compare(random, 110, 90, ImageRect(0, 0, 109, 89), 51, 3);
}

TEST_P(AverageFilter, ThreadsAtOnceGiveTheSameBytes) {
  Random random(0x3308);
  for (int round = 0; round < 10; ++round) {
    const int width = random.Between(1, 130);
    const int height = random.Between(1, 30);
    const auto region = AnyRegion(random, width, height);
    const int windowSize = random.Between(1, 9);
    TestImage<Grey> source(random, width, height, Placement::Any(random));
    TestImage<Grey> destination(random, width, height, Placement::Any(random));
    TestImage model = destination;
    for (const auto& thrown :
         CallOnThreads(random.Between(1, 9), [&](kv_std::SpinBarrier&barrier, std::uint32_t index) {
           filter_->Apply(*source, *destination, *region, static_cast<std::uint32_t>(windowSize), barrier,
                          index);
         })) {
      ASSERT_EQ(thrown, nullptr);
    }
    kv_model::AverageFilter(*source, *model, *region, windowSize);
    ASSERT_EQ(destination.DifferenceFrom(model), "");
  }
}

INSTANTIATE_TEST_SUITE_P(Members, AverageFilter, EachMember(), MemberName);

}  // namespace
