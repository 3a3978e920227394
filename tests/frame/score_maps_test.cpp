#include "frame/score_maps.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <new>
#include <vector>

namespace {

using kv_img::DoubleRect;
using kv_img::ImageRect;
using kv_img::MatchScoreMap;
using kv_img::SubPixelScoreMap;
using kv_img::unscored;

template <class Map>
std::vector<double> ScoresOf(const Map& map) {
  return {map.Scores().begin(), map.Scores().end()};
}

TEST(ScoreMaps, UnscoredIsTheLargestSinglePrecisionValue) {
  EXPECT_EQ(unscored, static_cast<double>(std::numeric_limits<float>::max()));
}

TEST(MatchScoreMap, IsMadeWithoutScoresAndIgnoresThem) {
  MatchScoreMap map;
  map.Store(0, 0, 1);
  EXPECT_TRUE(map.Scores().empty());
}

TEST(MatchScoreMap, ResetFillsEveryEntry) {
  MatchScoreMap map;
  map.Reset({2, 3, 4, 4});
  EXPECT_EQ(ScoresOf(map), std::vector<double>(6, unscored));
  map.Store(2, 3, 7);
  map.Reset({2, 3, 4, 5});
  EXPECT_EQ(ScoresOf(map), std::vector<double>(9, unscored));
}

TEST(MatchScoreMap, ScoresLieRowByRow) {
  MatchScoreMap map;
  map.Reset({-1, 3, 1, 4});
  map.Store(-1, 3, 1);
  map.Store(1, 3, 2);
  map.Store(0, 4, 3);
  EXPECT_EQ(ScoresOf(map), (std::vector<double>{1, unscored, 2, unscored, 3, unscored}));
}

TEST(MatchScoreMap, PositionOutsideTheRectangleIsDropped) {
  MatchScoreMap map;
  map.Reset({2, 3, 4, 4});
  constexpr int least = std::numeric_limits<int>::min();
  constexpr int most = std::numeric_limits<int>::max();
  for (const auto& [x, y] :
       {std::pair{1, 3}, {5, 3}, {2, 2}, {2, 5}, {least, 3}, {most, 3}, {2, least}, {2, most}}) {
    map.Store(x, y, 1);
  }
  EXPECT_EQ(ScoresOf(map), std::vector<double>(6, unscored));
}

TEST(MatchScoreMap, MirroredRectangleIsTurnedOver) {
  MatchScoreMap map;
  map.Reset({4, 4, 2, 3});
  EXPECT_TRUE(map.Rect() == ImageRect(2, 3, 4, 4));
  EXPECT_EQ(map.Scores().size(), 6U);
}

TEST(MatchScoreMap, RectangleThatNoMemoryHoldsLeavesNoScores) {
  MatchScoreMap map;
  map.Reset({0, 0, 1, 1});
  constexpr int least = std::numeric_limits<int>::min();
  constexpr int most = std::numeric_limits<int>::max();
  EXPECT_THROW(map.Reset({least, least, most, most}), std::bad_alloc);
  EXPECT_THROW(map.Reset({0, 0, most, most}), std::bad_alloc);
  map.Store(0, 0, 1);
  EXPECT_TRUE(map.Scores().empty());
}

TEST(SubPixelScoreMap, IsMadeWithoutScoresAndIgnoresThem) {
  SubPixelScoreMap map;
  map.Store(0, 0, 1);
  EXPECT_TRUE(map.Scores().empty());
  EXPECT_EQ(map.Columns(), 0);
  EXPECT_EQ(map.Rows(), 0);
}

TEST(SubPixelScoreMap, GridHasAPointMoreThanStepsFit) {
  SubPixelScoreMap map;
  map.Reset({1, 2, 2, 3.5}, 0.25, 0.5);
  EXPECT_EQ(map.Columns(), 5);
  EXPECT_EQ(map.Rows(), 4);
  EXPECT_EQ(ScoresOf(map), std::vector<double>(20, unscored));
  EXPECT_EQ(map.StepX(), 0.25);
  EXPECT_EQ(map.StepY(), 0.5);
}

TEST(SubPixelScoreMap, PartOfAStepCountsFromItsHalfOn) {
  SubPixelScoreMap map;
  map.Reset({0, 0, 2.5, 2.375}, 1, 1);
  EXPECT_EQ(map.Columns(), 4);
  EXPECT_EQ(map.Rows(), 3);
}

TEST(SubPixelScoreMap, PointAloneHasOneScore) {
  SubPixelScoreMap map;
  map.Reset({1, 2, 1, 2}, 0.25, 0.25);
  map.Store(1, 2, 9);
  EXPECT_EQ(ScoresOf(map), std::vector<double>{9});
}

TEST(SubPixelScoreMap, PositionGoesToTheNearestGridPoint) {
  SubPixelScoreMap map;
  map.Reset({1, 2, 2, 3}, 0.5, 1);
  map.Store(1.2, 2, 1);
  map.Store(1.25, 2.4, 2);
  map.Store(2.1, 2.5, 3);
  map.Store(0.75, 3.49, 4);
  EXPECT_EQ(ScoresOf(map), (std::vector<double>{1, 2, unscored, 4, unscored, 3}));
}

TEST(SubPixelScoreMap, PositionOutsideTheGridIsDropped) {
  SubPixelScoreMap map;
  map.Reset({1, 2, 2, 3}, 0.5, 1);
  for (const auto& [x, y] :
       {std::pair{0.7, 2.0}, {2.3, 2.0}, {1.0, 1.4}, {1.0, 3.6}, {-1e300, 2.0}, {1e300, 2.0}}) {
    map.Store(x, y, 1);
  }
  const double notANumber = std::numeric_limits<double>::quiet_NaN();
  map.Store(notANumber, 2, 1);
  EXPECT_EQ(ScoresOf(map), std::vector<double>(6, unscored));
}

TEST(SubPixelScoreMap, MirroredRectangleIsTurnedOver) {
  SubPixelScoreMap map;
  map.Reset({2, 3, 1, 2}, 0.5, 1);
  EXPECT_EQ(map.Rect().GetLeft(), 1);
  EXPECT_EQ(map.Rect().GetTop(), 2);
  EXPECT_EQ(map.Scores().size(), 6U);
}

TEST(SubPixelScoreMap, RectangleOrStepsWithoutAGridLeaveNoScores) {
  const double notANumber = std::numeric_limits<double>::quiet_NaN();
  const auto leavesNone = [](const DoubleRect& rect, double stepX, double stepY) {
    SubPixelScoreMap map;
    map.Reset({0, 0, 3, 3}, 1, 1);
    map.Reset(rect, stepX, stepY);
    map.Store(0, 0, 1);
    return map.Scores().empty() && map.Columns() == 0 && map.Rows() == 0;
  };
  EXPECT_TRUE(leavesNone({notANumber, 0, 1, 1}, 1, 1));
  EXPECT_TRUE(leavesNone({0, notANumber, 1, 1}, 1, 1));
  EXPECT_TRUE(leavesNone({0, 0, 4, 4}, -1, 1));
  EXPECT_TRUE(leavesNone({0, 0, 4, 4}, 1, -1));
  EXPECT_TRUE(leavesNone({0, 0, 0, 4}, 0, 1));
}

TEST(SubPixelScoreMap, GridThatNoMemoryHoldsLeavesNoScores) {
  SubPixelScoreMap map;
  map.Reset({0, 0, 1, 1}, 1, 1);
  EXPECT_THROW(map.Reset({0, 0, 1e300, 1e300}, 1, 1), std::bad_alloc);
  EXPECT_THROW(map.Reset({0, 0, 1e12, 1e12}, 0.5, 0.5), std::bad_alloc);
  map.Store(0, 0, 1);
  EXPECT_TRUE(map.Scores().empty());
  EXPECT_EQ(map.Columns(), 0);
}

TEST(SubPixelScoreMap, ResetLeavesTheFractions) {
  SubPixelScoreMap map;
  map.SetFractions(0.25, -0.5);
  map.Reset({0, 0, 1, 1}, 1, 1);
  EXPECT_EQ(map.FracX(), 0.25);
  EXPECT_EQ(map.FracY(), -0.5);
}

}  // namespace
