#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "geometry/intersection.h"
#include "geometry/polygon2.h"
#include "geometry/rect2.h"
#include "geometry/vector2.h"
#include "tests/geometry/clip.h"

namespace kv_math {
namespace {

using kv_test::infinity;
using kv_test::notANumber;

void ExpectRect(const Rect2& rect, double left, double top, double right, double bottom) {
  EXPECT_TRUE(rect.IsValid());
  EXPECT_EQ(rect.GetLeft(), left);
  EXPECT_EQ(rect.GetTop(), top);
  EXPECT_EQ(rect.GetRight(), right);
  EXPECT_EQ(rect.GetBottom(), bottom);
}

TEST(Vector2, HoldsTwoCoordinatesAndIsValid) {
  const Vector2 v(1.5, -2.0);
  EXPECT_EQ(v.x, 1.5);
  EXPECT_EQ(v.y, -2.0);
  EXPECT_TRUE(v.IsValid());
  EXPECT_FALSE(Vector2().IsValid());
}

TEST(Vector2, IndexReadsAndWrites) {
  Vector2 v(1, 2);
  v[0] = 3;
  v[1] = 4;
  const Vector2& read = v;
  EXPECT_EQ(read[0], 3);
  EXPECT_EQ(read[1], 4);
  EXPECT_EQ(v.x, 3);
  EXPECT_EQ(v.y, 4);
}

TEST(Vector2, CopiesAndAssigns) {
  const Vector2 v(1, 2);
  const Vector2 copy(v);
  Vector2 assigned;
  assigned = v;
  EXPECT_EQ(copy.y, 2);
  EXPECT_EQ(assigned.x, 1);
  EXPECT_TRUE(assigned.IsValid());
}

TEST(Vector2, SumIsValidWhenBothAre) {
  const Vector2 sum = Vector2(1, 2) + Vector2(10, 20);
  EXPECT_EQ(sum.x, 11);
  EXPECT_EQ(sum.y, 22);
  EXPECT_TRUE(sum.IsValid());
  EXPECT_FALSE((Vector2(1, 2) + Vector2()).IsValid());
  EXPECT_FALSE((Vector2() + Vector2(1, 2)).IsValid());
}

TEST(Rect2, DefaultIsInvalid) {
  EXPECT_FALSE(Rect2().IsValid());
}

TEST(Rect2, NaNCornerIsInvalid) {
  EXPECT_FALSE(Rect2(notANumber, 0, 1, 1).IsValid());
  EXPECT_FALSE(Rect2(0, 0, 1, notANumber).IsValid());
}

TEST(Rect2, ExpandGrowsOverPoints) {
  Rect2 rect;
  rect.Expand({3, 4});
  ExpectRect(rect, 3, 4, 3, 4);
  rect.Expand({-1, 10});
  ExpectRect(rect, -1, 4, 3, 10);
  rect.Expand({0, 5});
  ExpectRect(rect, -1, 4, 3, 10);
}

TEST(Rect2, ExpandPassesOverNaNAndInvalidPoints) {
  Rect2 rect;
  rect.Expand({notANumber, 1});
  rect.Expand(Vector2());
  EXPECT_FALSE(rect.IsValid());
  rect.Expand({1, 2});
  rect.Expand({100, notANumber});
  ExpectRect(rect, 1, 2, 1, 2);
}

TEST(Rect2, ExpandUnmirrors) {
  Rect2 rect(5, 6, 1, 2);
  rect.Expand({7, 3});
  ExpectRect(rect, 1, 2, 7, 6);
}

TEST(Rect2, UnMirrorOrdersTheBorders) {
  ExpectRect(Rect2(5, 6, 1, 2).UnMirror(), 1, 2, 5, 6);
  ExpectRect(Rect2(1, 6, 5, 2).UnMirror(), 1, 2, 5, 6);
  ExpectRect(Rect2(1, 2, 5, 6).UnMirror(), 1, 2, 5, 6);
  EXPECT_FALSE(Rect2().UnMirror().IsValid());
}

TEST(RectIntersection, SharesThePointsOfBoth) {
  ExpectRect(Intersection(Rect2(0, 0, 10, 10), Rect2(5, -5, 20, 8)), 5, 0, 10, 8);
  ExpectRect(Intersection(Rect2(10, 10, 0, 0), Rect2(20, 8, 5, -5)), 5, 0, 10, 8);
  ExpectRect(Intersection(Rect2(0, 0, 10, 10), Rect2(-infinity, 2, infinity, 3)), 0, 2, 10, 3);
}

TEST(RectIntersection, TouchingRectanglesShareALineOrAPoint) {
  ExpectRect(Intersection(Rect2(0, 0, 10, 10), Rect2(10, 2, 20, 8)), 10, 2, 10, 8);
  ExpectRect(Intersection(Rect2(0, 0, 10, 10), Rect2(10, 10, 20, 20)), 10, 10, 10, 10);
}

TEST(RectIntersection, IsInvalidWithoutACommonPoint) {
  EXPECT_FALSE(Intersection(Rect2(0, 0, 10, 10), Rect2(10.5, 0, 20, 10)).IsValid());
  EXPECT_FALSE(Intersection(Rect2(0, 0, 10, 10), Rect2(0, -5, 10, -1)).IsValid());
  EXPECT_FALSE(Intersection(Rect2(), Rect2(0, 0, 10, 10)).IsValid());
  EXPECT_FALSE(Intersection(Rect2(0, 0, 10, 10), Rect2()).IsValid());
}

TEST(Polygon2, KeepsItsVerticesInOrder) {
  Polygon2 polygon;
  EXPECT_EQ(polygon.GetNbrOfVertices(), 0u);
  polygon.AddVertex({1, 2});
  polygon.AddVertex({3, 4});
  ASSERT_EQ(polygon.GetNbrOfVertices(), 2u);
  polygon[1].x = 7;
  const Polygon2& read = polygon;
  EXPECT_EQ(read[0].y, 2);
  EXPECT_EQ(read[1].x, 7);
}

}  // namespace
}  // namespace kv_math
