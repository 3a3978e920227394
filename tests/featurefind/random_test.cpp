#include <cstring>

#include "check/models/feature_find_model.h"
#include "tests/featurefind/search_test.h"

namespace {

using namespace kv_test;
using kv_img::MatchScoreMap;
using kv_img::SubPixelScoreMap;

class FeatureFindRandom : public FeatureFindTest {};

/// An image of any size and layout, its rows anywhere and without slack. Now and then of two values only, so
/// that many positions have equal scores.
template <class PixelClass>
TestImage<PixelClass> AnyImage(Random& random, int width, int height) {
  using namespace kv_img::PixelLayout;
  const bool isYuv = std::is_same_v<PixelClass, kv_img::PixelYUV422>;
  const int layout = isYuv ? random.Pick({chromaFirst, lumaFirst}) : random.Pick({blueFirst, redFirst});
  TestImage<PixelClass> image(random, width, height, Placement::Any(random, 0), Options(layout));
  if (random.OneIn(4)) {
    for (std::uint8_t& byte : image.Arena()) byte = random.OneIn(6) ? 1 : 0;
  }
  return image;
}

/// Bytes of doubles, so that every score counts, those that are no numbers too.
bool SameBytes(std::span<const double> a, const std::vector<double>& b) {
  return a.size() == b.size() && std::memcmp(a.data(), b.data(), a.size_bytes()) == 0;
}

template <class PixelClass, class Run>
void OnCopies(TestImage<PixelClass>& image1, TestImage<PixelClass>& image2, Run run) {
  const TestImage untouched1 = image1;
  const TestImage untouched2 = image2;
  run();
  ASSERT_EQ(image1.DifferenceFrom(untouched1), "");
  ASSERT_EQ(image2.DifferenceFrom(untouched2), "");
}

/// Anywhere around an axis of `size` pixels, mostly inside.
int AnyPosition(Random& random, int size) {
  return random.OneIn(5) ? random.Between(-12, size + 12) : random.Between(0, size - 1);
}

TEST_P(FeatureFindRandom, WholePixelSearchEqualsTheModel) {
  Random random(0x6101);
  ForEachFormat([&]<class P>() {
    int refused = 0;
    for (int round = 0; round < 400; ++round) {
      SCOPED_TRACE(testing::Message() << "round " << round);
      const int sizes[] = {random.Between(8, 64), random.Between(8, 64), random.Between(8, 64),
                           random.Between(8, 64)};
      TestImage<P> image1 = AnyImage<P>(random, sizes[0], sizes[1]);
      TestImage<P> image2 = AnyImage<P>(random, sizes[2], sizes[3]);
      const Point point1 = {AnyPosition(random, sizes[0]), AnyPosition(random, sizes[1])};
      const Point point2 = {AnyPosition(random, sizes[2]), AnyPosition(random, sizes[3])};
      const int hw = random.Between(0, 12);
      const int hh = random.Between(0, 9);
      const int rangeX = random.OneIn(8) ? random.Between(-3, 90) : random.Between(0, 6);
      const int rangeY = random.OneIn(8) ? random.Between(-3, 90) : random.Between(0, 6);
      const bool hasMap = random.OneIn(2);
      const Point before = {random.Between(-9, 9), random.Between(-9, 9)};

      Point expected = before;
      const kv_model::Outcome outcome = kv_model::LocateFeature(
          *image1, *image2, point1.data(), point2.data(), expected.data(), hw, hh, rangeX, rangeY);
      OnCopies(image1, image2, [&] {
        MatchScoreMap map;
        const auto run = [&] {
          return Locate(*image1, *image2, point1, point2, hw, hh, rangeX, rangeY, hasMap ? &map : nullptr,
                        before);
        };
        if (outcome.isRefused) {
          ++refused;
          ExpectRefused(run);
          return;
        }
        ASSERT_EQ(run(), expected);
        if (hasMap) {
          ASSERT_TRUE(SameBytes(map.Scores(), outcome.scores));
        }
      });
      if (HasFatalFailure()) return;
    }
    EXPECT_GT(refused, 0);
    EXPECT_LT(refused, 200);
  });
}

TEST_P(FeatureFindRandom, SubPixelSearchEqualsTheModel) {
  Random random(0x6102);
  ForEachFormat([&]<class P>() {
    int refused = 0;
    for (int round = 0; round < 250; ++round) {
      SCOPED_TRACE(testing::Message() << "round " << round);
      const int sizes[] = {random.Between(8, 64), random.Between(8, 64), random.Between(8, 64),
                           random.Between(8, 64)};
      TestImage<P> image1 = AnyImage<P>(random, sizes[0], sizes[1]);
      TestImage<P> image2 = AnyImage<P>(random, sizes[2], sizes[3]);
      const auto anyPoint = [&](int width, int height) {
        const bool isWhole = random.OneIn(3);
        return DoublePoint{AnyPosition(random, width) + (isWhole ? 0 : random.Unit()),
                           AnyPosition(random, height) + (isWhole ? 0 : random.Unit())};
      };
      const DoublePoint point1 = anyPoint(sizes[0], sizes[1]);
      const DoublePoint point2 = anyPoint(sizes[2], sizes[3]);
      const int hw = random.Between(0, 12);
      const int hh = random.Between(0, 7);
      const auto anyStep = [&] { return random.Pick({1.0, 0.5, 0.25, 1.0 / 3, 2.0 / 7}); };
      const double stepX = anyStep();
      const double stepY = anyStep();
      const auto anyRange = [&](double step) {
        return random.OneIn(12) ? 70 * random.Unit() * step
                                : step * 6 * random.Unit() - (random.OneIn(8) ? 3 : 0);
      };
      const Steps steps = {anyRange(stepX), anyRange(stepY), stepX, stepY, random.Between(-1, 4)};
      const bool hasMap = random.OneIn(2);
      const DoublePoint before = {random.Unit(), random.Unit()};

      DoublePoint expected = before;
      const kv_model::Outcome outcome =
          kv_model::LocateFeatureSubPixel(*image1, *image2, point1.data(), point2.data(), expected.data(), hw,
                                          hh, steps.rangeX, steps.rangeY, stepX, stepY, steps.levels);
      OnCopies(image1, image2, [&] {
        SubPixelScoreMap map;
        const auto run = [&] {
          return LocateSubPixel(*image1, *image2, point1, point2, hw, hh, steps, hasMap ? &map : nullptr,
                                before);
        };
        if (outcome.isRefused) {
          ++refused;
          ExpectRefused(run);
          return;
        }
        ASSERT_TRUE(SameBytes(run(), {expected.begin(), expected.end()}));
        if (hasMap) {
          ASSERT_TRUE(SameBytes(map.Scores(), outcome.scores));
          ASSERT_EQ(map.FracX(), std::fmod(point1[0], 1.0));
          ASSERT_EQ(map.FracY(), std::fmod(point1[1], 1.0));
        }
      });
      if (HasFatalFailure()) return;
    }
    EXPECT_GT(refused, 0);
    EXPECT_LT(refused, 125);
  });
}

TEST_P(FeatureFindRandom, EveryTemplateWidthEqualsTheModel) {
  Random random(0x6103);
  ForEachFormat([&]<class P>() {
    for (int width = 1; width <= 130; ++width) {
      SCOPED_TRACE(testing::Message() << "template width " << width);
      // The whole of image 1 is the template.
      const int height = random.Between(1, 19);
      TestImage<P> image1 = AnyImage<P>(random, width, height);
      TestImage<P> image2 = AnyImage<P>(random, width + random.Between(3, 5), height + random.Between(3, 5));
      const Point feature = {width / 2, height / 2};
      const Point centre = {width, height};
      Point expected = {0, 0};
      const auto whole = kv_model::LocateFeature(*image1, *image2, feature.data(), centre.data(),
                                                 expected.data(), width, height, 5, 5);
      MatchScoreMap map;
      ASSERT_EQ(Locate(*image1, *image2, feature, centre, width, height, 5, 5, &map, {0, 0}), expected);
      ASSERT_TRUE(SameBytes(map.Scores(), whole.scores));

      const DoublePoint from = {feature[0] + 0.5, feature[1] + 0.125};
      const DoublePoint around = {centre[0] + 0.3, centre[1] + 0.7};
      DoublePoint expectedSteps = {0, 0};
      const auto fine =
          kv_model::LocateFeatureSubPixel(*image1, *image2, from.data(), around.data(), expectedSteps.data(),
                                          width, height, 1, 1, 0.5, 1.0 / 3, 2);
      SubPixelScoreMap fineMap;
      ASSERT_EQ(LocateSubPixel(*image1, *image2, from, around, width, height, {1, 1, 0.5, 1.0 / 3, 2},
                               &fineMap, {0, 0}),
                expectedSteps);
      ASSERT_TRUE(SameBytes(fineMap.Scores(), fine.scores));
    }
  });
}

INSTANTIATE_TEST_SUITE_P(Members, FeatureFindRandom, EachMember(), MemberName);

}  // namespace
