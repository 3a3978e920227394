#include "run/tracker.h"

#include <gtest/gtest.h>

#include <cmath>

#include "run/runner.h"

namespace kv_run {
namespace {

using PackedTracker = Tracker<kv_img::PixelYUV422>;
using Image = PackedTracker::Image;

/// A smooth pattern that has moved by (dx, dy) and become brighter, luma first.
std::shared_ptr<const Image> Pattern(double dx, double dy, int brighter = 0) {
  constexpr int width = 160;
  constexpr int height = 120;
  kv_img::ImageOptions options;
  options.layout = kv_img::PixelLayout::lumaFirst;
  auto image = std::make_shared<Image>(width, height, options);
  for (int y = 0; y < height; ++y) {
    std::uint8_t* row = image->PlaneRow(kv_img::PixelComponent::Luma, y).data();
    for (int x = 0; x < width; ++x) {
      const double u = x - dx;
      const double v = y - dy;
      const double value = 128 + 45 * std::sin(u / 5.3) * std::cos(v / 6.1) +
                           35 * std::sin((u + 1.7 * v) / 9.7) + 20 * std::cos((2.3 * u - v) / 13.9);
      row[2 * x] = static_cast<std::uint8_t>(std::lround(value) + brighter);
      row[2 * x + 1] = 128;
    }
  }
  return image;
}

const PackedTracker::Search& FeatureFind() {
  return Load<PackedTracker::Search>("FeatureFind", {kv_img::PixelYUV422::ClassID});
}

constexpr double motionX = 1.30;
constexpr double motionY = -0.65;

/// How far the tracker is from the point after 24 frames.
double ErrorAfter24(const TrackOptions& options, double x, double y) {
  PackedTracker tracker(options, x, y);
  TrackedPoint point;
  for (int frame = 0; frame <= 24; ++frame) {
    point = tracker.Next(FeatureFind(), *Pattern(frame * motionX, frame * motionY));
    EXPECT_FALSE(point.isLost);
  }
  return std::max(std::abs(point.x - x - 24 * motionX), std::abs(point.y - y - 24 * motionY));
}

TEST(Tracking, StaysWithAPatternThatMovesBetweenPixels) {
  EXPECT_LE(ErrorAfter24({.halfWidth = 12, .halfHeight = 12, .rangeX = 6, .rangeY = 6}, 60, 70), 0.15);
  EXPECT_LE(ErrorAfter24({.halfWidth = 12, .halfHeight = 12, .rangeX = 6, .rangeY = 6, .levels = 0}, 60, 70),
            0.7);
}

TEST(Tracking, TheFirstFrameIsWhereThePointIs) {
  PackedTracker tracker({}, 60, 70);
  const TrackedPoint point = tracker.Next(FeatureFind(), *Pattern(0, 0));
  EXPECT_EQ(point.x, 60);
  EXPECT_EQ(point.y, 70);
  EXPECT_EQ(point.score, 0);
  EXPECT_FALSE(point.isLost);
}

TEST(Tracking, APointBetweenPixelsStaysThere) {
  PackedTracker tracker({.halfWidth = 8, .halfHeight = 8, .rangeX = 4, .rangeY = 4}, 60.25, 70.75);
  tracker.Next(FeatureFind(), *Pattern(0, 0));
  const TrackedPoint point = tracker.Next(FeatureFind(), *Pattern(2, -3));
  EXPECT_EQ(point.x, 62.25);
  EXPECT_EQ(point.y, 67.75);
  EXPECT_EQ(point.score, 0);
}

TEST(Tracking, TheScoreIsThatOfThePlaceBetweenPixels) {
  const auto scoreOf = [](int levels) {
    PackedTracker tracker({.halfWidth = 8, .halfHeight = 8, .rangeX = 4, .rangeY = 4, .levels = levels}, 60,
                          70);
    tracker.Next(FeatureFind(), *Pattern(0, 0));
    return tracker.Next(FeatureFind(), *Pattern(0.5, 0.5)).score;
  };
  EXPECT_GT(scoreOf(0), 2);
  EXPECT_LT(scoreOf(1), scoreOf(0) / 2);
}

TEST(Tracking, ATemplateThatWasCutStillCentresThePoint) {
  // Twelve columns and rows, but for seven and eight of them.
  EXPECT_LE(ErrorAfter24({.halfWidth = 12, .halfHeight = 12, .rangeX = 4, .rangeY = 4}, 5, 100), 0.2);
  PackedTracker tracker({.halfWidth = 12, .halfHeight = 12, .rangeX = 2, .rangeY = 2}, 4, 3);
  tracker.Next(FeatureFind(), *Pattern(0, 0));
  const TrackedPoint point = tracker.Next(FeatureFind(), *Pattern(2, 2));
  EXPECT_NEAR(point.x, 6, 0.15);
  EXPECT_NEAR(point.y, 5, 0.15);
}

TEST(Tracking, TheLastMotionSaysWhereToSearch) {
  // Three pixels a frame and a range of two: found only when the motion is expected to go on.
  PackedTracker tracker({.halfWidth = 10, .halfHeight = 10, .rangeX = 2, .rangeY = 2}, 40, 60);
  double moved = 0;
  TrackedPoint point;
  for (const double speed : {0.0, 1.5, 3.0, 4.5, 4.5, 4.5}) {
    moved += speed;
    point = tracker.Next(FeatureFind(), *Pattern(moved, 0));
  }
  EXPECT_NEAR(point.x, 40 + moved, 0.2);
}

TEST(Tracking, ATemplateOfEveryFrameDrifts) {
  TrackOptions options{.halfWidth = 8, .halfHeight = 8, .rangeX = 6, .rangeY = 6};
  EXPECT_LE(ErrorAfter24(options, 60, 70), 0.08);
  // The step that is nearest to 1.30 pixels is 1.25: 24 times 0.05, to a step or so.
  options.update = {.when = TemplateUpdate::When::Every, .frames = 1};
  EXPECT_NEAR(ErrorAfter24(options, 60, 70), 1.15, 0.1);
}

TEST(Tracking, UpdatesAreDueAfterFramesAndScores) {
  // The picture changes for good in frame 2: a template from there on matches exactly.
  const auto scoreOf = [](const TemplateUpdate& update, int frames) {
    PackedTracker tracker({.halfWidth = 8, .halfHeight = 8, .update = update}, 60, 70);
    double score = 0;
    for (int frame = 0; frame < frames; ++frame)
      score = tracker.Next(FeatureFind(), *Pattern(0, frame < 2 ? 0 : 0.5)).score;
    return score;
  };
  EXPECT_GT(scoreOf({}, 5), 0);
  EXPECT_EQ(scoreOf({.when = TemplateUpdate::When::AboveScore, .score = 0}, 5), 0);
  EXPECT_GT(scoreOf({.when = TemplateUpdate::When::AboveScore, .score = 100}, 5), 0);
  // Templates of frames 3 and 6: frame 4 is compared with frame 3.
  EXPECT_GT(scoreOf({.when = TemplateUpdate::When::Every, .frames = 3}, 4), 0);
  EXPECT_EQ(scoreOf({.when = TemplateUpdate::When::Every, .frames = 3}, 5), 0);
}

TEST(Tracking, ALostPointStaysAndIsFoundAgain) {
  PackedTracker tracker({.halfWidth = 8, .halfHeight = 8, .rangeX = 4, .rangeY = 4, .maxScore = 3}, 60, 70);
  tracker.Next(FeatureFind(), *Pattern(0, 0));
  tracker.Next(FeatureFind(), *Pattern(1, 0));
  const TrackedPoint lost = tracker.Next(FeatureFind(), *Pattern(40, 31));
  EXPECT_TRUE(lost.isLost);
  EXPECT_GT(lost.score, 3);
  EXPECT_NEAR(lost.x, 61, 0.15);
  const TrackedPoint again = tracker.Next(FeatureFind(), *Pattern(2, 0));
  EXPECT_FALSE(again.isLost);
  EXPECT_NEAR(again.x, 62, 0.15);
}

TEST(Tracking, ALostPointIsSoughtWhereItWasNotWhereItWent) {
  PackedTracker tracker(
      {.halfWidth = 8, .halfHeight = 8, .rangeX = 2, .rangeY = 2, .levels = 0, .maxScore = 1}, 60, 70);
  for (const double moved : {0, 2, 4}) EXPECT_FALSE(tracker.Next(FeatureFind(), *Pattern(moved, 0)).isLost);
  EXPECT_TRUE(tracker.Next(FeatureFind(), *Pattern(50, 31)).isLost);
  // A motion of two pixels a frame would lead to 66, out of reach.
  const TrackedPoint again = tracker.Next(FeatureFind(), *Pattern(2, 0));
  EXPECT_FALSE(again.isLost);
  EXPECT_EQ(again.x, 62);
}

TEST(Tracking, AScoreThatIsTheLimitIsNotLost) {
  for (const double limit : {4.0, 3.99}) {
    PackedTracker tracker(
        {.halfWidth = 2, .halfHeight = 2, .rangeX = 0, .rangeY = 0, .levels = 0, .maxScore = limit}, 60, 70);
    tracker.Next(FeatureFind(), *Pattern(0, 0));
    const TrackedPoint point = tracker.Next(FeatureFind(), *Pattern(0, 0, 4));
    EXPECT_EQ(point.score, 4);
    EXPECT_EQ(point.isLost, limit < 4);
  }
}

TEST(Tracking, AScoreThatIsTheThresholdRenewsNothing) {
  for (const double threshold : {4.0, 3.99}) {
    PackedTracker tracker({.halfWidth = 2,
                           .halfHeight = 2,
                           .rangeX = 0,
                           .rangeY = 0,
                           .levels = 0,
                           .update = {.when = TemplateUpdate::When::AboveScore, .score = threshold}},
                          60, 70);
    for (const int brighter : {0, 4}) tracker.Next(FeatureFind(), *Pattern(0, 0, brighter));
    EXPECT_EQ(tracker.Next(FeatureFind(), *Pattern(0, 0, 4)).score, threshold < 4 ? 0 : 4);
  }
}

/// Every second line of a picture.
std::shared_ptr<const Image> FieldOf(const Image& frame, int first) {
  kv_img::ImageOptions options;
  options.layout = kv_img::PixelLayout::lumaFirst;
  const TrackedLines lines = TrackedLines::OfField(first);
  auto field = std::make_shared<Image>(160, lines.CountIn(120), options);
  for (int y = 0; y < lines.CountIn(120); ++y) {
    const std::uint8_t* row = frame.PlaneRow(kv_img::PixelComponent::Luma, 2 * y + first).data();
    std::copy_n(row, 320, field->PlaneRow(kv_img::PixelComponent::Luma, y).data());
  }
  return field;
}

TEST(Tracking, LinesOfAFieldAreToldAsLinesOfTheFrame) {
  for (const int first : {0, 1}) {
    PackedTracker tracker({.halfWidth = 8, .halfHeight = 9, .rangeX = 2, .rangeY = 5, .levels = 0}, 60,
                          70 + first, TrackedLines::OfField(first));
    const auto at = [&](double dy) { return tracker.Next(FeatureFind(), *FieldOf(*Pattern(0, dy), first)); };
    EXPECT_EQ(at(0).y, 70 + first);
    // Half as high, and an odd range rounded up: three lines of the field.
    EXPECT_EQ(tracker.TemplateIn(160, 60).height, 2 * (9 / 2) + 1);
    const TrackedPoint point = at(6);
    EXPECT_EQ(point.x, 60);
    EXPECT_EQ(point.y, 76 + first);
    EXPECT_EQ(point.score, 0);
  }
}

}  // namespace
}  // namespace kv_run
