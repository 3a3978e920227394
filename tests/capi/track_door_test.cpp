// kv_track_… beside the tracker of C++.
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <vector>

#include "run/tracker.h"
#include "tests/capi/door_fixture.h"

namespace kv_test {
namespace {

using kv_run::TrackedLines;
using kv_run::TrackOptions;
using When = kv_run::TemplateUpdate::When;

constexpr int trackedWidth = 97;
constexpr int trackedHeight = 81;

struct Shift {
  double x;
  double y;
};

/// A smooth pattern, moved by what `shiftOf` says of a row: luma, or green.
void Draw(const GuardedFrame& frame, const std::function<Shift(int)>& shiftOf) {
  for (int y = 0; y < frame.Get()->height; ++y) {
    const Shift shift = shiftOf(y);
    for (int x = 0; x < frame.Get()->width; ++x) {
      const double u = x - shift.x;
      const double v = y - shift.y;
      const double value = 128 + 45 * std::sin(u / 5.3) * std::cos(v / 6.1) +
                           35 * std::sin((u + 1.7 * v) / 9.7) + 20 * std::cos((2.3 * u - v) / 13.9);
      const bool isBitmap = frame.Get()->format >= KV_FORMAT_BGR24;
      const std::int64_t pixelBytes = isBitmap ? frame.RowBytes(0) / frame.Get()->width : 2;
      const int offset = isBitmap || frame.Get()->format == KV_FORMAT_UYVY ? 1 : 0;
      frame.Row(0, y)[x * pixelBytes + offset] = static_cast<std::uint8_t>(std::lround(value));
    }
  }
}

struct TrackDeleter {
  void operator()(kv_track* track) const { kv_track_free(track); }
};
using Track = std::unique_ptr<kv_track, TrackDeleter>;

Track MakeTrack(const std::vector<double>& points, const kv_track_options& options) {
  kv_track* track = nullptr;
  EXPECT_EQ(kv_track_new(points.data(), points.size() / 2, &options, &track), KV_OK) << kv_last_error();
  return Track(track);
}

kv_track_options OptionsOf(int half, int range) {
  kv_track_options options;
  kv_track_options_init(&options);
  options.half_width = options.half_height = half;
  options.range_x = options.range_y = range;
  return options;
}

std::vector<kv_match> Next(kv_context* context, const Track& track, const GuardedFrame& frame,
                           std::size_t count, const kv_call* call = nullptr) {
  std::vector<kv_match> matches(count);
  for (kv_match& match : matches) kv_match_init(&match);
  EXPECT_EQ(kv_track_next(context, track.get(), frame.Get(), matches.data(), count, call), KV_OK)
      << kv_last_error();
  return matches;
}

/// The lines of a frame that a tracker of C++ is given.
void TakeLines(const GuardedFrame& frame, const TrackedLines& lines, const GuardedFrame& part) {
  for (int y = 0; y < part.Get()->height; ++y)
    std::copy_n(frame.Row(0, lines.first + lines.step * y), frame.RowBytes(0), part.Row(0, y));
}

TEST(DoorTrack, StaysWithAPatternThatMovesBetweenPixels) {
  const Context context = MakeContext();
  const Track track = MakeTrack({40, 50}, OptionsOf(12, 6));
  GuardedFrame frame(KV_FORMAT_UYVY, 131, trackedHeight, Placement::EndOfPage);
  kv_match match;
  for (int number = 0; number <= 24; ++number) {
    Draw(frame, [&](int) { return Shift{1.30 * number, -0.65 * number}; });
    match = Next(context.get(), track, frame, 1).front();
    ASSERT_EQ(match.is_found, 1);
  }
  EXPECT_NEAR(match.x, 40 + 24 * 1.30, 0.15);
  EXPECT_NEAR(match.y, 50 - 24 * 0.65, 0.15);
}

TEST(DoorTrack, DefaultsAreThoseOfTheTracker) {
  kv_track_options options;
  kv_track_options_init(&options);
  const TrackOptions own;
  EXPECT_EQ(options.half_width, own.halfWidth);
  EXPECT_EQ(options.half_height, own.halfHeight);
  EXPECT_EQ(options.range_x, own.rangeX);
  EXPECT_EQ(options.range_y, own.rangeY);
  EXPECT_EQ(options.levels, own.levels);
  EXPECT_EQ(options.update, KV_TRACK_NEVER);
  EXPECT_EQ(options.update_frames, own.update.frames);
  EXPECT_EQ(options.update_score, own.update.score);
  EXPECT_EQ(options.max_score, 255);
  kv_track_options_init(nullptr);
  kv_track* track = nullptr;
  const double point[2] = {1, 2};
  EXPECT_EQ(kv_track_new(point, 1, nullptr, &track), KV_OK);
  kv_track_free(track);
}

/// Several points, some with templates that are cut or leave the picture, through six frames: every number is that of
/// one tracker for each point.
template <class PixelClass>
void CompareWithTracker(int format, int threads, const kv_track_options& options, When when, int fieldOrder,
                        int rowParity) {
  using Tracker = kv_run::Tracker<PixelClass>;
  TrackedLines lines;
  if (fieldOrder != KV_FIELDS_PROGRESSIVE)
    lines = TrackedLines::OfField((fieldOrder == KV_FIELDS_BOTTOM_FIRST) != (rowParity == 1) ? 1 : 0);
  const std::vector<double> points = {40, 50, 2.25, 3.5, 96, 80, 70.125, 6, 50, 40.75};
  const TrackOptions own{.halfWidth = options.half_width,
                         .halfHeight = options.half_height,
                         .rangeX = options.range_x,
                         .rangeY = options.range_y,
                         .levels = options.levels,
                         .update = {when, options.update_frames, options.update_score},
                         .maxScore = options.max_score};
  std::vector<Tracker> trackers;
  for (std::size_t i = 0; i < points.size(); i += 2)
    trackers.emplace_back(own, points[i], points[i + 1], lines);
  const auto& search = Operation<typename Tracker::Search>("FeatureFind", {PixelClass::ClassID});
  const Context context = MakeContext(threads);
  const Track track = MakeTrack(points, options);
  GuardedFrame frame(format, trackedWidth, trackedHeight,
                     threads % 2 == 0 ? Placement::StartOfPage : Placement::EndOfPage, format % 2 == 0);
  frame->field_order = fieldOrder;
  frame->row_parity = rowParity;
  for (int number = 0; number < 6; ++number) {
    const double leap = number == 4 ? 30 : 0;
    Draw(frame, [&](int y) {
      const double time = number + (lines.step == 2 && y % 2 != lines.first ? 0.5 : 0);
      return Shift{1.3 * time + leap, -0.65 * time};
    });
    const auto matches = Next(context.get(), track, frame, trackers.size());
    const GuardedFrame part(format, trackedWidth, lines.CountIn(trackedHeight), Placement::EndOfPage);
    TakeLines(frame, lines, part);
    const auto image = ImageOf<PixelClass>(part);
    for (std::size_t i = 0; i < trackers.size(); ++i) {
      const kv_run::TrackedPoint expected = trackers[i].Next(search, *image);
      ASSERT_EQ(matches[i].x, expected.x) << "format " << format << ", point " << i << ", frame " << number;
      ASSERT_EQ(matches[i].y, expected.y) << i;
      ASSERT_EQ(matches[i].score, expected.score) << i;
      ASSERT_EQ(matches[i].is_found == 0, expected.isLost) << i;
    }
  }
}

TEST(DoorTrack, EveryFormatUpdateAndNumberOfThreads) {
  for (int threads = 1; threads <= 8; ++threads) {
    for (const auto& [update, when] : {std::pair{KV_TRACK_NEVER, When::Never},
                                       {KV_TRACK_EVERY, When::Every},
                                       {KV_TRACK_ON_SCORE, When::AboveScore}}) {
      kv_track_options options = OptionsOf(8 + threads % 3, 5);
      options.levels = threads % 4;
      options.update = update;
      options.update_frames = 2;
      options.update_score = 1.5;
      options.max_score = threads == 3 ? 255 : 4;
      CompareWithTracker<kv_img::PixelYUV422>(packedFormats[threads % 2], threads, options, when,
                                              KV_FIELDS_PROGRESSIVE, 0);
    }
    const kv_track_options options = OptionsOf(7, 4);
    CompareWithTracker<kv_img::PixelDIB24>(KV_FORMAT_BGR24, threads, options, When::Never,
                                           KV_FIELDS_PROGRESSIVE, 1);
    CompareWithTracker<kv_img::PixelDIB32>(threads % 2 == 0 ? KV_FORMAT_BGRX32 : KV_FORMAT_BGRA32, threads,
                                           options, When::Never, KV_FIELDS_PROGRESSIVE, 0);
  }
}

TEST(DoorTrack, TheFirstFieldOfInterlacedFrames) {
  for (const int order : {KV_FIELDS_TOP_FIRST, KV_FIELDS_BOTTOM_FIRST}) {
    for (const int parity : {0, 1}) {
      CompareWithTracker<kv_img::PixelYUV422>(KV_FORMAT_YUY2, 2, OptionsOf(9, 7), When::Never, order, parity);
    }
  }
}

TEST(DoorTrack, AStoppedFrameMayBeRepeated) {
  const Context context = MakeContext(2);
  const Track stopped = MakeTrack({40, 50, 60, 30}, OptionsOf(8, 5));
  const Track straight = MakeTrack({40, 50, 60, 30}, OptionsOf(8, 5));
  GuardedFrame frame(KV_FORMAT_UYVY, trackedWidth, trackedHeight, Placement::EndOfPage);
  for (int number = 0; number < 3; ++number) {
    Draw(frame, [&](int) { return Shift{2.0 * number, 1.0 * number}; });
    kv_call call;
    kv_call_init(&call);
    call.threads = 1;
    call.poll = [](void*) -> std::int32_t { return 1; };
    kv_match matches[2];
    for (kv_match& match : matches) kv_match_init(&match);
    EXPECT_EQ(kv_track_next(context.get(), stopped.get(), frame.Get(), matches, 2, &call), KV_STOPPED);
    EXPECT_EQ(matches[0].x, 0);
    const auto again = Next(context.get(), stopped, frame, 2);
    const auto expected = Next(context.get(), straight, frame, 2);
    for (int i = 0; i < 2; ++i) {
      EXPECT_EQ(again[static_cast<std::size_t>(i)].x, expected[static_cast<std::size_t>(i)].x);
      EXPECT_EQ(again[static_cast<std::size_t>(i)].y, expected[static_cast<std::size_t>(i)].y);
    }
  }
}

}  // namespace
}  // namespace kv_test
