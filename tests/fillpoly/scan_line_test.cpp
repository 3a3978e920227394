#include "algorithms/fillpoly/scan_line.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <limits>
#include <vector>

#include "tests/fillpoly/scan_line_model.h"
#include "tests/geometry/plane.h"
#include "tests/geometry/random_polygons.h"

namespace kv_img::fillpoly {
namespace {

using kv_math::Polygon2;
using kv_test::PolygonOf;
using kv_test::Reversed;

constexpr double nudge = 0.0010000000474974513;

std::vector<double> Ys(const Polygon2& polygon) {
  std::vector<double> result;
  for (std::size_t i = 0; i < polygon.GetNbrOfVertices(); ++i) result.push_back(polygon[i].y);
  return result;
}

std::vector<double> Clamped(std::vector<double> ys, int top, int bottom) {
  Polygon2 polygon;
  for (const double y : ys) polygon.AddVertex({7, y});
  ClampRows(polygon, top, bottom);
  return Ys(polygon);
}

std::vector<double> Nudged(std::vector<double> ys) {
  Polygon2 polygon;
  for (const double y : ys) polygon.AddVertex({7, y});
  NudgeOffRowStarts(polygon);
  return Ys(polygon);
}

struct VisitedRow {
  int row;
  std::vector<std::size_t> edges;
  std::vector<double> xs;
  bool operator==(const VisitedRow&) const = default;
};

std::vector<VisitedRow> Visit(const Polygon2& polygon, int top, int bottom) {
  std::vector<VisitedRow> rows;
  for (ScanLineWalk walk(polygon, top, bottom); walk.NextRow();) {
    VisitedRow visited{walk.Row(), {}, {}};
    for (const ScanLineWalk::ActiveEdge& edge : walk.ActiveEdges()) {
      visited.edges.push_back(edge.index);
      visited.xs.push_back(edge.x);
    }
    rows.push_back(visited);
  }
  return rows;
}

TEST(ScanLineClamp, LimitIsAHundredthAboveTheLastRowInSinglePrecision) {
  const double limit = static_cast<double>(9.0f - 0.01f);
  EXPECT_NE(limit, 8.99);
  EXPECT_EQ(Clamped({-5, 2, 2.5, 8.98, 8.999, 9, 9.5, 10, 1e300}, 2, 9),
            (std::vector<double>{2, 2, 2.5, 8.98, limit, limit, limit, limit, limit}));
}

TEST(ScanLineClamp, OneRowRegionPutsAllVerticesAtItsTop) {
  EXPECT_EQ(Clamped({3, 4, 4.3, 4.995, 5, 9}, 4, 4), (std::vector<double>{4, 4, 4, 4, 4, 4}));
}

TEST(ScanLineClamp, InfinitiesAndNaNEndInTheRegion) {
  const double infinity = std::numeric_limits<double>::infinity();
  const double limit = static_cast<double>(9.0f - 0.01f);
  EXPECT_EQ(Clamped({-infinity, infinity, std::numeric_limits<double>::quiet_NaN()}, 0, 9),
            (std::vector<double>{0, limit, limit}));
}

TEST(ScanLineClamp, LeavesX) {
  Polygon2 polygon = PolygonOf({{-3.5, -1}, {1e9, 20}});
  ClampRows(polygon, 0, 9);
  EXPECT_EQ(polygon[0].x, -3.5);
  EXPECT_EQ(polygon[1].x, 1e9);
}

TEST(ScanLineNudge, ExactlyOneOnTheRowStartMovesDown) {
  EXPECT_EQ(Nudged({3, 3.5, 7.5}), (std::vector<double>{3 + nudge, 3.5, 7.5}));
  EXPECT_EQ(Nudged({3.5, 3, 7.5}), (std::vector<double>{3.5, 3 + nudge, 7.5}));
}

TEST(ScanLineNudge, BothOrNeitherOnTheRowStartStay) {
  EXPECT_EQ(Nudged({3, 3, 7.5}), (std::vector<double>{3, 3, 7.5}));
  EXPECT_EQ(Nudged({3.2, 3.5, 7.5}), (std::vector<double>{3.2, 3.5, 7.5}));
}

TEST(ScanLineNudge, OtherRowsStay) {
  EXPECT_EQ(Nudged({3, 4, 5.5}), (std::vector<double>{3, 4, 5.5}));
}

TEST(ScanLineNudge, LastVertexAndFirstAreNeighbours) {
  EXPECT_EQ(Nudged({3, 7.5, 3.5}), (std::vector<double>{3 + nudge, 7.5, 3.5}));
  EXPECT_EQ(Nudged({3.5, 7.5, 3}), (std::vector<double>{3.5, 7.5, 3 + nudge}));
}

TEST(ScanLineNudge, WorksInPlaceAndInOrder) {
  // The second pair sees the first vertex moved; the pairs go round once.
  EXPECT_EQ(Nudged({3.5, 3, 3, 7}), (std::vector<double>{3.5, 3 + nudge, 3 + nudge, 7}));
  EXPECT_EQ(Nudged({3, 3, 3.5, 7}), (std::vector<double>{3, 3 + nudge, 3.5, 7}));
}

TEST(ScanLineNudge, NegativeRows) {
  EXPECT_EQ(Nudged({-3, -2.5, 7}), (std::vector<double>{-3 + nudge, -2.5, 7}));
}

TEST(ScanLineEdges, RecordHoldsRowsXAtTheRowStartAndInverseSlope) {
  for (const bool reversed : {false, true}) {
    const Polygon2 line = PolygonOf({{10, 2.5}, {4, 5.5}});
    const std::vector<ScanEdge> edges = MakeEdges(reversed ? Reversed(line) : line);
    ASSERT_EQ(edges.size(), 2u);
    for (const ScanEdge& edge : edges) {
      EXPECT_EQ(edge.firstRow, 2);
      EXPECT_EQ(edge.lastRow, 5);
      EXPECT_EQ(edge.inverseSlope, -2);
      EXPECT_EQ(edge.x, 11);  // at y = 2, above the edge's upper end
      EXPECT_FALSE(edge.horizontal);
    }
  }
}

TEST(ScanLineEdges, OneRecordPerVertexHorizontalOnesMarked) {
  const std::vector<ScanEdge> edges = MakeEdges(PolygonOf({{0, 1}, {5, 1}, {5, 3.2}, {0, 3.7}}));
  ASSERT_EQ(edges.size(), 4u);
  EXPECT_TRUE(edges[0].horizontal);
  EXPECT_FALSE(edges[1].horizontal);
  EXPECT_TRUE(edges[2].horizontal);
  EXPECT_FALSE(edges[3].horizontal);
}

TEST(ScanLineWalkTest, SquareHasTwoActiveEdgesPerRow) {
  const Polygon2 square = PolygonOf({{2, 1}, {6, 1}, {6, 4}, {2, 4}});
  EXPECT_EQ(Visit(square, 0, 9), (std::vector<VisitedRow>{
                                     {1, {1, 3}, {6, 2}},
                                     {2, {1, 3}, {6, 2}},
                                     {3, {1, 3}, {6, 2}},
                                     {4, {1, 3}, {6, 2}},
                                 }));
}

TEST(ScanLineWalkTest, LastRowIsInclusive) {
  const std::vector<VisitedRow> rows = Visit(PolygonOf({{0, 0.5}, {4, 0.5}, {2, 3.0}}), 0, 9);
  ASSERT_EQ(rows.size(), 4u);
  EXPECT_EQ(rows.back().row, 3);
  EXPECT_EQ(rows.back().edges, (std::vector<std::size_t>{1, 2}));
}

TEST(ScanLineWalkTest, XFollowsTheEdge) {
  const std::vector<VisitedRow> rows = Visit(PolygonOf({{0, 0}, {8, 4}, {0, 4}}), 0, 9);
  ASSERT_EQ(rows.size(), 5u);
  for (int row = 0; row <= 4; ++row) {
    EXPECT_EQ(rows[static_cast<std::size_t>(row)], (VisitedRow{row, {0, 2}, {2.0 * row, 0}}));
  }
}

TEST(ScanLineWalkTest, HorizontalEdgesTakeNoPart) {
  // The step in the middle is within row 2.
  const std::vector<VisitedRow> rows =
      Visit(PolygonOf({{0, 0}, {4, 0}, {4, 2.25}, {8, 2.75}, {8, 5}, {0, 5}}), 0, 9);
  ASSERT_EQ(rows.size(), 6u);
  EXPECT_EQ(rows[1].edges, (std::vector<std::size_t>{1, 5}));
  EXPECT_EQ(rows[2].edges, (std::vector<std::size_t>{1, 5, 3}));
  EXPECT_EQ(rows[3].edges, (std::vector<std::size_t>{5, 3}));
}

TEST(ScanLineWalkTest, PolygonWithinOneRowHasNoActiveEdge) {
  EXPECT_TRUE(Visit(PolygonOf({{0, 3.1}, {5, 3.2}, {2, 3.9}}), 0, 9).empty());
}

TEST(ScanLineWalkTest, OneRowRegionHasNoActiveEdge) {
  EXPECT_TRUE(Visit(PolygonOf({{0, 0}, {5, 3}, {2, 9}}), 4, 4).empty());
}

TEST(ScanLineWalkTest, RegionWithoutRowsHasNoActiveEdge) {
  EXPECT_TRUE(Visit(PolygonOf({{0, 0}, {5, 3}, {2, 9}}), 4, 3).empty());
  EXPECT_TRUE(Visit(PolygonOf({{0, 0}, {5, 3}, {2, 9}}), 4, -4).empty());
}

TEST(ScanLineWalkTest, RegionsLastRowIsNotReached) {
  const std::vector<VisitedRow> rows = Visit(PolygonOf({{0, -3}, {5, -3}, {5, 30}, {0, 30}}), 2, 9);
  ASSERT_EQ(rows.size(), 7u);
  EXPECT_EQ(rows.front().row, 2);
  EXPECT_EQ(rows.back().row, 8);
}

TEST(ScanLineWalkTest, NegativeRowsAreRows) {
  const std::vector<VisitedRow> rows = Visit(PolygonOf({{0, -3.5}, {5, -3.5}, {5, -1.5}, {0, -1.5}}), -10, 9);
  ASSERT_EQ(rows.size(), 3u);
  EXPECT_EQ(rows.front().row, -4);
  EXPECT_EQ(rows.back().row, -2);
}

TEST(ScanLineWalkTest, FewVertices) {
  EXPECT_TRUE(Visit(Polygon2(), 0, 9).empty());
  EXPECT_TRUE(Visit(PolygonOf({{1, 1}}), 0, 9).empty());
  EXPECT_EQ(Visit(PolygonOf({{1, 1}, {1, 3}}), 0, 9).size(), 3u);
}

TEST(ScanLineWalkTest, AfterTheEndStaysAtTheEnd) {
  ScanLineWalk walk(PolygonOf({{0, 0}, {8, 4}, {0, 4}}), 0, 9);
  while (walk.NextRow()) {
  }
  EXPECT_FALSE(walk.NextRow());
  EXPECT_TRUE(walk.ActiveEdges().empty());
}

TEST(ScanLineWalkTest, RowsAtTheEndOfIntAreWalked) {
  const double bottom = INT_MAX;
  EXPECT_EQ(Visit(PolygonOf({{0, bottom - 3}, {5, bottom - 3}, {5, 2 * bottom}, {0, 2 * bottom}}), 0, INT_MAX)
                .size(),
            4u);
  EXPECT_EQ(Visit(PolygonOf({{0, -3e9}, {5, -3e9}, {5, INT_MIN + 3}, {0, INT_MIN + 3}}), INT_MIN, 0).size(),
            4u);
}

TEST(ScanLineRandom, WalkFollowsTheRule) {
  for (std::uint64_t seed = 0; seed < 3000; ++seed) {
    kv_test::Random random(seed);
    const double steps[] = {0, 0.25, 0.5, 1};
    const Polygon2 polygon =
        kv_test::ScatteredPolygon(random, random.Between(0, 12), 15, 20, steps[seed % 4]);
    const int top = random.Between(0, 20);
    const int bottom = top + random.Between(-1, 20);
    std::vector<double> xs;
    for (std::size_t i = 0; i < polygon.GetNbrOfVertices(); ++i) xs.push_back(polygon[i].x);
    const kv_model::ScanLineModel model(xs, Ys(polygon), top, bottom);

    EXPECT_EQ(Ys(ScanLineWalk(polygon, top, bottom).Polygon()), model.y) << "seed " << seed;
    const std::vector<VisitedRow> rows = Visit(polygon, top, bottom);
    ASSERT_EQ(rows.size(), model.visited.size()) << "seed " << seed;
    std::size_t at = 0;
    for (const auto& [row, edges] : model.visited) {
      const VisitedRow& visited = rows[at++];
      EXPECT_EQ(visited.row, row) << "seed " << seed;
      ASSERT_EQ(visited.edges.size(), edges.size()) << "seed " << seed << ", row " << row;
      for (std::size_t i = 0; i < edges.size(); ++i) {
        EXPECT_EQ(visited.edges[i], edges[i].first) << "seed " << seed << ", row " << row;
        EXPECT_NEAR(visited.xs[i], edges[i].second, 1e-9 * std::max(1.0, std::abs(edges[i].second)))
            << "seed " << seed << ", row " << row;
      }
    }
    if (HasFailure()) break;
  }
}

bool IsInSpans(std::vector<double> crossings, double x) {
  return std::count_if(crossings.begin(), crossings.end(), [x](double crossing) { return crossing < x; }) %
             2 ==
         1;
}

/// Where the boundary crosses the centre of `row`: active edges that reach it, and edges within the row.
std::vector<double> CrossingsAtCentre(const ScanLineWalk& walk, bool visited, int row) {
  const Polygon2& polygon = walk.Polygon();
  const double centre = row + 0.5;
  const auto reaches = [&](std::size_t i) {
    return (polygon[i].y <= centre) != (polygon[(i + 1) % polygon.GetNbrOfVertices()].y <= centre);
  };
  std::vector<double> crossings;
  if (visited) {
    for (const ScanLineWalk::ActiveEdge& edge : walk.ActiveEdges()) {
      if (reaches(edge.index)) crossings.push_back(edge.x + 0.5 * walk.Edges()[edge.index].inverseSlope);
    }
  }
  for (std::size_t i = 0; i < walk.Edges().size(); ++i) {
    if (!walk.Edges()[i].horizontal || !reaches(i)) continue;
    const kv_math::Vector2& a = polygon[i];
    const kv_math::Vector2& b = polygon[(i + 1) % polygon.GetNbrOfVertices()];
    crossings.push_back(a.x + (b.x - a.x) * (centre - a.y) / (b.y - a.y));
  }
  return crossings;
}

/// Where the boundary crosses the start of `row`: the active edges that began above. No edge within a row
/// does, which is what vertices are nudged for.
std::vector<double> CrossingsAtStart(const ScanLineWalk& walk) {
  std::vector<double> crossings;
  for (const ScanLineWalk::ActiveEdge& edge : walk.ActiveEdges()) {
    if (walk.Edges()[edge.index].firstRow < walk.Row()) crossings.push_back(edge.x);
  }
  return crossings;
}

/// Compares spans with `polygon` at points along the rows. A nudge moves the boundary by at most 0.001, so
/// points nearer than that are left out.
void ExpectSpansOf(const Polygon2& polygon, ScanLineWalk walk, int top, int bottom) {
  constexpr double nearest = 0.00101;
  bool more = walk.NextRow();
  for (int row = top; row <= bottom; ++row) {
    const bool visited = more && walk.Row() == row;
    const std::vector<double> atCentre = CrossingsAtCentre(walk, visited, row);
    const std::vector<double> atStart = visited ? CrossingsAtStart(walk) : std::vector<double>();
    for (double x = -5.27; x < 46; x += 0.619) {
      if (kv_model::DistanceToBoundary(polygon, x, row + 0.5) > nearest) {
        EXPECT_EQ(IsInSpans(atCentre, x), kv_model::WindingNumber(polygon, x, row + 0.5) % 2 != 0)
            << "centre of row " << row << ", x " << x;
      }
      if (kv_model::DistanceToBoundary(polygon, x, row) > nearest) {
        EXPECT_EQ(IsInSpans(atStart, x), kv_model::WindingNumber(polygon, x, row) % 2 != 0)
            << "start of row " << row << ", x " << x;
      }
    }
    if (visited) more = walk.NextRow();
  }
  EXPECT_FALSE(more);
}

TEST(ScanLineRandom, SpansAgreeWithPointsInSimplePolygons) {
  for (std::uint64_t seed = 0; seed < 1000; ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    kv_test::Random random(seed);
    const double steps[] = {0, 0.25, 0.5, 1};
    const Polygon2 polygon = kv_test::SimplePolygon(random, 20, 18, steps[seed % 4]);
    ExpectSpansOf(polygon, ScanLineWalk(polygon, 0, 40), 0, 40);
    if (testing::Test::HasFailure()) break;
  }
}

TEST(ScanLineRandom, SpansAgreeWithPointsInClampedPolygons) {
  for (std::uint64_t seed = 0; seed < 1000; ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    kv_test::Random random(seed);
    const double steps[] = {0, 0.25, 0.5, 1};
    const Polygon2 polygon = kv_test::SimplePolygon(random, 20, 18, steps[seed % 4]);
    const int top = random.Between(2, 20);
    const int bottom = top + random.Between(0, 18);
    Polygon2 clamped;
    for (std::size_t i = 0; i < polygon.GetNbrOfVertices(); ++i) {
      const double limit = static_cast<double>(static_cast<float>(bottom) - 0.01f);
      clamped.AddVertex({polygon[i].x, std::max(static_cast<double>(top), std::min(polygon[i].y, limit))});
    }
    ExpectSpansOf(clamped, ScanLineWalk(polygon, top, bottom), top, bottom);
    if (testing::Test::HasFailure()) break;
  }
}

}  // namespace
}  // namespace kv_img::fillpoly
