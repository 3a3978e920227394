#include <gtest/gtest.h>

#include <cmath>
#include <memory>

#include "tests/gstreamer/element_harness.h"

namespace kv_test {
namespace {

/// A smooth bright spot at a place between pixels, in the luma or in all components.
void PaintSpot(GuardedFrame& frame, double x, double y) {
  const bool isPacked = frame->format == KV_FORMAT_UYVY || frame->format == KV_FORMAT_YUY2;
  const int step = isPacked ? 2 : frame->format == KV_FORMAT_BGR24 ? 3 : 4;
  const int first = frame->format == KV_FORMAT_YUY2 ? 0 : 1;
  for (int row = 0; row < frame->height; ++row) {
    for (int column = 0; column < frame->width; ++column) {
      const double distance = std::hypot(column - x, row - y);
      frame.Row(0, row)[first + column * step] =
          static_cast<std::uint8_t>(std::lround(30 + 200 * std::exp(-distance * distance / 30)));
    }
  }
}

struct Seen {
  bool isPosted = false;
  bool isFound = false;
  double x = 0;
  double y = 0;
  double score = 0;
};

Seen NextMessage(const ElementHarness& element) {
  Seen seen;
  GstMessage* message = element.ElementMessage();
  if (message == nullptr) return seen;
  gboolean isFound = FALSE;
  const GstStructure* structure = gst_message_get_structure(message);
  seen.isPosted =
      gst_structure_has_name(structure, "kvtrack") != FALSE &&
      gst_structure_get(structure, "found", G_TYPE_BOOLEAN, &isFound, "x", G_TYPE_DOUBLE, &seen.x, "y",
                        G_TYPE_DOUBLE, &seen.y, "score", G_TYPE_DOUBLE, &seen.score, nullptr) != FALSE;
  seen.isFound = isFound != FALSE;
  gst_message_unref(message);
  return seen;
}

TEST(TrackElement, FollowsASpotBetweenPixelsAndMarksItAndPassesTheBuffer) {
  for (const FormatPair& format : {FormatPair{"UYVY", KV_FORMAT_UYVY}, FormatPair{"YUY2", KV_FORMAT_YUY2},
                                   FormatPair{"BGR", KV_FORMAT_BGR24}, FormatPair{"BGRx", KV_FORMAT_BGRX32},
                                   FormatPair{"BGRA", KV_FORMAT_BGRA32}}) {
    for (const char* update : {"never", "always"}) {
      ElementHarness element("kvtrack");
      g_object_set(element.Element(), "x", 30, "y", 24, "half", 7, "range", 6, nullptr);
      gst_util_set_object_arg(G_OBJECT(element.Element()), "update", update);
      element.SetCaps(CapsText(format.name, 97, 61), CapsText(format.name, 97, 61));
      for (int number = 0; number < 9; ++number) {
        const double x = 30 + 3.25 * number;
        const double y = 24 + 1.5 * number;
        GuardedFrame frame(format.format, 97, 61, Placement::EndOfPage);
        PaintSpot(frame, x, y);
        Buffer in = BufferOver(frame, format.name);
        const GstBuffer* same = in.get();
        const Buffer result = element.Pass(std::move(in));
        ASSERT_TRUE(result) << element.Error();
        EXPECT_EQ(result.get(), same);
        const Seen seen = NextMessage(element);
        ASSERT_TRUE(seen.isPosted && seen.isFound) << format.name << " " << number;
        EXPECT_NEAR(seen.x, x, 0.3) << format.name << " " << update << " " << number;
        EXPECT_NEAR(seen.y, y, 0.3) << format.name << " " << update << " " << number;
        EXPECT_LT(seen.score, 12);
        if (number == 0) {
          EXPECT_EQ(seen.x, 30);
          EXPECT_EQ(seen.score, 0);
        }
        const auto* meta = reinterpret_cast<GstVideoRegionOfInterestMeta*>(
            gst_buffer_get_meta(result.get(), GST_VIDEO_REGION_OF_INTEREST_META_API_TYPE));
        ASSERT_NE(meta, nullptr);
        EXPECT_EQ(meta->x, static_cast<guint>(std::lround(seen.x)) - 7);
        EXPECT_EQ(meta->y, static_cast<guint>(std::lround(seen.y)) - 7);
        EXPECT_EQ(meta->w, 15U);
        EXPECT_EQ(meta->h, 15U);
      }
    }
  }
}

TEST(TrackElement, AWholePixelMatchHasTheScoreOfTheCall) {
  std::mt19937 random(61);
  GuardedFrame first(KV_FORMAT_UYVY, 64, 48, Placement::EndOfPage);
  GuardedFrame second(KV_FORMAT_UYVY, 64, 48, Placement::EndOfPage);
  first.Fill(random);
  second.Fill(random);
  const Context context = MakeContext();
  kv_find_options options;
  kv_find_options_init(&options);
  options.x = options.around_x = 32;
  options.y = options.around_y = 24;
  options.half_width = options.half_height = 5;
  options.range_x = options.range_y = 9;
  kv_match match;
  kv_match_init(&match);
  ASSERT_EQ(kv_find(context.get(), first.Get(), second.Get(), &options, &match, nullptr), KV_OK);
  ElementHarness element("kvtrack");
  g_object_set(element.Element(), "half", 5, "range", 9, "levels", 0, nullptr);
  element.SetCaps(CapsText("UYVY", 64, 48), CapsText("UYVY", 64, 48));
  ASSERT_TRUE(element.Pass(BufferOver(first, "UYVY"))) << element.Error();
  ASSERT_TRUE(element.Pass(BufferOver(second, "UYVY"))) << element.Error();
  EXPECT_EQ(NextMessage(element).x, 32);
  const Seen seen = NextMessage(element);
  EXPECT_DOUBLE_EQ(seen.score, match.score);
  EXPECT_EQ(seen.x, match.x);
  EXPECT_EQ(seen.y, match.y);
}

TEST(TrackElement, HasTheNumbersOfTheCallForEveryFrameAlsoOfWovenOnes) {
  std::mt19937 random(62);
  struct FreeTrack {
    void operator()(kv_track* track) const { kv_track_free(track); }
  };
  for (const int update : {KV_TRACK_NEVER, KV_TRACK_EVERY}) {
    kv_track_options options;
    kv_track_options_init(&options);
    options.half_width = options.half_height = 6;
    options.range_x = options.range_y = 5;
    options.levels = 2;
    options.update = update;
    const double point[2] = {40, 30};
    kv_track* made = nullptr;
    ASSERT_EQ(kv_track_new(point, 1, &options, &made), KV_OK);
    const std::unique_ptr<kv_track, FreeTrack> track(made);
    const Context context = MakeContext();
    ElementHarness element("kvtrack");
    g_object_set(element.Element(), "x", 40, "y", 30, "half", 6, "range", 5, "levels", 2, nullptr);
    gst_util_set_object_arg(G_OBJECT(element.Element()), "update",
                            update == KV_TRACK_NEVER ? "never" : "always");
    const char* mode =
        update == KV_TRACK_NEVER ? "interlace-mode=(string)progressive" : "interlace-mode=(string)mixed";
    element.SetCaps(CapsText("YUY2", 81, 64, mode), CapsText("YUY2", 81, 64, mode));
    for (int number = 0; number < 6; ++number) {
      GuardedFrame frame(KV_FORMAT_YUY2, 81, 64, Placement::EndOfPage);
      frame.Fill(random);
      kv_match match;
      kv_match_init(&match);
      ASSERT_EQ(kv_track_next(context.get(), track.get(), frame.Get(), &match, 1, nullptr), KV_OK);
      Buffer in = BufferOver(frame, "YUY2");
      if (update == KV_TRACK_EVERY && number % 3 != 0) {
        const guint order = number % 3 == 1 ? int{GST_VIDEO_BUFFER_FLAG_TFF} : 0;
        gst_buffer_set_flags(in.get(), static_cast<GstBufferFlags>(GST_VIDEO_BUFFER_FLAG_INTERLACED | order));
      }
      ASSERT_TRUE(element.Pass(std::move(in))) << element.Error();
      const Seen seen = NextMessage(element);
      EXPECT_EQ(seen.isFound, match.is_found != 0);
      EXPECT_EQ(seen.x, match.x);
      EXPECT_EQ(seen.y, match.y);
      EXPECT_EQ(seen.score, match.score);
    }
  }
}

TEST(TrackElement, StartsAfreshAfterAFlushNewCapsAndANewPlace) {
  GuardedFrame left(KV_FORMAT_UYVY, 97, 61, Placement::EndOfPage);
  GuardedFrame right(KV_FORMAT_UYVY, 97, 61, Placement::EndOfPage);
  PaintSpot(left, 30, 30);
  PaintSpot(right, 36, 30);
  ElementHarness element("kvtrack");
  g_object_set(element.Element(), "x", 30, "y", 30, nullptr);
  const auto at = [&](const GuardedFrame& frame) {
    EXPECT_TRUE(element.Pass(BufferOver(frame, "UYVY"))) << element.Error();
    return NextMessage(element).x;
  };
  element.SetCaps(CapsText("UYVY", 97, 61), CapsText("UYVY", 97, 61));
  EXPECT_EQ(at(left), 30);
  EXPECT_NEAR(at(right), 36, 0.2);
  gst_harness_push_event(element.Get(), gst_event_new_flush_start());
  gst_harness_push_event(element.Get(), gst_event_new_flush_stop(TRUE));
  GstSegment segment;
  gst_segment_init(&segment, GST_FORMAT_TIME);
  gst_harness_push_event(element.Get(), gst_event_new_segment(&segment));
  EXPECT_EQ(at(right), 30);
  g_object_set(element.Element(), "x", 36, nullptr);
  EXPECT_EQ(at(right), 36);
  EXPECT_NEAR(at(left), 30, 0.2);
}

TEST(TrackElement, ATemplateOutsideTheFrameIsRefusedWithAText) {
  GuardedFrame frame(KV_FORMAT_UYVY, 64, 48, Placement::EndOfPage);
  ElementHarness element("kvtrack");
  g_object_set(element.Element(), "x", 60, "y", 24, nullptr);
  element.SetCaps(CapsText("UYVY", 64, 48), CapsText("UYVY", 64, 48));
  EXPECT_EQ(element.Push(BufferOver(frame, "UYVY")), GST_FLOW_ERROR);
  EXPECT_EQ(element.Error(), "the template reaches 8 pixels around 60,24, out of the frame of 64x48");
}

}  // namespace
}  // namespace kv_test
