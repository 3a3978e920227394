#include <algorithm>
#include <cmath>
#include <limits>

#include "tests/featurefind/search_test.h"

namespace {

using namespace kv_test;
using kv_img::PixelYUV422;
using kv_img::SubPixelScoreMap;
using kv_img::unscored;
using kv_img::PixelLayout::chromaFirst;
using kv_img::PixelLayout::lumaFirst;

class SubPixelSearch : public FeatureFindTest {};

/// A smooth surface, so that samples between pixels are near the ones that interpolation gives.
int Hills(double x, double y) {
  return static_cast<int>(128 + 60 * std::sin(x * 0.5 + y * 0.2) + 50 * std::cos(y * 0.6 - x * 0.15) + 0.5);
}

int HillsAt(int x, int y) {
  return Hills(x, y);
}

TEST_P(SubPixelSearch, FindsAPatchMovedByFractions) {
  ForEachFormat([&]<class P>() {
    const auto image1 = MakeImage<P>(40, 30, HillsAt);
    const auto image2 = MakeImage<P>(40, 30, [](int x, int y) { return Hills(x - 2.25, y + 1.5); });
    EXPECT_EQ(LocateSubPixel(*image1, *image2, {20, 15}, {20, 15}, 5, 4, {4, 4, 0.25, 0.25}),
              (DoublePoint{22.25, 13.5}));
    // The same in levels: whole pixels, halves, quarters.
    EXPECT_EQ(LocateSubPixel(*image1, *image2, {20, 15}, {20, 15}, 5, 4, {4, 4, 1, 1, 3}),
              (DoublePoint{22.25, 13.5}));
  });
}

TEST_P(SubPixelSearch, FractionOfTheFeatureIsAddedToTheResult) {
  ForEachFormat([&]<class P>() {
    const auto image1 = MakeImage<P>(40, 30, HillsAt);
    EXPECT_EQ(LocateSubPixel(*image1, *image1, {20.375, 15.75}, {20, 15}, 5, 4, {2, 2, 0.5, 0.5}),
              (DoublePoint{20.375, 15.75}));
  });
}

TEST_P(SubPixelSearch, ClippedTemplateReportsTheFeaturePoint) {
  ForEachFormat([&]<class P>() {
    const auto image1 = MakeImage<P>(20, 16, HillsAt);
    const auto image2 = MakeImage<P>(40, 30, [](int x, int y) { return Hills(x - 9.5, y - 7.25); });
    for (const Point feature : {Point{1, 8}, {18, 8}, {10, 0}, {10, 15}, {0, 0}, {19, 15}}) {
      const DoublePoint point1 = {feature[0] + 0.25, feature[1] + 0.5};
      const DoublePoint centre = {std::max(feature[0] - 4, 0) + 4 + 9.5,
                                  std::max(feature[1] - 3, 0) + 3 + 7.0};
      EXPECT_EQ(LocateSubPixel(*image1, *image2, point1, centre, 4, 3, {1, 1, 0.25, 0.25}),
                (DoublePoint{feature[0] + 9.75, feature[1] + 7.75}));
    }
  });
}

TEST_P(SubPixelSearch, EqualScoresGiveTheFirstInRowMajorOrder) {
  ForEachFormat([&]<class P>() {
    const auto image1 = MakeImage<P>(20, 20, Nothing);
    const auto image2 = MakeImage<P>(30, 30, [](int, int) { return 50; });
    EXPECT_EQ(LocateSubPixel(*image1, *image2, {9, 9}, {12, 13}, 1, 1, {2, 1, 0.5, 0.25}),
              (DoublePoint{10, 12}));
  });
}

TEST_P(SubPixelSearch, EmptyRangeKeepsTheResultAndFillsTheTurnedMap) {
  ForEachFormat([&]<class P>() {
    const auto image = MakeImage<P>(30, 30, Texture);
    SubPixelScoreMap map;
    // Corners from 10 + 2 to 10 - 2; offset 4, 3.
    EXPECT_EQ(LocateSubPixel(*image, *image, {15, 15}, {14, 13}, 4, 3, {-2, 1, 1, 0.5}, &map, {100, 200}),
              (DoublePoint{104, 203}));
    EXPECT_EQ(map.Rect().GetLeft(), 12);
    EXPECT_EQ(map.Rect().GetRight(), 16);
    EXPECT_EQ(map.Rect().GetTop(), 12);
    EXPECT_EQ(map.Rect().GetBottom(), 14);
    EXPECT_EQ(ScoresOf(map), std::vector<double>(25, unscored));
  });
}

TEST_P(SubPixelSearch, EmptyRangeAddsTheOffsetOncePerLevel) {
  ForEachFormat([&]<class P>() {
    const auto image = MakeImage<P>(30, 30, Texture);
    // The centre of the second level is what the first one left, still far outside.
    EXPECT_EQ(
        LocateSubPixel(*image, *image, {15.5, 15}, {500, 13}, 4, 3, {1, 1, 1, 1, 3}, nullptr, {100, 200}),
        (DoublePoint{100 + 3 * 4 + 0.5, 200 + 3 * 3}));
  });
}

TEST_P(SubPixelSearch, ImageTwoMustBeThreeWiderAndHigherThanTheTemplate) {
  ForEachFormat([&]<class P>() {
    const auto image1 = MakeImage<P>(30, 30, Texture);
    const auto tooNarrow = MakeImage<P>(9 + 2, 30, Texture);
    const auto tooLow = MakeImage<P>(30, 7 + 2, Texture);
    for (const auto* image2 : {tooNarrow.get(), tooLow.get()}) {
      DoublePoint result = {11, 12};
      SubPixelScoreMap map;
      map.Reset({0, 0, 0, 0}, 1, 1);
      map.Store(0, 0, 5);
      const DoublePoint point = {15.25, 15.5};
      kv_std::SpinBarrier barrier(1);
      ExpectRefused([&] {
        Find<P>().LocateFeatureSubPixel(*image1, *image2, point.data(), point.data(), result.data(), 4, 3, 1,
                                        1, 1, 1, 1, &map, barrier, 0);
      });
      ExpectRefused([&] {
        Find<P>().RefineFeature(*image1, *image2, point.data(), point.data(), result.data(), 4, 3, 1, 1, 1, 1,
                                0, 1, nullptr, barrier, 0);
      });
      EXPECT_EQ(result, (DoublePoint{11, 12}));
      EXPECT_EQ(ScoresOf(map), std::vector<double>{5});
      // The fractions are set before anything is checked.
      EXPECT_EQ(map.FracX(), 0.25);
      EXPECT_EQ(map.FracY(), 0.5);
    }
    const auto fits = MakeImage<P>(9 + 3, 7 + 3, [](int x, int y) { return Texture(x + 10, y + 11); });
    EXPECT_EQ(LocateSubPixel(*image1, *fits, {15, 15}, {5, 4}, 4, 3, {9, 9, 1, 1}), (DoublePoint{5, 4}));
  });
}

TEST_P(SubPixelSearch, LevelsBelowTwoGiveASingleLevel) {
  ForEachFormat([&]<class P>() {
    const auto image1 = MakeImage<P>(40, 30, HillsAt);
    const auto image2 = MakeImage<P>(40, 30, [](int x, int y) { return Hills(x - 2.25, y + 1.5); });
    for (const int levels : {1, 0, -1, std::numeric_limits<int>::min()}) {
      EXPECT_EQ(LocateSubPixel(*image1, *image2, {20, 15}, {20, 15}, 5, 4, {4, 4, 1, 1, levels})[0], 22);
    }
    EXPECT_EQ(LocateSubPixel(*image1, *image2, {20, 15}, {20, 15}, 5, 4, {4, 4, 1, 1, 2})[1], 13.5);
  });
}

TEST_P(SubPixelSearch, LevelsGoOnFromTheLevelGiven) {
  const auto image1 = MakeImage<PixelYUV422>(40, 30, HillsAt);
  const auto image2 = MakeImage<PixelYUV422>(40, 30, [](int x, int y) { return Hills(x - 2.25, y + 1.5); });
  const DoublePoint point = {20, 15};
  kv_std::SpinBarrier barrier(1);
  const auto refine = [&](int level, int levels) {
    DoublePoint result = {0, 0};
    Find<PixelYUV422>().RefineFeature(*image1, *image2, point.data(), point.data(), result.data(), 5, 4, 4, 4,
                                      1, 1, level, levels, nullptr, barrier, 0);
    return result;
  };
  EXPECT_EQ(refine(2, 5), (DoublePoint{22.25, 13.5}));
  EXPECT_EQ(refine(5, 5)[0], 22);
  EXPECT_EQ(refine(std::numeric_limits<int>::max(), std::numeric_limits<int>::min())[0], 22);
}

TEST_P(SubPixelSearch, OnlyTheFirstLevelFillsTheMap) {
  ForEachFormat([&]<class P>() {
    const auto image1 = MakeImage<P>(40, 30, HillsAt);
    const auto image2 = MakeImage<P>(40, 30, [](int x, int y) { return Hills(x - 2.25, y + 1.5); });
    SubPixelScoreMap one;
    SubPixelScoreMap three;
    LocateSubPixel(*image1, *image2, {20, 15}, {20, 15}, 5, 4, {4, 4, 1, 1, 1}, &one);
    LocateSubPixel(*image1, *image2, {20, 15}, {20, 15}, 5, 4, {4, 4, 1, 1, 3}, &three);
    EXPECT_EQ(three.StepX(), 1);
    EXPECT_EQ(three.Columns(), 9);
    EXPECT_EQ(ScoresOf(one), ScoresOf(three));
    EXPECT_TRUE(std::ranges::none_of(three.Scores(), [](double score) { return score == unscored; }));
  });
}

TEST_P(SubPixelSearch, RangeAndCentreAreTakenToWholeSteps) {
  ForEachFormat([&]<class P>() {
    const auto image = MakeImage<P>(40, 30, HillsAt);
    SubPixelScoreMap map;
    // 20.3 is nearest to 20.5, 1.2 to 1; 15.2 to 15, 0.8 to 1.
    LocateSubPixel(*image, *image, {20, 15}, {20.3, 15.2}, 5, 4, {1.2, 0.8, 0.5, 0.5}, &map);
    EXPECT_EQ(map.Rect().GetLeft(), 19.5);
    EXPECT_EQ(map.Rect().GetRight(), 21.5);
    EXPECT_EQ(map.Rect().GetTop(), 14);
    EXPECT_EQ(map.Rect().GetBottom(), 16);
    EXPECT_EQ(map.Columns(), 5);
    EXPECT_EQ(map.Rows(), 5);
  });
}

TEST_P(SubPixelSearch, EndsAreMovedIntoTheImageByWholeSteps) {
  ForEachFormat([&]<class P>() {
    const auto image = MakeImage<P>(20, 20, HillsAt);
    SubPixelScoreMap map;
    // Across: corners 0.5 - 4.5 to 0.5 + 4.5 in steps of 1.5, from 0.5 on. Down: 5 - 12 to 5 + 12 in steps of
    // 2, from 1 to the limit 20 - 7 - 2. The feature is at 4, 3.
    LocateSubPixel(*image, *image, {10, 10}, {4, 7}, 4, 3, {5, 12, 1.5, 2}, &map);
    EXPECT_EQ(map.Rect().GetLeft(), 4 + 0.5);
    EXPECT_EQ(map.Rect().GetRight(), 4 + 5);
    EXPECT_EQ(map.Rect().GetTop(), 3 + 1);
    EXPECT_EQ(map.Rect().GetBottom(), 3 + 11);
    // Corners 11 - 3 to 11 + 3 in steps of 3; the last, past the limit, is moved back to 20 - 9 - 2.
    LocateSubPixel(*image, *image, {10, 10}, {15, 7}, 4, 3, {3, 0, 3, 1}, &map);
    EXPECT_EQ(map.Rect().GetLeft(), 4 + 8);
    EXPECT_EQ(map.Rect().GetRight(), 4 + 8);
  });
}

/// The score of the one position 2/7 right of, 4/7 below the image's corner, for a template of zeros, one row
/// high.
template <class P>
double ScoreAtSevenths(const FeatureFindOf<P>& find, int width, int layout) {
  const auto image1 = MakeImage<P>(width, 1, Nothing);
  constexpr int samples[2][2] = {{77, 11}, {105, 78}};
  const auto image2 = MakeImage<P>(
      width + 3, 4, [&](int x, int y) { return samples[y % 2][x % 2]; }, Options(layout));
  const DoublePoint feature = {static_cast<double>(width / 2), 0};
  const DoublePoint centre = {2.0 / 7 + (width + 1) / 2, 4.0 / 7};
  DoublePoint result = {0, 0};
  SubPixelScoreMap map;
  kv_std::SpinBarrier barrier(1);
  find.LocateFeatureSubPixel(*image1, *image2, feature.data(), centre.data(), result.data(), (width + 1) / 2,
                             0, 0, 0, 2.0 / 7, 4.0 / 7, 1, &map, barrier, 0);
  return map.Scores().size() == 1 ? map.Scores()[0] : -1;
}

TEST_P(SubPixelSearch, VectorColumnsAreTruncatedAndTheLastFourToSevenRounded) {
  for (const int layout : {chromaFirst, lumaFirst}) {
    const auto& find = Find<PixelYUV422>();
    // A column between 77 11 / 105 78 gives 81 rounded once and 80 term by term; one between 11 77 / 78 105
    // gives 62 either way.
    EXPECT_EQ(ScoreAtSevenths<PixelYUV422>(find, 3, layout), (81 + 62 + 81) / 3.0);
    EXPECT_EQ(ScoreAtSevenths<PixelYUV422>(find, 7, layout), (4 * 81 + 3 * 62) / 7.0);
    EXPECT_EQ(ScoreAtSevenths<PixelYUV422>(find, 8, layout), (2 * 80 + 2 * 81 + 4 * 62) / 8.0);
    EXPECT_EQ(ScoreAtSevenths<PixelYUV422>(find, 11, layout), (2 * 80 + 4 * 81 + 5 * 62) / 11.0);
    EXPECT_EQ(ScoreAtSevenths<PixelYUV422>(find, 12, layout), (4 * 80 + 2 * 81 + 6 * 62) / 12.0);
  }
}

TEST_P(SubPixelSearch, BitmapsInterpolateInDoublePrecision) {
  // 80.51 and 61.77.
  for (const int layout : {kv_img::PixelLayout::blueFirst, kv_img::PixelLayout::redFirst}) {
    EXPECT_EQ(ScoreAtSevenths<kv_img::PixelDIB24>(Find<kv_img::PixelDIB24>(), 11, layout),
              (6 * 81 + 5 * 62) / 11.0);
    EXPECT_EQ(ScoreAtSevenths<kv_img::PixelDIB32>(Find<kv_img::PixelDIB32>(), 11, layout),
              (6 * 81 + 5 * 62) / 11.0);
  }
}

TEST_P(SubPixelSearch, BitmapsDifferFromIntegerWeights) {
  // Half a step right between 0 and 1 is 0.5: rounded up in double precision; the integer weights of 32767
  // / 65536 give 0.
  const auto scoreOf = [&]<class P>() {
    const auto image1 = MakeImage<P>(1, 1, Nothing);
    const auto image2 = MakeImage<P>(4, 4, [](int x, int) { return x % 2; });
    SubPixelScoreMap map;
    LocateSubPixel(*image1, *image2, {0, 0}, {0.5, 0}, 0, 0, {0, 0, 0.5, 0.5}, &map);
    return map.Scores()[0];
  };
  EXPECT_EQ(scoreOf.template operator()<kv_img::PixelDIB24>(), 1);
  EXPECT_EQ(scoreOf.template operator()<kv_img::PixelDIB32>(), 1);
  EXPECT_EQ(scoreOf.template operator()<PixelYUV422>(), 0);
}

TEST_P(SubPixelSearch, TemplateOutsideItsImageEqualsTheFirstCandidate) {
  ForEachFormat([&]<class P>() {
    const auto image = MakeImage<P>(30, 30, Texture);
    SubPixelScoreMap map;
    EXPECT_EQ(LocateSubPixel(*image, *image, {40, 15}, {10, 13}, 4, 3, {2, 1, 0.5, 0.5}, &map),
              (DoublePoint{4 + 4, 9 + 3}));
    EXPECT_EQ(ScoresOf(map), std::vector<double>(45, 0.0));
    EXPECT_EQ(LocateSubPixel(*image, *image, {15, -9.5}, {10, 13}, 4, 3, {2, 1, 0.5, 0.5}),
              (DoublePoint{4 + 4, 9 - 10 - 0.5}));
  });
}

TEST_P(SubPixelSearch, NegativeFeatureGoesToThePixelBelow) {
  ForEachFormat([&]<class P>() {
    const auto image1 = MakeImage<P>(20, 20, HillsAt);
    const auto image2 = MakeImage<P>(30, 30, [](int x, int y) { return Hills(x - 6, y - 6); });
    SubPixelScoreMap map;
    // The floor of -0.25 is -1, its fraction -0.25: the feature comes out a pixel to the left.
    EXPECT_EQ(LocateSubPixel(*image1, *image2, {-0.25, 5}, {9, 11}, 4, 3, {2, 2, 1, 1}, &map),
              (DoublePoint{6 - 1 - 0.25, 11}));
    EXPECT_EQ(map.FracX(), -0.25);
  });
}

TEST_P(SubPixelSearch, PositionATrifleBeforeTheFirstPixelReadsOnePixelOn) {
  ForEachFormat([&]<class P>() {
    // Moved in by whole steps of 2/7, the first corner comes out at -9e-16: pixel 0, and nearly a whole pixel
    // right of it.
    const auto image1 = MakeImage<P>(30, 4, Texture);
    const auto image2 = MakeImage<P>(30, 4, [](int x, int y) { return Texture(x - 1, y); });
    SubPixelScoreMap map;
    LocateSubPixel(*image1, *image2, {4, 0}, {1.4, 0}, 4, 0, {11 * (2.0 / 7), 0, 2.0 / 7, 1}, &map);
    EXPECT_LT(map.Rect().GetLeft(), 4);
    EXPECT_GT(map.Rect().GetLeft(), 3.999);
    ASSERT_EQ(map.Columns(), 3);
    EXPECT_EQ(map.Scores()[0], 0);
  });
}

TEST_P(SubPixelSearch, StepTooSmallToMoveThePositionEnds) {
  const auto image = MakeImage<PixelYUV422>(40, 30, HillsAt);
  const DoublePoint found = LocateSubPixel(*image, *image, {20, 15}, {20, 15}, 5, 4, {1, 1, 1, 1, 70});
  EXPECT_NEAR(found[0], 20, 0.1);
  EXPECT_NEAR(found[1], 15, 0.1);
}

TEST_P(SubPixelSearch, AbsurdRangesReadNothingOutsideTheImage) {
  ForEachFormat([&]<class P>() {
    const auto image = MakeImage<P>(87, 91, HillsAt);
    // So far out that doubles are 16 pixels apart: clamped ends miss the image's by some pixels.
    for (const double range : {1e17, 1e17 + 16, 3e17}) {
      const DoublePoint found =
          LocateSubPixel(*image, *image, {20, 15}, {20, 15}, 5, 4, {range, range, 8, 8});
      EXPECT_LE(found[0], 5 + 87 - 11 - 1);
      EXPECT_LE(found[1], 4 + 91 - 9 - 1);
    }
  });
}

TEST_P(SubPixelSearch, ResultMayBeTheArrayOfEitherPoint) {
  const auto image1 = MakeImage<PixelYUV422>(40, 30, HillsAt);
  const auto image2 = MakeImage<PixelYUV422>(40, 30, [](int x, int y) { return Hills(x - 2.25, y + 1.5); });
  kv_std::SpinBarrier barrier(1);
  for (const int which : {0, 1}) {
    DoublePoint points[2] = {{20.125, 15}, {20, 15}};
    Find<PixelYUV422>().LocateFeatureSubPixel(*image1, *image2, points[0].data(), points[1].data(),
                                              points[which].data(), 5, 4, 4, 4, 1, 1, 3, nullptr, barrier, 0);
    EXPECT_EQ(points[which], (DoublePoint{22.375, 13.5}));
  }
}

TEST_P(SubPixelSearch, EveryThreadMakesTheWholeSearch) {
  const auto image1 = MakeImage<PixelYUV422>(40, 30, HillsAt);
  const auto image2 = MakeImage<PixelYUV422>(40, 30, [](int x, int y) { return Hills(x - 2.25, y + 1.5); });
  std::array<DoublePoint, 5> results{};
  std::array<SubPixelScoreMap, 5> maps;
  const DoublePoint point = {20, 15};
  for (const auto& thrown : CallOnThreads(5, [&](kv_std::SpinBarrier&barrier, std::uint32_t index) {
         Find<PixelYUV422>().LocateFeatureSubPixel(*image1, *image2, point.data(), point.data(),
                                                   results[index].data(), 5, 4, 4, 4, 1, 1, 3, &maps[index],
                                                   barrier, static_cast<int>(index));
       })) {
    EXPECT_EQ(thrown, nullptr);
  }
  for (std::size_t index = 0; index < 5; ++index) {
    EXPECT_EQ(results[index], (DoublePoint{22.25, 13.5}));
    EXPECT_EQ(ScoresOf(maps[index]), ScoresOf(maps[0]));
  }
}

TEST_P(SubPixelSearch, MapThatNoMemoryHoldsIsRefused) {
  const auto image = MakeImage<PixelYUV422>(30, 30, Texture);
  SubPixelScoreMap map;
  DoublePoint result = {11, 12};
  const DoublePoint feature = {15.5, 15};
  const DoublePoint centre = {1e12, 1e12};
  kv_std::SpinBarrier barrier(1);
  ExpectError<kv_img::AlgoMMXException>(
      [&] {
        Find<PixelYUV422>().LocateFeatureSubPixel(*image, *image, feature.data(), centre.data(),
                                                  result.data(), 4, 3, 0, 0, 0.25, 0.25, 1, &map, barrier, 0);
      },
      3, L"FeatureFind" + member_.Suffix());
  EXPECT_EQ(result, (DoublePoint{11, 12}));
  EXPECT_TRUE(map.Scores().empty());
}

INSTANTIATE_TEST_SUITE_P(Members, SubPixelSearch, EachMember(), MemberName);

}  // namespace
