#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <limits>
#include <vector>

#include "geometry/intersection.h"
#include "tests/geometry/clip.h"
#include "tests/geometry/plane.h"
#include "tests/geometry/random_polygons.h"

namespace kv_math {
namespace {

using kv_test::Clip;
using kv_test::infinity;
using kv_test::notANumber;
using kv_test::PolygonOf;
using kv_test::Reversed;

const Rect2 square(0, 0, 10, 10);

std::vector<Polygon2> Clip(const Polygon2& polygon) {
  return Clip(polygon, square);
}

/// Clips the polygon as it is and wound the other way; expects simple pieces inside the rectangle with these
/// areas, in any order, wound as the polygon is.
void ExpectPieces(const Polygon2& polygon, std::vector<double> areas, const Rect2& rect = square) {
  for (const Polygon2& input : {polygon, Reversed(polygon)}) {
    const double direction = kv_model::SignedArea(input) > 0 ? 1 : -1;
    std::vector<double> found;
    for (const Polygon2& piece : Clip(input, rect)) {
      EXPECT_TRUE(kv_model::IsSimple(piece));
      found.push_back(direction * kv_model::SignedArea(piece));
      for (std::size_t i = 0; i < piece.GetNbrOfVertices(); ++i) {
        EXPECT_TRUE(piece[i].IsValid());
        EXPECT_GE(piece[i].x, rect.GetLeft());
        EXPECT_LE(piece[i].x, rect.GetRight());
        EXPECT_GE(piece[i].y, rect.GetTop());
        EXPECT_LE(piece[i].y, rect.GetBottom());
      }
    }
    std::sort(found.begin(), found.end());
    std::sort(areas.begin(), areas.end());
    ASSERT_EQ(found.size(), areas.size());
    for (std::size_t i = 0; i < areas.size(); ++i) EXPECT_NEAR(found[i], areas[i], 1e-12);
  }
}

void ExpectNone(const Polygon2& polygon, const Rect2& rect = square) {
  ExpectPieces(polygon, {}, rect);
}

TEST(Clip, PolygonInsideComesBackUnchanged) {
  const Polygon2 polygon = PolygonOf({{1, 1}, {9, 2}, {5, 5}, {8, 9}, {2, 8}});
  const std::vector<Polygon2> pieces = Clip(polygon);
  ASSERT_EQ(pieces.size(), 1u);
  ASSERT_EQ(pieces[0].GetNbrOfVertices(), 5u);
  for (std::size_t i = 0; i < 5; ++i) {
    EXPECT_EQ(pieces[0][i].x, polygon[i].x);
    EXPECT_EQ(pieces[0][i].y, polygon[i].y);
  }
}

TEST(Clip, PolygonEqualToTheRectangle) {
  ExpectPieces(PolygonOf({{0, 0}, {10, 0}, {10, 10}, {0, 10}}), {100});
}

TEST(Clip, PolygonAroundTheRectangleGivesTheRectangle) {
  ExpectPieces(PolygonOf({{-5, -5}, {15, -5}, {15, 15}, {-5, 15}}), {100});
  ExpectPieces(PolygonOf({{-20, -10}, {40, 5}, {-20, 20}}), {100});
}

TEST(Clip, PolygonOutsideGivesNothing) {
  ExpectNone(PolygonOf({{11, 1}, {15, 1}, {13, 5}}));
  ExpectNone(PolygonOf({{1, -5}, {9, -5}, {5, -1}}));
  // Its bounding box overlaps the rectangle, the polygon does not.
  ExpectNone(PolygonOf({{5, 20}, {20, 5}, {20, 20}}));
}

TEST(Clip, BayAroundTheRectangleGivesNothing) {
  ExpectNone(PolygonOf({{-5, -5}, {15, -5}, {15, 15}, {12, 15}, {12, -2}, {-2, -2}, {-2, 15}, {-5, 15}}));
}

TEST(Clip, TouchingFromOutsideGivesNothing) {
  ExpectNone(PolygonOf({{10, 2}, {15, 2}, {15, 8}, {10, 8}}));
  ExpectNone(PolygonOf({{10, 5}, {15, 2}, {15, 8}}));
  ExpectNone(PolygonOf({{10, 10}, {15, 10}, {10, 15}}));
  ExpectNone(PolygonOf({{-5, 5}, {5, -5}, {-5, -5}}));
}

TEST(Clip, TouchingFromInsideStaysWhole) {
  ExpectPieces(PolygonOf({{0, 0}, {5, 0}, {5, 5}, {0, 5}}), {25});
  ExpectPieces(PolygonOf({{5, 0}, {10, 5}, {5, 10}, {0, 5}}), {50});
}

TEST(Clip, EdgeAlongABorderWithAPartOutside) {
  ExpectPieces(PolygonOf({{0, 0}, {5, 0}, {5, -3}, {8, -3}, {8, 5}, {0, 5}}), {40});
}

TEST(Clip, CornersOfTheRectangleAreFound) {
  ExpectPieces(PolygonOf({{-1, 5}, {5, -1}, {5, 5}}), {17});
  ExpectPieces(PolygonOf({{5, 5}, {15, 5}, {15, 15}, {5, 15}}), {25});
}

TEST(Clip, CombFallsIntoItsTeeth) {
  // A comb whose back is below the rectangle: three teeth of width 1 and height 4.
  const Polygon2 comb = PolygonOf(
      {{1, 6}, {2, 6}, {2, 12}, {4, 12}, {4, 6}, {5, 6}, {5, 12}, {7, 12}, {7, 6}, {8, 6}, {8, 14}, {1, 14}});
  ExpectPieces(comb, {4, 4, 4});
}

TEST(Clip, CombAcrossTheRectangleFallsIntoBars) {
  const Polygon2 comb = PolygonOf({{-5, 1}, {12, 1}, {12, 2}, {-3, 2}, {-3, 4}, {12, 4}, {12, 6}, {-5, 6}});
  ExpectPieces(comb, {10, 20});
}

TEST(Clip, BayFromOutsideKeepsOnePiece) {
  // The bay comes in over the left border and ends inside.
  ExpectPieces(PolygonOf({{-2, 2}, {6, 2}, {6, 8}, {-2, 8}, {-2, 6}, {3, 6}, {3, 4}, {-2, 4}}), {36 - 6});
}

TEST(Clip, NotchThatReachesTheBorderSplitsInTwo) {
  // The notch's tip is exactly on the border; below it the polygon goes on outside.
  ExpectPieces(PolygonOf({{1, 2}, {4, 10}, {7, 2}, {9, 2}, {9, 12}, {0, 12}, {0, 2}}),
               {4 * 8 - 12, 5 * 8 - 12});
}

TEST(Clip, NotchShortOfTheBorderStaysOnePiece) {
  ExpectPieces(PolygonOf({{1, 2}, {4, 9.5}, {7, 2}, {9, 2}, {9, 12}, {0, 12}, {0, 2}}), {72 - 22.5});
}

TEST(Clip, TipThatReachesTheBorderFromInsideStaysOnePiece) {
  ExpectPieces(PolygonOf({{1, 2}, {8, 2}, {8, 4}, {4, 10}, {2, 4}}), {14 - 1 + 18});
}

TEST(Clip, SpiralAcrossABorder) {
  const Polygon2 spiral = PolygonOf({{2, -8},
                                     {14, -8},
                                     {14, 8},
                                     {4, 8},
                                     {4, -4},
                                     {10, -4},
                                     {10, 4},
                                     {8, 4},
                                     {8, -2},
                                     {6, -2},
                                     {6, 6},
                                     {12, 6},
                                     {12, -6},
                                     {2, -6}});
  // Inside: the spiral's left arms, the inner arm and the arm that runs below, joined at the bottom.
  ExpectPieces(spiral, {2 * 8 + 4 * 2, 2 * 4}, square);
}

TEST(Clip, BorderVerticesHaveTheBordersCoordinate) {
  const Rect2 rect(0.1, 0.2, 0.7, 0.9);
  const std::vector<Polygon2> pieces =
      Clip(PolygonOf({{-0.3, 0.5}, {0.33, -0.77}, {1.9, 0.44}, {0.5, 2.3}}), rect);
  ASSERT_EQ(pieces.size(), 1u);
  for (std::size_t i = 0; i < pieces[0].GetNbrOfVertices(); ++i) {
    const Vector2& v = pieces[0][i];
    EXPECT_TRUE(v.x == 0.1 || v.x == 0.7 || v.y == 0.2 || v.y == 0.9) << v.x << ", " << v.y;
  }
}

TEST(Clip, NeighbouringRectanglesCutAnEdgeOfEitherDirectionAtTheSamePoint) {
  kv_test::Random random(11);
  for (int round = 0; round < 2000; ++round) {
    const Polygon2 polygon = kv_test::SimplePolygon(random, 5.0, 9.0, 0.0);
    const double border = kv_test::Uniform(random, 0, 10);
    std::vector<double> found[2];
    const Rect2 rects[2] = {{-20, -20, border, 30}, {border, -20, 30, 30}};
    for (int side = 0; side < 2; ++side) {
      for (const Polygon2& piece : Clip(side == 0 ? polygon : Reversed(polygon), rects[side])) {
        for (std::size_t i = 0; i < piece.GetNbrOfVertices(); ++i) {
          if (piece[i].x == border) found[side].push_back(piece[i].y);
        }
      }
      std::sort(found[side].begin(), found[side].end());
    }
    EXPECT_EQ(found[0], found[1]) << "round " << round;
  }
}

TEST(Clip, FewerThanThreeVerticesGiveNothing) {
  ExpectNone(Polygon2());
  ExpectNone(PolygonOf({{1, 1}}));
  ExpectNone(PolygonOf({{1, 1}, {9, 9}}));
  ExpectNone(PolygonOf({{-5, 1}, {19, 9}}));
}

TEST(Clip, FewerThanThreeDistinctVerticesGiveNothing) {
  ExpectNone(PolygonOf({{1, 1}, {1, 1}, {1, 1}, {1, 1}}));
  ExpectNone(PolygonOf({{1, 1}, {9, 9}, {9, 9}, {1, 1}}));
  ExpectNone(PolygonOf({{1, 1}, {9, 8}, {1, 1}, {9, 8}}));
  ExpectNone(PolygonOf({{-1, 1}, {19, 8}, {-1, 1}, {19, 8}, {-1, 1}}));
}

TEST(Clip, RepeatedPointsCountOnce) {
  const Polygon2 once = PolygonOf({{2, 2}, {14, 3}, {7, 14}});
  const Polygon2 often = PolygonOf({{2, 2}, {2, 2}, {14, 3}, {14, 3}, {14, 3}, {7, 14}, {7, 14}, {2, 2}});
  const std::vector<Polygon2> expected = Clip(once);
  const std::vector<Polygon2> found = Clip(often);
  ASSERT_EQ(expected.size(), 1u);
  ASSERT_EQ(found.size(), 1u);
  ASSERT_EQ(found[0].GetNbrOfVertices(), expected[0].GetNbrOfVertices());
  EXPECT_TRUE(kv_model::IsSimple(found[0]));
  EXPECT_EQ(kv_model::SignedArea(found[0]), kv_model::SignedArea(expected[0]));
}

TEST(Clip, RepeatedPointsInsideCountOnce) {
  const std::vector<Polygon2> pieces = Clip(PolygonOf({{2, 2}, {2, 2}, {8, 2}, {5, 8}, {5, 8}, {2, 2}}));
  ASSERT_EQ(pieces.size(), 1u);
  EXPECT_EQ(pieces[0].GetNbrOfVertices(), 3u);
}

TEST(Clip, ZeroAreaGivesNothing) {
  ExpectNone(PolygonOf({{1, 1}, {5, 5}, {9, 9}}));
  ExpectNone(PolygonOf({{1, 5}, {9, 5}, {3, 5}, {7, 5}}));
  ExpectNone(PolygonOf({{-5, 4}, {5, 4}, {15, 4}}));
  ExpectNone(PolygonOf({{-5, -5}, {3, 3}, {15, 15}, {8, 8}}));
  // Out and back along the same bends.
  ExpectNone(PolygonOf({{1, 1}, {5, 2}, {6, 7}, {9, 9}, {6, 7}, {5, 2}}));
  ExpectNone(PolygonOf({{1, 1}, {5, 2}, {6, 7}, {1, 1}, {6, 7}, {5, 2}}));
  // On one line but for the rounding of 0.1, 0.2, 0.3 and their like.
  ExpectNone(PolygonOf({{0.1, 0.3}, {0.2, 0.6}, {0.3, 0.9}, {0.7, 2.1}}));
}

TEST(Clip, SpikeIsTrimmed) {
  ExpectPieces(PolygonOf({{2, 2}, {8, 2}, {8, 8}, {9, 9}, {8, 8}, {2, 8}}), {36});
  ExpectPieces(PolygonOf({{2, 2}, {8, 2}, {8, 5}, {20, 5}, {8, 5}, {8, 8}, {2, 8}}), {36});
}

TEST(Clip, ThinButRealPolygonIsKept) {
  ExpectPieces(PolygonOf({{1, 1}, {9, 1}, {9, 1.000001}, {1, 1.000001}}), {8 * (1.000001 - 1)});
}

TEST(Clip, NaNAndInfiniteCoordinatesGiveNothing) {
  for (const double odd : {notANumber, infinity, -infinity}) {
    for (std::size_t vertex = 0; vertex < 4; ++vertex) {
      for (std::size_t axis = 0; axis < 2; ++axis) {
        Polygon2 polygon = PolygonOf({{1, 1}, {15, 1}, {15, 9}, {1, 9}});
        polygon[vertex][axis] = odd;
        EXPECT_TRUE(Clip(polygon).empty());
      }
    }
  }
}

TEST(Clip, InvalidVertexGivesNothing) {
  Polygon2 polygon = PolygonOf({{1, 1}, {9, 1}, {9, 9}});
  polygon[1].valid = false;
  EXPECT_TRUE(Clip(polygon).empty());
}

TEST(Clip, HugeCoordinatesGiveTheRectangle) {
  for (const double huge : {1e20, 1e150, 1e300, std::numeric_limits<double>::max()}) {
    for (const Polygon2& polygon : {PolygonOf({{-huge, -huge}, {huge, -huge}, {huge, huge}, {-huge, huge}}),
                                    PolygonOf({{-huge, -huge}, {0, huge}, {huge, -huge}})}) {
      const std::vector<Polygon2> pieces = Clip(polygon);
      ASSERT_EQ(pieces.size(), 1u) << huge;
      EXPECT_EQ(std::abs(kv_model::SignedArea(pieces[0])), 100) << huge;
    }
  }
}

TEST(Clip, HugePolygonInAHugeRectangleComesBack) {
  const double huge = std::numeric_limits<double>::max();
  const Rect2 rect(-huge, -huge, huge, huge);
  const std::vector<Polygon2> pieces = Clip(PolygonOf({{-huge, -huge}, {huge, -huge}, {0, huge}}), rect);
  ASSERT_EQ(pieces.size(), 1u);
  EXPECT_EQ(pieces[0].GetNbrOfVertices(), 3u);
}

TEST(Clip, TinyPolygonComesBack) {
  const double tiny = std::numeric_limits<double>::min();
  const std::vector<Polygon2> pieces = Clip(PolygonOf({{0, 0}, {tiny, 0}, {0, tiny}}), Rect2(-1, -1, 1, 1));
  ASSERT_EQ(pieces.size(), 1u);
  EXPECT_EQ(pieces[0].GetNbrOfVertices(), 3u);
}

TEST(Clip, RectangleWithoutAreaGivesNothing) {
  const Polygon2 polygon = PolygonOf({{-5, -5}, {15, -5}, {15, 15}, {-5, 15}});
  EXPECT_TRUE(Clip(polygon, Rect2()).empty());
  EXPECT_TRUE(Clip(polygon, Rect2(3, 0, 3, 10)).empty());
  EXPECT_TRUE(Clip(polygon, Rect2(0, 4, 10, 4)).empty());
  EXPECT_TRUE(Clip(polygon, Rect2(3, 3, 3, 3)).empty());
}

TEST(Clip, MirroredRectangleIsTheSameRectangle) {
  const std::vector<Polygon2> pieces =
      Clip(PolygonOf({{-5, -5}, {15, -5}, {15, 15}, {-5, 15}}), Rect2(10, 10, 0, 0));
  ASSERT_EQ(pieces.size(), 1u);
  EXPECT_EQ(kv_model::SignedArea(pieces[0]), 100);
}

TEST(Clip, InfiniteRectangleKeepsEverything) {
  ExpectPieces(PolygonOf({{1, 1}, {900, 1}, {1, 900}}), {899.0 * 899.0 / 2},
               Rect2(-infinity, -infinity, infinity, infinity));
}

TEST(Clip, PiecesAreAppended) {
  std::vector<Polygon2> pieces = {PolygonOf({{100, 100}, {101, 100}, {100, 101}})};
  Intersection(PolygonOf({{1, 1}, {5, 1}, {1, 5}}), square, pieces);
  Intersection(PolygonOf({{1, 1}, {5, 1}, {5, 5}}), square, pieces);
  ASSERT_EQ(pieces.size(), 3u);
  EXPECT_EQ(pieces[0][0].x, 100);
  EXPECT_EQ(pieces[1][2].x, 1);
  EXPECT_EQ(pieces[2][2].x, 5);
}

TEST(Clip, PiecesMayHoldThePolygonItself) {
  std::vector<Polygon2> pieces = {
      PolygonOf({{1, 6}, {2, 6}, {2, 12}, {4, 12}, {4, 6}, {5, 6}, {5, 14}, {1, 14}})};
  pieces.shrink_to_fit();
  Intersection(pieces[0], square, pieces);
  ASSERT_EQ(pieces.size(), 3u);
  EXPECT_EQ(pieces[0].GetNbrOfVertices(), 8u);
  EXPECT_EQ(std::abs(kv_model::SignedArea(pieces[1])) + std::abs(kv_model::SignedArea(pieces[2])), 8);
}

TEST(Clip, BowTieKeepsBothWings) {
  // Its shoelace area is zero, but both wings are there.
  const Polygon2 bowTie = PolygonOf({{1, 1}, {9, 9}, {9, 1}, {1, 9}});
  const std::vector<Polygon2> pieces = Clip(bowTie);
  ASSERT_EQ(pieces.size(), 1u);
  EXPECT_NE(kv_model::WindingNumber(pieces[0], 2, 5), 0);
  EXPECT_NE(kv_model::WindingNumber(pieces[0], 8, 5), 0);
  EXPECT_EQ(kv_model::WindingNumber(pieces[0], 5, 2), 0);
}

}  // namespace
}  // namespace kv_math
