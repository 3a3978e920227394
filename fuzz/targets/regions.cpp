// Regions and polygons with any numbers: rectangles of pixels against sets, clipped polygons against the winding numbers
// of what they were.

#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <vector>

#include "fuzz/check_input.h"
#include "geometry/intersection.h"
#include "image/errors/exceptions.h"
#include "image/image_rect.h"
#include "image/run_region.h"
#include "tests/geometry/plane.h"

namespace {

using kv_fuzz::Require;
using kv_img::ImageRect;
using kv_img::RunRegion;
using kv_math::Polygon2;
using kv_math::Rect2;

class Shapes {
 public:
  Shapes(const std::uint8_t* data, std::size_t size) : data_(data, size) {}

  int Number(int low, int high) { return data_.ConsumeIntegralInRange(low, high); }
  /// Near the grid, or now and then anything at all.
  int Column() { return Number(0, 31) == 0 ? data_.ConsumeIntegral<int>() : Number(-3, 20); }
  double Coordinate() {
    const int kind = Number(0, 63);
    if (kind == 0) return data_.ConsumeFloatingPoint<double>();
    return kind < 32 ? Number(0, 20) : Number(0, 160) / 8.0;
  }

 private:
  FuzzedDataProvider data_;
};

bool Holds(const ImageRect& rect, int x, int y) {
  return x >= rect.GetLeft() && x <= rect.GetRight() && y >= rect.GetTop() && y <= rect.GetBottom();
}

void CheckRectangles(Shapes& input) {
  const ImageRect a(input.Column(), input.Column(), input.Column(), input.Column());
  const ImageRect b(input.Column(), input.Column(), input.Column(), input.Column());
  const ImageRect both = a & b;
  const ImageRect turned = a.UnMirror();
  bool isInside = true;
  int pixels = 0;
  for (int y = -4; y <= 21; ++y) {
    for (int x = -4; x <= 21; ++x) {
      Require(Holds(both, x, y) == (Holds(a, x, y) && Holds(b, x, y)), "an intersection of other pixels");
      if (Holds(a, x, y)) Require(Holds(turned, x, y), "a rectangle that lost pixels");
      isInside = isInside && (!Holds(a, x, y) || Holds(b, x, y));
      pixels += Holds(a, x, y) ? 1 : 0;
    }
  }
  Require(turned.IsValid() && turned.UnMirror() == turned, "a rectangle that stays mirrored");
  if (a.IsInside(b)) Require(isInside, "a rectangle inside another beyond it");
  const auto isNear = [](int bound) { return bound >= -4 && bound <= 21; };
  if (isNear(a.GetLeft()) && isNear(a.GetRight()) && isNear(a.GetTop()) && isNear(a.GetBottom())) {
    Require(a.IsInside(b) == isInside, "a rectangle that is inside, and is not");
    Require(a.GetWidth() * a.GetHeight() == static_cast<unsigned>(pixels), "sides of another rectangle");
  }
}

void CheckRuns(Shapes& input) {
  const int top = input.Number(-3, 10);
  std::vector<int> firsts(static_cast<std::size_t>(input.Number(0, 8)));
  std::vector<int> lasts(input.Number(0, 15) == 0 ? 3 : firsts.size());
  for (int& first : firsts) first = input.Column();
  for (int& last : lasts) last = input.Column();
  const ImageRect frame(input.Number(-3, 5), input.Number(-3, 5), input.Number(5, 20), input.Number(5, 20));
  try {
    const RunRegion runs(top, firsts, lasts);
    Require(firsts.size() == lasts.size(), "runs of two lengths");
    Require(runs.GetHeight() == firsts.size() && runs.GetTop() == top, "rows of another region");
    bool isInside = true;
    for (std::size_t i = 0; i < firsts.size(); ++i) {
      if (lasts[i] < firsts[i]) continue;
      const int row = top + static_cast<int>(i);
      Require(runs.GetLeft() <= firsts[i] && runs.GetRight() >= lasts[i], "a run outside its box");
      isInside = isInside && Holds(frame, firsts[i], row) && Holds(frame, lasts[i], row);
    }
    Require(runs.IsInside(frame) == isInside, "runs that are inside, and are not");
    const ImageRect box = runs ^ frame;
    Require(box.GetTop() >= frame.GetTop() && box.GetRight() <= frame.GetRight(), "a box outside the frame");
    Require(runs.IsRectangular() == (std::ranges::count(firsts, firsts.empty() ? 0 : firsts[0]) ==
                                         static_cast<std::ptrdiff_t>(firsts.size()) &&
                                     std::ranges::count(lasts, lasts.empty() ? 0 : lasts[0]) ==
                                         static_cast<std::ptrdiff_t>(lasts.size())),
            "a rectangle that is none");
  } catch (const kv_img::AlgoException& error) {
    Require(error.Code() == 2 && firsts.size() != lasts.size(), "runs that are refused");
  }
}

void CheckPolygon(Shapes& input) {
  Polygon2 polygon;
  bool isUsual = true;
  const int corners = input.Number(0, 12);
  for (int i = 0; i < corners; ++i) {
    const kv_math::Vector2 corner(input.Coordinate(), input.Coordinate());
    isUsual = isUsual && std::abs(corner.x) <= 1000 && std::abs(corner.y) <= 1000;
    polygon.AddVertex(corner);
  }
  const double left = input.Number(-2, 15);
  const double top = input.Number(-2, 15);
  const Rect2 rect(left, top, left + input.Number(0, 12), top + input.Number(0, 12));
  std::vector<Polygon2> pieces;
  kv_math::Intersection(polygon, rect, pieces);
  for (const Polygon2& piece : pieces) {
    Require(piece.GetNbrOfVertices() >= 3, "a piece without area");
    for (std::size_t i = 0; i < piece.GetNbrOfVertices(); ++i) {
      const kv_math::Vector2& corner = piece[i];
      Require(corner.x >= rect.GetLeft() && corner.x <= rect.GetRight() && corner.y >= rect.GetTop() &&
                  corner.y <= rect.GetBottom(),
              "a piece outside the rectangle");
    }
  }
  if (!isUsual) return;
  for (double y = rect.GetTop() + 0.37; y < rect.GetBottom(); y += 0.93) {
    for (double x = rect.GetLeft() + 0.41; x < rect.GetRight(); x += 0.97) {
      if (kv_model::DistanceToBoundary(polygon, x, y) < 1e-6) continue;
      int winding = 0;
      for (const Polygon2& piece : pieces) winding += kv_model::WindingNumber(piece, x, y);
      Require(winding == kv_model::WindingNumber(polygon, x, y), "pieces that wind otherwise");
    }
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Shapes input(data, size);
  CheckRectangles(input);
  CheckRuns(input);
  CheckPolygon(input);
  return 0;
}
