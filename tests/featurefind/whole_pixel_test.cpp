#include <algorithm>
#include <cmath>
#include <limits>

#include "tests/featurefind/search_test.h"

namespace {

using namespace kv_test;
using kv_img::ImageRect;
using kv_img::MatchScoreMap;
using kv_img::PixelYUV422;
using kv_img::unscored;
using kv_img::PixelLayout::chromaFirst;
using kv_img::PixelLayout::lumaFirst;

class WholePixelSearch : public FeatureFindTest {};

TEST_P(WholePixelSearch, FindsAMovedPatch) {
  ForEachFormat([&]<class P>() {
    const auto image1 = MakeImage<P>(40, 30, Texture);
    const auto image2 = MakeImage<P>(40, 30, [](int x, int y) { return Texture(x - 5, y + 3); });
    EXPECT_EQ(Locate(*image1, *image2, {20, 15}, {20, 15}, 4, 3, 8, 8), (Point{25, 12}));
  });
}

TEST_P(WholePixelSearch, ClippedTemplateReportsTheFeaturePoint) {
  ForEachFormat([&]<class P>() {
    const auto image1 = MakeImage<P>(20, 16, Texture);
    const auto image2 = MakeImage<P>(40, 30, [](int x, int y) { return Texture(x - 9, y - 7); });
    for (const Point feature : {Point{1, 8}, {18, 8}, {10, 0}, {10, 15}, {0, 0}, {19, 15}}) {
      // The search starts half-sizes left of and above its centre; a template that was cut starts there too.
      const Point centre = {std::max(feature[0] - 4, 0) + 4 + 9 + 2, std::max(feature[1] - 3, 0) + 3 + 7 - 2};
      EXPECT_EQ(Locate(*image1, *image2, feature, centre, 4, 3, 3, 3),
                (Point{feature[0] + 9, feature[1] + 7}));
    }
  });
}

TEST_P(WholePixelSearch, CentreIsTakenWithHalfSizesAndResultWithTheClippedOffset) {
  const auto image = MakeImage<PixelYUV422>(30, 30, Nothing);
  // One candidate: the corner 20 - 4, 20 - 3; the feature is at 1, 2 of its template.
  EXPECT_EQ(Locate(*image, *image, {1, 2}, {20, 20}, 4, 3, 0, 0), (Point{17, 19}));
}

TEST_P(WholePixelSearch, EqualScoresGiveTheFirstInRowMajorOrder) {
  ForEachFormat([&]<class P>() {
    const auto image1 = MakeImage<P>(9, 9, [](int x, int y) { return x == 4 && y == 4 ? 200 : 0; });
    const auto isSpot = [](int x, int y) {
      return (x == 15 && y == 9) || (x == 6 && y == 12) || (x == 20 && y == 9) || (x == 9 && y == 20);
    };
    const auto image2 = MakeImage<P>(30, 30, [&](int x, int y) { return isSpot(x, y) ? 200 : 0; });
    EXPECT_EQ(Locate(*image1, *image2, {4, 4}, {13, 13}, 1, 1, 12, 12), (Point{15, 9}));
    const auto even = MakeImage<P>(30, 30, [](int, int) { return 77; });
    EXPECT_EQ(Locate(*image1, *even, {4, 4}, {13, 13}, 1, 1, 3, 4), (Point{10, 9}));
  });
}

TEST_P(WholePixelSearch, OfEqualScoresTheEarlierRowWinsHoweverFarToTheRight) {
  ForEachFormat([&]<class P>() {
    const auto image1 = MakeImage<P>(9, 9, [](int x, int y) { return x == 4 && y == 4 ? 200 : 0; });
    for (const int row : {9, 10, 11, 12}) {
      const auto image2 = MakeImage<P>(130, 30, [row](int x, int y) {
        return (x == 110 && y == row) || (x == 8 && y == row + 1) ? 200 : 0;
      });
      EXPECT_EQ(Locate(*image1, *image2, {4, 4}, {60, 13}, 1, 1, 58, 12), (Point{110, row}));
    }
  });
}

TEST_P(WholePixelSearch, EmptyRangeKeepsTheResultAndLeavesTheMapUnscored) {
  ForEachFormat([&]<class P>() {
    const auto image = MakeImage<P>(30, 30, Texture);
    MatchScoreMap map;
    // Negative range: corners 10 + 2 to 10 - 2 side by side, turned over in the map. Offset 4, 3.
    EXPECT_EQ(Locate(*image, *image, {15, 15}, {14, 13}, 4, 3, -2, 1, &map, {100, 200}), (Point{104, 203}));
    EXPECT_TRUE(map.Rect() == ImageRect(12, 12, 16, 14));
    EXPECT_EQ(ScoresOf(map), std::vector<double>(15, unscored));
    // Beyond the right limit, 30 - 6 - 1; the clipped template is 6 wide and its offset 1.
    EXPECT_EQ(Locate(*image, *image, {1, 15}, {60, 13}, 4, 3, 2, 0, &map, {100, 200}), (Point{101, 203}));
    EXPECT_TRUE(map.Rect() == ImageRect(24, 13, 55, 13));
    EXPECT_EQ(ScoresOf(map), std::vector<double>(32, unscored));
  });
}

TEST_P(WholePixelSearch, ImageTwoMustBeTwoWiderAndHigherThanTheTemplate) {
  ForEachFormat([&]<class P>() {
    const auto image1 = MakeImage<P>(30, 30, Texture);
    const auto tooNarrow = MakeImage<P>(9 + 1, 30, Texture);
    const auto tooLow = MakeImage<P>(30, 7 + 1, Texture);
    for (const auto* image2 : {tooNarrow.get(), tooLow.get()}) {
      Point result = {11, 12};
      MatchScoreMap map;
      map.Reset({0, 0, 0, 0});
      map.Store(0, 0, 5);
      const Point point = {15, 15};
      kv_std::SpinBarrier barrier(1);
      ExpectRefused([&] {
        Find<P>().LocateFeature(*image1, *image2, point.data(), point.data(), result.data(), 4, 3, 1, 1, &map,
                                barrier, 0);
      });
      ExpectRefused([&] {
        Find<P>().LocateFeatureNoMap(*image1, *image2, point.data(), point.data(), result.data(), 4, 3, 1, 1,
                                     barrier, 0);
      });
      EXPECT_EQ(result, (Point{11, 12}));
      EXPECT_EQ(ScoresOf(map), std::vector<double>{5});
    }
    const auto fits = MakeImage<P>(9 + 2, 7 + 2, [](int x, int y) { return Texture(x + 10, y + 11); });
    EXPECT_EQ(Locate(*image1, *fits, {15, 15}, {5, 4}, 4, 3, 9, 9), (Point{5, 4}));
  });
}

TEST_P(WholePixelSearch, LastColumnAndRowAreNeverCompared) {
  ForEachFormat([&]<class P>() {
    const auto image1 = MakeImage<P>(12, 12, Texture);
    const auto image2 = MakeImage<P>(12, 12, [](int x, int y) { return Texture(x - 3, y - 3); });
    MatchScoreMap map;
    // The patch of 5 x 5 stands at 7, 7 of image 2, one beyond the limit 12 - 5 - 1.
    Locate(*image1, *image2, {6, 6}, {9, 9}, 2, 2, 9, 9, &map);
    EXPECT_TRUE(map.Rect() == ImageRect(2, 2, 8, 8));
    EXPECT_GT(*std::ranges::min_element(map.Scores()), 0);
  });
}

TEST_P(WholePixelSearch, MapHoldsTheMeanDifferenceOfEveryPosition) {
  ForEachFormat([&]<class P>() {
    const auto image1 = MakeImage<P>(9, 9, [](int, int) { return 10; });
    // The template is 3 wide, and 2 high for it is cut.
    const auto image2 = MakeImage<P>(9, 9, [](int x, int y) { return x == 4 && y == 3 ? 110 : 10; });
    MatchScoreMap map;
    Locate(*image1, *image2, {4, 0}, {3, 3}, 1, 1, 1, 1, &map);
    EXPECT_TRUE(map.Rect() == ImageRect(2, 1, 4, 3));
    constexpr double one = 100.0 / 6;
    EXPECT_EQ(ScoresOf(map), (std::vector<double>{0, 0, 0, 0, one, one, 0, one, one}));
  });
}

TEST_P(WholePixelSearch, EachImageSaysItselfWhereItsLumaLies) {
  for (const int layout1 : {chromaFirst, lumaFirst, 4097 + 7}) {
    for (const int layout2 : {chromaFirst, lumaFirst}) {
      const auto image1 = MakeImage<PixelYUV422>(40, 30, Texture, Options(layout1));
      const auto image2 = MakeImage<PixelYUV422>(
          40, 30, [](int x, int y) { return Texture(x - 2, y - 1); }, Options(layout2));
      MatchScoreMap map;
      EXPECT_EQ(Locate(*image1, *image2, {20, 15}, {20, 15}, 6, 3, 4, 4, &map), (Point{22, 16}));
      EXPECT_EQ(*std::ranges::min_element(map.Scores()), 0);
    }
  }
}

TEST_P(WholePixelSearch, BitmapsAreComparedByGreenAloneInEitherLayout) {
  const auto image1 = MakeImage<kv_img::PixelDIB24>(40, 30, Texture, Options(kv_img::PixelLayout::redFirst));
  const auto image2 =
      MakeImage<kv_img::PixelDIB24>(40, 30, [](int x, int y) { return Texture(x - 2, y - 1); });
  MatchScoreMap map;
  EXPECT_EQ(Locate(*image1, *image2, {20, 15}, {20, 15}, 6, 3, 4, 4, &map), (Point{22, 16}));
  EXPECT_EQ(*std::ranges::min_element(map.Scores()), 0);
}

TEST_P(WholePixelSearch, TemplateOutsideItsImageEqualsTheFirstCandidate) {
  ForEachFormat([&]<class P>() {
    const auto image = MakeImage<P>(30, 30, Texture);
    MatchScoreMap map;
    // Right of the image: x from 36 to 29, -6 columns; offset 40 - 36.
    EXPECT_EQ(Locate(*image, *image, {40, 15}, {10, 13}, 4, 3, 2, 1, &map), (Point{4 + 4, 9 + 3}));
    EXPECT_EQ(ScoresOf(map), std::vector<double>(15, 0.0));
    EXPECT_TRUE(std::signbit(map.Scores()[0]));
    // Left of it by a column: no columns at all, 0 / 0; offset -5.
    EXPECT_EQ(Locate(*image, *image, {-5, 15}, {10, 13}, 4, 3, 2, 1, &map), (Point{4 - 5, 9 + 3}));
    EXPECT_TRUE(std::ranges::all_of(map.Scores(), [](double score) { return std::isnan(score); }));
    // Above, below, and with negative half-sizes.
    EXPECT_EQ(Locate(*image, *image, {15, -9}, {10, 13}, 4, 3, 2, 1), (Point{4 + 4, 9 - 9}));
    EXPECT_EQ(Locate(*image, *image, {15, 90}, {10, 13}, 4, 3, 2, 1), (Point{4 + 4, 9 + 3}));
    EXPECT_EQ(Locate(*image, *image, {15, 15}, {10, 13}, -1, 3, 2, 1), (Point{9 - 1, 9 + 3}));
  });
}

TEST_P(WholePixelSearch, RangesBeyondTheImageAreCut) {
  ForEachFormat([&]<class P>() {
    const auto image1 = MakeImage<P>(30, 30, Texture);
    MatchScoreMap map;
    constexpr int most = std::numeric_limits<int>::max();
    EXPECT_EQ(Locate(*image1, *image1, {15, 15}, {3, 70}, 4, 3, most, most, &map), (Point{15, 15}));
    EXPECT_TRUE(map.Rect() == ImageRect(4, 3, 4 + 20, 3 + 22));
    EXPECT_TRUE(std::ranges::none_of(map.Scores(), [](double score) { return score == unscored; }));
  });
}

TEST_P(WholePixelSearch, ScoresBeyond31BitsCompareAsNegative) {
  // Rows that share their memory make large images small. 8422 x 1000 samples that differ by 255 add up to
  // more than 2^31, one column less to a little less.
  constexpr int width = 8422;
  constexpr int height = 1000;
  std::vector<std::uint8_t> dark(2 * (width + 3), 0);
  std::vector<std::uint8_t> bright(2 * (width + 3), 255);
  bright[0] = 0;
  bright[1] = 0;
  const std::vector<std::uint8_t*> darkRows(height, dark.data());
  const std::vector<std::uint8_t*> brightRows(height + 3, bright.data());
  const kv_img::Image<PixelYUV422> image1(width, height, kv_img::WrappedRows::Separate(darkRows));
  const kv_img::Image<PixelYUV422> image2(width + 3, height + 3, kv_img::WrappedRows::Separate(brightRows));
  const Point feature = {width / 2, height / 2};
  MatchScoreMap map;
  for (MatchScoreMap* mapOrNull : {&map, static_cast<MatchScoreMap*>(nullptr)}) {
    EXPECT_EQ(Locate(image1, image2, feature, feature, width / 2, height / 2, 1, 0, mapOrNull),
              (Point{width / 2 + 1, height / 2}));
  }
  EXPECT_EQ(ScoresOf(map), (std::vector<double>{255.0 * (width - 1) / width, 255.0}));
}

TEST_P(WholePixelSearch, WithoutAMapIsTheSame) {
  ForEachFormat([&]<class P>() {
    const auto image1 = MakeImage<P>(40, 40, Texture);
    const auto image2 = MakeImage<P>(40, 40, [](int x, int y) { return Texture(x + 1, y) / 3 * 2; });
    MatchScoreMap map;
    const Point point = {20, 20};
    const Point found = Locate(*image1, *image2, point, point, 9, 9, 7, 7, &map);
    Point result = {-1000, -1000};
    kv_std::SpinBarrier barrier(1);
    Find<P>().LocateFeatureNoMap(*image1, *image2, point.data(), point.data(), result.data(), 9, 9, 7, 7,
                                 barrier, 0);
    EXPECT_EQ(result, found);
    const auto best = std::ranges::min_element(map.Scores()) - map.Scores().begin();
    EXPECT_EQ(found, (Point{13 + static_cast<int>(best % 15), 13 + static_cast<int>(best / 15)}));
  });
}

TEST_P(WholePixelSearch, ResultMayBeTheArrayOfEitherPoint) {
  const auto image1 = MakeImage<PixelYUV422>(40, 30, Texture);
  const auto image2 = MakeImage<PixelYUV422>(40, 30, [](int x, int y) { return Texture(x - 5, y + 3); });
  kv_std::SpinBarrier barrier(1);
  for (const int which : {0, 1}) {
    Point points[2] = {{20, 15}, {20, 15}};
    Find<PixelYUV422>().LocateFeature(*image1, *image2, points[0].data(), points[1].data(),
                                      points[which].data(), 4, 3, 8, 8, nullptr, barrier, 0);
    EXPECT_EQ(points[which], (Point{25, 12}));
  }
}

TEST_P(WholePixelSearch, EveryThreadMakesTheWholeSearch) {
  const auto image1 = MakeImage<PixelYUV422>(40, 30, Texture);
  const auto image2 = MakeImage<PixelYUV422>(40, 30, [](int x, int y) { return Texture(x - 5, y + 3); });
  MatchScoreMap alone;
  Locate(*image1, *image2, {20, 15}, {20, 15}, 4, 3, 8, 8, &alone);
  std::array<Point, 5> results{};
  std::array<MatchScoreMap, 5> maps;
  const Point point = {20, 15};
  for (const auto& thrown : CallOnThreads(5, [&](kv_std::SpinBarrier&barrier, std::uint32_t index) {
         Find<PixelYUV422>().LocateFeature(*image1, *image2, point.data(), point.data(),
                                           results[index].data(), 4, 3, 8, 8, &maps[index], barrier,
                                           static_cast<int>(index));
       })) {
    EXPECT_EQ(thrown, nullptr);
  }
  for (std::size_t index = 0; index < 5; ++index) {
    EXPECT_EQ(results[index], (Point{25, 12}));
    EXPECT_EQ(ScoresOf(maps[index]), ScoresOf(alone));
  }
}

TEST_P(WholePixelSearch, MapThatNoMemoryHoldsIsRefused) {
  const auto image = MakeImage<PixelYUV422>(30, 30, Texture);
  MatchScoreMap map;
  Point result = {11, 12};
  const Point feature = {15, 15};
  // Empty ranges whose rectangles, turned over, are as large as rectangles can be.
  constexpr int most = std::numeric_limits<int>::max();
  const Point centre = {most, most};
  kv_std::SpinBarrier barrier(1);
  ExpectError<kv_img::AlgoMMXException>(
      [&] {
        Find<PixelYUV422>().LocateFeature(*image, *image, feature.data(), centre.data(), result.data(), 4, 3,
                                          0, 0, &map, barrier, 0);
      },
      3, L"FeatureFind" + member_.Suffix());
  EXPECT_EQ(result, (Point{11, 12}));
  EXPECT_TRUE(map.Scores().empty());
}

INSTANTIATE_TEST_SUITE_P(Members, WholePixelSearch, EachMember(), MemberName);

}  // namespace
