// The roundings that one row of a pan mixes: which columns take which, and what each gives.

#include "tests/scanning/scanning_fixture.h"

namespace {

using kv_img::ImageRect;
using kv_img::PixelLayout::chromaFirst;
using kv_img::PixelLayout::lumaFirst;
using namespace kv_test;

using Values = std::vector<int>;

class ScanningRounding : public ScanningFixture {
 protected:
  /// One row of `width` columns from `left` on, filled from source columns `sourceLeft` + fraction on; of
  /// `luma` and `chroma` (column, row) in row 0 and, when `otherField`, row 1.
  template <class LumaOf, class ChromaOf>
  ScanTestImage Pan(std::int32_t layout, int left, int width, int sourceLeft, int steps, bool otherField,
                    LumaOf luma, ChromaOf chroma) {
    ScanTestImage source(sourceLeft + width + 1, 2, Options(layout));
    source.Fill(luma, chroma);
    ScanTestImage destination(left + width + 1, 2, Options(layout, otherField ? 0 : 1), 99);
    // A room of one column: step 1 moves the viewport by 1 / (steps - 1).
    Run(*source, *destination, ImageRect(sourceLeft, 0, sourceLeft + width, 1),
        ImageRect(left, 0, left + width - 1, 1), horizontal, steps, 1);
    return destination;
  }

