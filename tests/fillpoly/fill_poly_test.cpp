#include "frame/interfaces/fill_poly.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "image/run_region.h"
#include "tests/geometry/random_polygons.h"
#include "tests/support/member.h"
#include "tests/support/test_image.h"
#include "tests/support/threads.h"

namespace {

using kv_img::ImageRect;
using kv_img::PixelDIB24;
using kv_img::PixelDIB32;
using kv_math::Vector2;
using namespace kv_test;

using Operation = kv_img::FillPolyAlgorithmInterface<Dib24>;
using Vertices = std::vector<Vector2>;

const PixelDIB32 opaque(10, 20, 30, 255);
const Vertices pentagon = {{2, 2}, {12.5, 3}, {14, 9.25}, {7, 12}, {1, 8}};

Vertices VerticesOf(const kv_math::Polygon2& polygon) {
  Vertices vertices;
  for (std::size_t i = 0; i < polygon.GetNbrOfVertices(); ++i) vertices.push_back(polygon[i]);
  return vertices;
}

class FillPoly : public testing::TestWithParam<int> {
 protected:
  const Member& member_ = Members()[static_cast<std::size_t>(GetParam())];
  const Operation* fill_ = member_.Get<Operation>("FillPoly", {PixelDIB24::ClassID});

  void SetUp() override { ASSERT_NE(fill_, nullptr); }

  void ExpectUnchanged(TestImage<PixelDIB24>& image, const Vertices& vertices, const kv_img::Pixel& colour,
                       const kv_img::RegionOfSupport& region, int unused1 = 0, int unused2 = 0) const {
    const TestImage<PixelDIB24> before(image);
    EXPECT_EQ(&fill_->Apply(*image, vertices, colour, unused1, unused2, region), &*image);
    EXPECT_EQ(image.DifferenceFrom(before), "");
  }

