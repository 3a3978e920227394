#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <string>
#include <vector>

#include "tests/geometry/clip.h"
#include "tests/geometry/plane.h"
#include "tests/geometry/random_polygons.h"

namespace kv_math {
namespace {

using kv_test::Clip;
using kv_test::Random;
using kv_test::Uniform;

constexpr int gridSide = 37;  // sample points per side of the rectangle

/// Points spread evenly over the rectangle, at cell centres.
template <class Visit>
void ForEachSample(const Rect2& rect, const Visit& visit) {
  for (int row = 0; row < gridSide; ++row) {
    for (int column = 0; column < gridSide; ++column) {
      visit(rect.GetLeft() + (rect.GetRight() - rect.GetLeft()) * (column + 0.5) / gridSide,
            rect.GetTop() + (rect.GetBottom() - rect.GetTop()) * (row + 0.5) / gridSide);
    }
  }
}

double Perimeter(const Polygon2& polygon) {
  double length = 0;
  for (std::size_t i = 0; i < polygon.GetNbrOfVertices(); ++i) {
    const Vector2& a = polygon[i];
    const Vector2& b = polygon[(i + 1) % polygon.GetNbrOfVertices()];
    length += std::hypot(b.x - a.x, b.y - a.y);
  }
  return length;
}

bool LiesIn(const Polygon2& piece, const Rect2& rect) {
  for (std::size_t i = 0; i < piece.GetNbrOfVertices(); ++i) {
    const Vector2& v = piece[i];
    if (!(v.x >= rect.GetLeft() && v.x <= rect.GetRight() && v.y >= rect.GetTop() &&
          v.y <= rect.GetBottom())) {
      return false;
    }
  }
  return true;
}

/// The pieces are inside the rectangle, wind as the polygon does and have the shared area in sum; each sample
/// point is in one piece if it is in the polygon, else in none; the area counted on the grid is the
/// pieces' area.
void ExpectClipped(const Polygon2& polygon, const Rect2& rect, const std::vector<Polygon2>& pieces) {
  const double direction = kv_model::SignedArea(polygon) > 0 ? 1 : -1;
  double area = 0;
  double perimeter = 0;
  for (const Polygon2& piece : pieces) {
    EXPECT_TRUE(LiesIn(piece, rect));
    EXPECT_GT(direction * kv_model::SignedArea(piece), 0);
    area += direction * kv_model::SignedArea(piece);
    perimeter += Perimeter(piece);
  }
  EXPECT_NEAR(area, direction * kv_model::SharedArea(polygon, rect), 1e-9);

  int counted = 0;
  int wrong = 0;
  ForEachSample(rect, [&](double x, double y) {
    if (kv_model::DistanceToBoundary(polygon, x, y) < 1e-9) return;
    const int inPolygon = std::abs(kv_model::WindingNumber(polygon, x, y));
    int inPieces = 0;
    for (const Polygon2& piece : pieces) inPieces += std::abs(kv_model::WindingNumber(piece, x, y));
    counted += inPolygon;
    wrong += inPolygon != inPieces;
  });
  EXPECT_EQ(wrong, 0);

  const double cellWidth = (rect.GetRight() - rect.GetLeft()) / gridSide;
  const double cellHeight = (rect.GetBottom() - rect.GetTop()) / gridSide;
  // A boundary of length l passes through at most about l / width + l / height + corners cells.
  const double crossedCells =
      perimeter / std::min(cellWidth, cellHeight) * 2 + 4 * static_cast<double>(pieces.size());
  EXPECT_NEAR(area, counted * cellWidth * cellHeight, crossedCells * cellWidth * cellHeight);
}

Rect2 RandomRect(Random& random, double step) {
  double x[2];
  double y[2];
  do {
    for (int i = 0; i < 2; ++i) {
      x[i] = step > 0 ? random.Between(0, 16) * step : Uniform(random, 0, 16);
      y[i] = step > 0 ? random.Between(0, 16) * step : Uniform(random, 0, 16);
    }
  } while (std::abs(x[0] - x[1]) < 0.5 || std::abs(y[0] - y[1]) < 0.5);
  return Rect2(x[0], y[0], x[1], y[1]).UnMirror();
}

TEST(ClipRandom, SimplePolygonsInGeneralPosition) {
  for (std::uint64_t seed = 0; seed < 2500; ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    Random random(seed);
    const Polygon2 polygon = kv_test::SimplePolygon(random, 8, Uniform(random, 2, 14), 0);
    const Rect2 rect = RandomRect(random, 0);
    const std::vector<Polygon2> pieces = Clip(polygon, rect);
    for (const Polygon2& piece : pieces) EXPECT_TRUE(kv_model::IsSimple(piece));
    ExpectClipped(polygon, rect, pieces);
    if (HasFailure()) break;
  }
}

/// On a lattice, vertices and edges are on the borders and corners of the rectangle all the time.
TEST(ClipRandom, SimplePolygonsOnTheLatticeOfTheRectangle) {
  for (std::uint64_t seed = 0; seed < 2500; ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    Random random(seed);
    const double step = seed % 3 == 0 ? 4 : seed % 3 == 1 ? 2 : 1;
    const Polygon2 polygon = kv_test::SimplePolygon(random, 8, 12, step);
    Rect2 rect = RandomRect(random, 1);
    rect = Rect2(std::floor(rect.GetLeft() / step) * step, std::floor(rect.GetTop() / step) * step,
                 std::ceil(rect.GetRight() / step) * step, std::ceil(rect.GetBottom() / step) * step);
    const std::vector<Polygon2> pieces = Clip(polygon, rect);
    for (const Polygon2& piece : pieces) EXPECT_TRUE(kv_model::IsSimple(piece));
    ExpectClipped(polygon, rect, pieces);
    if (HasFailure()) break;
  }
}

/// Vertices a rounding error away from the borders: where the edges of one vertex meet a border, rounding may
/// exchange the two points.
TEST(ClipRandom, SimplePolygonsAnUlpOffTheLattice) {
  for (std::uint64_t seed = 0; seed < 2500; ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    Random random(seed);
    Polygon2 polygon = kv_test::SimplePolygon(random, 8, 12, 2);
    for (std::size_t i = 0; i < polygon.GetNbrOfVertices(); ++i) {
      for (std::size_t axis = 0; axis < 2; ++axis) polygon[i][axis] += random.Between(-4, 4) * 1e-15;
    }
    Rect2 rect = RandomRect(random, 1);
    rect = Rect2(std::floor(rect.GetLeft() / 2) * 2, std::floor(rect.GetTop() / 2) * 2,
                 std::ceil(rect.GetRight() / 2) * 2, std::ceil(rect.GetBottom() / 2) * 2);
    ExpectClipped(polygon, rect, Clip(polygon, rect));
    if (HasFailure()) break;
  }
}

TEST(ClipRandom, StartVertexDoesNotMatter) {
  Random random(5);
  for (int round = 0; round < 1000; ++round) {
    const Polygon2 polygon = kv_test::SimplePolygon(random, 8, 12, round % 2 == 0 ? 0 : 2);
    const Rect2 rect(4, 4, 12, 12);
    const std::size_t n = polygon.GetNbrOfVertices();
    Polygon2 turned;
    for (std::size_t i = 0; i < n; ++i) turned.AddVertex(polygon[(i + n / 2) % n]);
    auto areas = [&](const Polygon2& input) {
      std::vector<double> result;
      for (const Polygon2& piece : Clip(input, rect)) result.push_back(kv_model::SignedArea(piece));
      std::sort(result.begin(), result.end());
      return result;
    };
    const std::vector<double> a = areas(polygon);
    const std::vector<double> b = areas(turned);
    ASSERT_EQ(a.size(), b.size()) << "round " << round;
    for (std::size_t i = 0; i < a.size(); ++i) EXPECT_NEAR(a[i], b[i], 1e-11);
  }
}

TEST(ClipRandom, CrossingPolygonsKeepTheirWindingNumbers) {
  for (std::uint64_t seed = 0; seed < 2000; ++seed) {
    Random random(seed);
    const double step = seed % 2 == 0 ? 0 : 2;
    const Polygon2 polygon = kv_test::ScatteredPolygon(random, random.Between(3, 20), 8, 12, step);
    const Rect2 rect = RandomRect(random, 1);
    const std::vector<Polygon2> pieces = Clip(polygon, rect);
    int wrong = 0;
    ForEachSample(rect, [&](double x, double y) {
      if (kv_model::DistanceToBoundary(polygon, x, y) < 1e-9) return;
      int winding = 0;
      for (const Polygon2& piece : pieces) winding += kv_model::WindingNumber(piece, x, y);
      wrong += winding != kv_model::WindingNumber(polygon, x, y);
    });
    EXPECT_EQ(wrong, 0) << "seed " << seed;
    for (const Polygon2& piece : pieces) EXPECT_TRUE(LiesIn(piece, rect)) << "seed " << seed;
    if (HasFailure()) break;
  }
}

/// Any doubles whatever, from the smallest to the largest, with NaN and infinities among them.
TEST(ClipRandom, AnyCoordinatesAreSurvived) {
  const double special[] = {0.0,
                            -0.0,
                            1.0,
                            8.0,
                            16.0,
                            1e300,
                            -1e300,
                            std::numeric_limits<double>::max(),
                            std::numeric_limits<double>::lowest(),
                            std::numeric_limits<double>::min(),
                            std::numeric_limits<double>::denorm_min(),
                            std::numeric_limits<double>::infinity(),
                            std::numeric_limits<double>::quiet_NaN()};
  for (std::uint64_t seed = 0; seed < 20000; ++seed) {
    Random random(seed);
    const int choices = seed % 4 == 0 ? 12 : 10;  // mostly finite
    auto coordinate = [&] {
      return random.Between(0, 2) == 0 ? Uniform(random, -20, 20) : special[random.Between(0, choices)];
    };
    Polygon2 polygon;
    bool finite = true;
    for (int i = random.Between(0, 12); i > 0; --i) {
      polygon.AddVertex({coordinate(), coordinate()});
      const Vector2& v = polygon[polygon.GetNbrOfVertices() - 1];
      finite = finite && std::isfinite(v.x) && std::isfinite(v.y);
    }
    const Rect2 rect = Rect2(coordinate(), coordinate(), coordinate(), coordinate()).UnMirror();
    const std::vector<Polygon2> pieces = Clip(polygon, rect);
    if (!finite || !rect.IsValid()) {
      EXPECT_TRUE(pieces.empty());
    }
    for (const Polygon2& piece : pieces) {
      EXPECT_GE(piece.GetNbrOfVertices(), 3u);
      EXPECT_TRUE(LiesIn(piece, rect)) << "seed " << seed;
    }
    if (HasFailure()) break;
  }
}

/// A polygon that crosses a border on every edge: the time grows with n log n.
TEST(ClipRandom, ManyVerticesAreHandled) {
  constexpr int teeth = 100000;
  Polygon2 comb;
  for (int i = 0; i < teeth; ++i) {
    comb.AddVertex({i * 1.0, 12.0});
    comb.AddVertex({i + 0.25, 5.0});
    comb.AddVertex({i + 0.75, 5.0});
  }
  comb.AddVertex({teeth * 1.0, 12.0});
  comb.AddVertex({teeth * 1.0, 20.0});
  comb.AddVertex({0.0, 20.0});
  const std::vector<Polygon2> pieces = Clip(comb, Rect2(0, 0, teeth, 10));
  EXPECT_EQ(pieces.size(), static_cast<std::size_t>(teeth));
}

}  // namespace
}  // namespace kv_math