  /// The part of every column in a row of `width`, found by what each does to the samples: o the odd first
  /// pixel, V a group, s a pair, n and l the last pair, or l the last pixel alone. With `isShifted` source
  /// and destination columns are of unlike parity; without, n cannot be told from s and counts as s.
  std::string Parts(std::int32_t layout, int width, bool isLeftOdd, bool isShifted) {
    const int left = isLeftOdd ? 5 : 4;
    const int sourceLeft = isShifted ? 6 + left % 2 - 1 : 6 + left % 2;
    const auto zero = [](int, int) { return 0; };
    // Groups lose a unit of a flat 255, the first pixel rounds up, the last pixel ignores its right
    // neighbour, and the last pair's chroma does.
    ScanTestImage bright = Pan(
        layout, left, width, sourceLeft, 4, false, [](int, int) { return 255; }, zero);
    ScanTestImage half = Pan(
        layout, left, width, sourceLeft, 4, true, [](int, int y) { return 100 + y; }, zero);
    const auto slope = [](int x, int) { return 30 + 6 * x; };
    ScanTestImage ramp = Pan(layout, left, width, sourceLeft, 4, false, slope, slope);
    std::string parts;
    for (int x = left; x < left + width; ++x) {
      const int source = sourceLeft + x - left;
      if (bright.Luma(x, 0) == 254) {
        parts += 'V';
      } else if (half.Luma(x, 0) == 101) {
        parts += 'o';
      } else if (ramp.Luma(x, 0) == slope(source, 0)) {
        parts += 'l';
      } else if (isShifted && ramp.Cb(x, 0) == slope(source / 2 * 2, 0) && x + 2 == left + width) {
        parts += 'n';
      } else {
        parts += 's';
      }
    }
    return parts;
  }
};

TEST_P(ScanningRounding, PartsOfARowByWidth) {
  struct Row {
    int width;
    const char* evenLeft;
    const char* oddLeft;
  };
  constexpr Row table[] = {
      {1, "l", "o"},
      {2, "nl", "ol"},
      {3, "ssl", "onl"},
      {4, "ssnl", "ossl"},
      {5, "ssssl", "ossnl"},
      {6, "ssssnl", "ossssl"},
      {7, "VVVVssl", "oVVVVnl"},
      {8, "VVVVssnl", "oVVVVssl"},
      {9, "VVVVssssl", "oVVVVssnl"},
      {10, "VVVVssssnl", "oVVVVssssl"},
  };
  for (const Row& row : table) {
    for (const std::int32_t layout : {chromaFirst, lumaFirst}) {
      for (const bool isShifted : {false, true}) {
        SCOPED_TRACE(testing::Message() << "width " << row.width << (isShifted ? ", shifted" : ""));
        const auto expected = [&](std::string parts) {
          if (!isShifted) std::ranges::replace(parts, 'n', 's');
          return parts;
        };
        EXPECT_EQ(Parts(layout, row.width, false, isShifted), expected(row.evenLeft));
        EXPECT_EQ(Parts(layout, row.width, true, isShifted), expected(row.oddLeft));
      }
    }
  }
}

TEST_P(ScanningRounding, GroupsLoseTheFractionOfEveryProduct) {
  // A third of a column: groups turn a flat 255 to 254, pairs do not.
  for (const std::int32_t layout : {chromaFirst, lumaFirst}) {
    ScanTestImage row = Pan(
        layout, 0, 9, 0, 4, false, [](int, int) { return 255; }, [](int, int) { return 0; });
    EXPECT_EQ(row.LumaRow(0, 0, 9), (Values{254, 254, 254, 254, 255, 255, 255, 255, 255, 99}));
  }
}

TEST_P(ScanningRounding, ShiftedChromaOfGroupsAndPairsIsWeightedDifferently) {
  // Half a column from an odd source column: groups are half between two pairs, pairs at three quarters, and
  // the last pixel takes its source pair alone.
  for (const std::int32_t layout : {chromaFirst, lumaFirst}) {
    ScanTestImage row = Pan(
        layout, 0, 9, 1, 3, false, [](int, int) { return 0; }, [](int x, int) { return 20 * x; });
    EXPECT_EQ((Values{row.Cb(0, 0), row.Cb(2, 0), row.Cb(4, 0), row.Cb(6, 0), row.Cb(8, 0)}),
              (Values{20, 60, 110, 150, 160}));
    EXPECT_EQ((Values{row.Cr(0, 0), row.Cr(2, 0), row.Cr(4, 0), row.Cr(6, 0), row.Cr(8, 0)}),
              (Values{21, 61, 111, 151, 161}));
  }
}

TEST_P(ScanningRounding, ChromaOfLikeColumnsIsNotResampled) {
  // Of two rows the mean, rounded down, for groups, pairs and the last pixel.
  for (const std::int32_t layout : {chromaFirst, lumaFirst}) {
    ScanTestImage row = Pan(
        layout, 0, 9, 2, 3, true, [](int, int) { return 0; }, [](int x, int y) { return 20 * x + 3 * y; });
    EXPECT_EQ((Values{row.Cb(0, 0), row.Cb(2, 0), row.Cb(4, 0), row.Cb(6, 0), row.Cb(8, 0)}),
              (Values{41, 81, 121, 161, 201}));
  }
}

TEST_P(ScanningRounding, OneAndTwoPixelsWide) {
  // Half a column, two rows that differ by one.
  const auto luma = [](int x, int y) { return 10 * x + y; };
  const auto chroma = [](int x, int y) { return 100 + 5 * x + 3 * y; };
  for (const std::int32_t layout : {chromaFirst, lumaFirst}) {
    // The last pixel: no horizontal interpolation, rounded down, with both chroma samples of its pair.
    ScanTestImage even = Pan(layout, 2, 1, 4, 3, true, luma, chroma);
    EXPECT_EQ(even.LumaRow(0, 1, 3), (Values{99, 40, 99}));
    EXPECT_EQ((Values{even.Cb(2, 0), even.Cr(2, 0)}), (Values{121, 122}));
    // The odd first pixel: interpolated and rounded up.
    ScanTestImage odd = Pan(layout, 3, 1, 4, 3, true, luma, chroma);
    EXPECT_EQ(odd.LumaRow(0, 2, 4), (Values{99, 46, 99}));
    EXPECT_EQ((Values{odd.Cb(2, 0), odd.Cr(2, 0)}), (Values{122, 123}));
    ScanTestImage two = Pan(layout, 2, 2, 4, 3, true, luma, chroma);
    EXPECT_EQ(two.LumaRow(0, 1, 4), (Values{99, 45, 50, 99}));
    EXPECT_EQ((Values{two.Cb(2, 0), two.Cr(2, 0)}), (Values{121, 122}));
    ScanTestImage oddTwo = Pan(layout, 3, 2, 4, 3, true, luma, chroma);
    EXPECT_EQ(oddTwo.LumaRow(0, 2, 5), (Values{99, 46, 50, 99}));
    EXPECT_EQ((Values{oddTwo.Cb(2, 0), oddTwo.Cb(4, 0)}), (Values{122, 121}));
  }
}

TEST_P(ScanningRounding, OddFirstPixelTakesChromaOfTwoPairsFromAnOddSourceColumn) {
  // A quarter of a column from source column 5, whose pair has chroma 104 and the next 124; two rows the
  // same. From source column 4 only its own pair counts.
  const auto luma = [](int, int) { return 0; };
  const auto chroma = [](int x, int) { return 64 + 10 * x; };
  for (const std::int32_t layout : {chromaFirst, lumaFirst}) {
    ScanTestImage odd = Pan(layout, 3, 5, 5, 5, false, luma, chroma);
    EXPECT_EQ((Values{odd.Cb(3, 0), odd.Cr(3, 0)}), (Values{109, 110}));
    ScanTestImage even = Pan(layout, 3, 5, 4, 5, false, luma, chroma);
    EXPECT_EQ((Values{even.Cb(3, 0), even.Cr(3, 0)}), (Values{104, 105}));
  }
}

TEST_P(ScanningRounding, VerticalPanRoundsToNearest) {
  ScanTestImage source(8, 3, Options(lumaFirst));
  source.Fill([](int, int y) { return y == 0 ? 10 : 20; }, [](int, int y) { return y == 0 ? 50 : 60; });
  ScanTestImage destination(8, 3, Options(lumaFirst, 1), 99);
  // A quarter of a row on.
  Run(*source, *destination, ImageRect(1, 0, 6, 2), ImageRect(1, 0, 6, 1), vertical, 5, 1);
  EXPECT_EQ(destination.LumaRow(0, 0, 7), (Values{99, 13, 13, 13, 13, 13, 13, 99}));
  for (const int x : {0, 2, 4, 6}) {
    EXPECT_EQ((Values{destination.Cb(x, 0), destination.Cr(x, 0)}), (Values{53, 54})) << x;
  }
}

TEST_P(ScanningRounding, VerticalPanBetweenUnlikeColumnsAveragesThePairWithTheNext) {
  for (const std::int32_t layout : {chromaFirst, lumaFirst}) {
    ScanTestImage source(12, 1, Options(layout));
    source.Fill([](int x, int) { return x; }, [](int x, int) { return 10 * x; });
    // Columns 1 to 4 from 2 to 5: an odd first pixel, a pair, an even last pixel.
    ScanTestImage destination(12, 1, Options(layout), 99);
    Run(*source, *destination, ImageRect(2, 0, 5, 0), ImageRect(1, 0, 4, 0), vertical, 1, 0);
    EXPECT_EQ(destination.LumaRow(0, 0, 5), (Values{99, 2, 3, 4, 5, 99}));
    EXPECT_EQ(
        (Values{destination.Cb(0, 0), destination.Cb(2, 0), destination.Cb(4, 0), destination.Cb(6, 0)}),
        (Values{30, 30, 50, 99}));
    EXPECT_EQ(
        (Values{destination.Cr(0, 0), destination.Cr(2, 0), destination.Cr(4, 0), destination.Cr(6, 0)}),
        (Values{31, 31, 51, 99}));
  }
}

INSTANTIATE_TEST_SUITE_P(Members, ScanningRounding, EachMember(), MemberName);

}  // namespace