  void ExpectUnchanged(const Vertices& vertices, const kv_img::Pixel& colour,
                       const kv_img::RegionOfSupport& region) const {
    Random random(1);
    TestImage<PixelDIB24> image(random, 17, 13, Placement::Any(random));
    ExpectUnchanged(image, vertices, colour, region);
  }
};

INSTANTIATE_TEST_SUITE_P(Members, FillPoly, EachMember(), MemberName);

TEST_P(FillPoly, OnlyTheCombinationOfTheTableExists) {
  const int ids[] = {PixelDIB24::ClassID, PixelDIB24::ClassID};
  EXPECT_EQ(member_.Load("FillPoly", ids, 1), member_.Load("FillPoly", ids, 1));
  EXPECT_EQ(member_.Load("FillPoly", ids, 2), nullptr);
  EXPECT_EQ(member_.Load("fillpoly", ids, 1), nullptr);
  const int dib32 = PixelDIB32::ClassID;
  EXPECT_EQ(member_.Load("FillPoly", &dib32, 1), nullptr);
}

TEST_P(FillPoly, PolygonInsideLeavesTheImage) {
  ExpectUnchanged(pentagon, opaque, ImageRect(0, 0, 16, 12));
}

TEST_P(FillPoly, RectanglesLeaveTheImage) {
  ExpectUnchanged({{2, 3}, {2, 9}, {8, 9}, {8, 3}}, opaque, ImageRect(0, 0, 16, 12));
  ExpectUnchanged({{2, 3}, {8, 3}, {8, 9}, {2, 9}}, opaque, ImageRect(0, 0, 16, 12));
  ExpectUnchanged({{-50, -50}, {80, -50}, {80, 90}, {-50, 90}}, opaque, ImageRect(4, 4, 9, 9));
  ExpectUnchanged({{100, 100}, {110, 100}, {110, 120}, {100, 120}}, opaque, ImageRect(0, 0, 16, 12));
  ExpectUnchanged({{5, 5}, {5, 5}, {5, 5}, {5, 5}}, opaque, ImageRect(0, 0, 16, 12));
  const double infinity = std::numeric_limits<double>::infinity();
  ExpectUnchanged(
      {{-infinity, -infinity}, {infinity, -infinity}, {infinity, infinity}, {-infinity, infinity}}, opaque,
      ImageRect(0, 0, 16, 12));
}

TEST_P(FillPoly, AlphaZeroLeavesTheImage) {
  ExpectUnchanged(pentagon, PixelDIB32(10, 20, 30, 0), ImageRect(0, 0, 16, 12));
}

TEST_P(FillPoly, ColourOf24BitsIsOpaqueAndLeavesTheImage) {
  ExpectUnchanged(pentagon, PixelDIB24(10, 20, 30), ImageRect(0, 0, 16, 12));
}

TEST_P(FillPoly, RegionThatIsNoImageRectLeavesTheImage) {
  ExpectUnchanged(pentagon, opaque, kv_img::RunRegion(ImageRect(0, 0, 16, 12)));
}

TEST_P(FillPoly, RegionOutsideLeavesTheImage) {
  for (const ImageRect& region : {ImageRect(17, 0, 30, 12), ImageRect(0, 13, 16, 20),
                                  ImageRect(-9, -9, -1, -1), ImageRect(), ImageRect(9, 9, 3, 3)}) {
    ExpectUnchanged(pentagon, opaque, region);
  }
}

TEST_P(FillPoly, RegionPartlyOutsideLeavesTheImage) {
  const int least = std::numeric_limits<int>::min();
  const int greatest = std::numeric_limits<int>::max();
  ExpectUnchanged(pentagon, opaque, ImageRect(-10, -10, 8, 8));
  ExpectUnchanged(pentagon, opaque, ImageRect(least, least, greatest, greatest));
}

TEST_P(FillPoly, OneRowRegionLeavesTheImage) {
  ExpectUnchanged(pentagon, opaque, ImageRect(0, 6, 16, 6));
}

TEST_P(FillPoly, FewerThanThreeVerticesLeaveTheImage) {
  ExpectUnchanged({}, opaque, ImageRect(0, 0, 16, 12));
  ExpectUnchanged({{3, 3}}, opaque, ImageRect(0, 0, 16, 12));
  ExpectUnchanged({{3, 3}, {9, 9}}, opaque, ImageRect(0, 0, 16, 12));
}

TEST_P(FillPoly, ThreadsShareOneImage) {
  Random random(9);
  TestImage<PixelDIB24> image(random, 40, 30, Placement::Any(random));
  const TestImage<PixelDIB24> before(image);
  const auto thrown = CallOnThreads(4, [&](kv_std::SpinBarrier&, std::uint32_t) {
    for (int i = 0; i < 50; ++i) fill_->Apply(*image, pentagon, opaque, 1, 2, ImageRect(0, 0, 39, 29));
  });
  for (const std::exception_ptr& error : thrown) EXPECT_EQ(error, nullptr);
  EXPECT_EQ(image.DifferenceFrom(before), "");
}

/// Simple, crossing, rectangular and senseless polygons, with coordinates from lattice points to NaN.
Vertices AnyPolygon(Random& random, double size) {
  const double step = random.Pick({0.0, 0.0, 0.5, 1.0});
  switch (random.Between(0, 4)) {
    case 0:
      return VerticesOf(SimplePolygon(random, size / 2, 4 * step + size * Uniform(random, 0.1, 1), step));
    case 1:
      return VerticesOf(ScatteredPolygon(random, random.Between(0, 30), size / 2, size, step));
    case 2: {
      const double x[] = {std::floor(Uniform(random, -size, 2 * size)), Uniform(random, -size, 2 * size)};
      const double y[] = {std::floor(Uniform(random, -size, 2 * size)), Uniform(random, -size, 2 * size)};
      if (random.OneIn(2)) return {{x[0], y[0]}, {x[0], y[1]}, {x[1], y[1]}, {x[1], y[0]}};
      return {{x[0], y[0]}, {x[1], y[0]}, {x[1], y[1]}, {x[0], y[1]}};
    }
    default: {
      Vertices vertices = VerticesOf(ScatteredPolygon(random, random.Between(1, 12), size / 2, size, step));
      const double limit = std::numeric_limits<double>::max();
      for (Vector2& vertex : vertices) {
        for (const std::size_t axis : {0U, 1U}) {
          if (!random.OneIn(3)) continue;
          vertex[axis] = random.Pick({limit, -limit, 1e18, -1e18, 2147483647.5, -2147483648.5, 1e-300, -0.0});
          if (random.OneIn(6)) vertex[axis] = random.Pick({INFINITY, -INFINITY, NAN});
        }
      }
      return vertices;
    }
  }
}

TEST_P(FillPoly, AnyInputLeavesEveryPixel) {
  for (std::uint64_t seed = 0; seed < 20000; ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    Random random(seed);
    const int width = random.Between(1, 40);
    const int height = random.Between(1, 40);
    TestImage<PixelDIB24> image(random, width, height, Placement::Any(random));
    const Vertices vertices = AnyPolygon(random, std::max(width, height));
    const PixelDIB32 colour(1, 2, 3, static_cast<std::uint8_t>(random.Pick({0, 1, 128, 255, 255})));
    const ImageRect bounds(-20, -20, 60, 60);
    const int unused1 = random.Between(-1000, 1000);
    const int unused2 = random.Between(-1000, 1000);
    if (random.OneIn(8)) {
      ExpectUnchanged(image, vertices, colour, RandomRuns(random, bounds), unused1, unused2);
    } else {
      const ImageRect region = random.OneIn(3) ? RandomRect(random, bounds) : ImageRect(*image);
      ExpectUnchanged(image, vertices, colour, region, unused1, unused2);
    }
    if (HasFailure()) break;
  }
}

}  // namespace
