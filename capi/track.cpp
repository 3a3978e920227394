#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <variant>
#include <vector>

#include "capi/context.h"
#include "capi/view.h"
#include "run/tracker.h"

using namespace kv_capi;

namespace kv_capi {
namespace {

struct StartPoint {
  double x;
  double y;
};

template <class PixelClass>
using Trackers = std::vector<kv_run::Tracker<PixelClass>>;

/// What the frames of a track have in common.
struct FrameKind {
  const Format* format;
  int width;
  int height;
  kv_run::TrackedLines lines;
};

}  // namespace
}  // namespace kv_capi

struct kv_track {
  kv_run::TrackOptions options;
  std::vector<StartPoint> points;
  FrameKind kind = {};
  /// Before the first frame there are none of any kind.
  std::variant<Trackers<Packed>, Trackers<Bitmap24>, Trackers<Bitmap32>> trackers;
};

namespace kv_capi {
namespace {

using kv_img::maxImageSide;
using kv_run::TrackedLines;
using kv_run::TrackedPoint;
using When = kv_run::TemplateUpdate::When;

constexpr std::size_t mostTracked = 1000000;
constexpr int mostTrackLevels = 8;
constexpr double largestScore = 255;
constexpr When updates[] = {When::Never, When::Every, When::AboveScore};

kv_run::TrackOptions CheckTrackOptions(const kv_track_options* options) {
  kv_track_options defaults;
  if (options == nullptr) {
    kv_track_options_init(&defaults);
    options = &defaults;
  }
  CheckStruct("options", options, "kv_track_options_init");
  CheckReserved("options", AreZero(options->reserved));
  CheckRange("options->half_width", options->half_width, 0, maxImageSide);
  CheckRange("options->half_height", options->half_height, 0, maxImageSide);
  CheckRange("options->range_x", options->range_x, 0, maxImageSide);
  CheckRange("options->range_y", options->range_y, 0, maxImageSide);
  CheckRange("options->levels", options->levels, 0, mostTrackLevels);
  CheckRange("options->update", options->update, 0, KV_TRACK_ON_SCORE);
  CheckRange("options->update_frames", options->update_frames, 1, INT32_MAX);
  CheckNumber("options->update_score", options->update_score, 0, largestScore);
  CheckNumber("options->max_score", options->max_score, 0, largestScore);
  return {.halfWidth = options->half_width,
          .halfHeight = options->half_height,
          .rangeX = options->range_x,
          .rangeY = options->range_y,
          .levels = options->levels,
          .update = {updates[options->update], options->update_frames, options->update_score},
          .maxScore = options->max_score};
}

/// The field that is first in time.
TrackedLines LinesOf(const kv_frame& frame) {
  if (frame.field_order == KV_FIELDS_PROGRESSIVE) return {};
  const int parity = frame.field_order == KV_FIELDS_BOTTOM_FIRST ? 1 : 0;
  return TrackedLines::OfField(parity == frame.row_parity ? 0 : 1);
}

void CheckFirst(const kv_track& track, const Frame& frame, const TrackedLines& lines) {
  if (lines.CountIn(frame.height) == 0) Fail(KV_SIZE_MISMATCH, "frame has one row, none of its first field");
  for (std::size_t i = 0; i < track.points.size(); ++i) {
    const StartPoint& point = track.points[i];
    if (point.x <= frame.width - 1 && point.y <= frame.height - 1) continue;
    Fail(KV_BAD_ARGUMENT, "points[%zu] is (%g, %g); frame is %dx%d", i, point.x, point.y, frame.width,
         frame.height);
  }
}

void CheckLike(const FrameKind& kind, const Frame& frame, const TrackedLines& lines) {
  if (frame.format != kind.format) {
    Fail(KV_UNSUPPORTED, "frame is %s, the track's first one %s; they must be equal", frame.format->name,
         kind.format->name);
  }
  if (frame.width != kind.width || frame.height != kind.height) {
    Fail(KV_SIZE_MISMATCH, "frame is %dx%d, the track's first one %dx%d; they must be equal", frame.width,
         frame.height, kind.width, kind.height);
  }
  if (lines.step != kind.lines.step || lines.first != kind.lines.first) {
    Fail(KV_BAD_ARGUMENT,
         "frame->field_order is %" PRId32 "; the fields must be those of the track's first frame",
         frame.view->field_order);
  }
}

template <class PixelClass>
Trackers<PixelClass> MakeTrackers(const kv_track& track, const Frame& frame, const TrackedLines& lines) {
  CheckFirst(track, frame, lines);
  using Tracker = kv_run::Tracker<PixelClass>;
  const int height = lines.CountIn(frame.height);
  Trackers<PixelClass> trackers;
  trackers.reserve(track.points.size());
  for (const StartPoint& point : track.points) {
    const Tracker& tracker = trackers.emplace_back(track.options, point.x, point.y, lines);
    const auto part = tracker.TemplateIn(frame.width, height);
    if (part.width + Tracker::room <= frame.width && part.height + Tracker::room <= height) continue;
    Fail(KV_SIZE_MISMATCH,
         "frame is searched in %dx%d pixels; with a template of %dx%d it must be at least %dx%d", frame.width,
         height, part.width, part.height, part.width + Tracker::room, part.height + Tracker::room);
  }
  return trackers;
}

/// Of a frame's searches, as pixels of other rules: comparing one takes a fraction of their time.
std::int64_t WorkOf(const kv_run::TrackOptions& options, int points) {
  constexpr double comparisonsOfPixel = 8;
  const auto side = [](int half) { return 2.0 * half + 1; };
  const double pixels = side(options.halfWidth) * side(options.halfHeight) * side(options.rangeX) *
                        side(options.rangeY) * points;
  return static_cast<std::int64_t>(std::min(pixels / comparisonsOfPixel, 1e15));
}

template <class PixelClass>
void Next(const Call& call, kv_track& track, const Frame& frame, kv_match* matches) {
  using Tracker = kv_run::Tracker<PixelClass>;
  const TrackedLines lines = LinesOf(*frame.view);
  const bool isFirst = track.kind.format == nullptr;
  if (!isFirst) CheckLike(track.kind, frame, lines);
  const auto& search = call.Find<typename Tracker::Search>("FeatureFind", {PixelClass::ClassID});
  // Copies: a call that fails or is stopped leaves all points where they were.
  auto trackers = isFirst ? MakeTrackers<PixelClass>(track, frame, lines)
                          : std::get<Trackers<PixelClass>>(track.trackers);
  kv_frame searched = *frame.view;
  searched.planes[0] = frame.Row(0, lines.first);
  searched.strides[0] *= lines.step;
  const int height = lines.CountIn(frame.height);
  const View<PixelClass> view(Frame{frame.name, &searched, frame.format, frame.width, height});
  std::vector<TrackedPoint> found(trackers.size());
  const int count = static_cast<int>(found.size());
  const int tasks = call.TasksFor(isFirst ? 0 : WorkOf(track.options, count), count);
  call.ForEachTask(tasks, [&](int index) {
    const RowsOfTask part = RowsOf(count, tasks, index);
    for (int i = part.first; i < part.first + part.count; ++i) {
      const auto point = static_cast<std::size_t>(i);
      found[point] = trackers[point].Next(search, *view);
    }
  });
  track.kind = {frame.format, frame.width, frame.height, lines};
  track.trackers = std::move(trackers);
  for (std::size_t i = 0; i < found.size(); ++i) {
    matches[i].is_found = found[i].isLost ? 0 : 1;
    matches[i].x = found[i].x;
    matches[i].y = found[i].y;
    matches[i].score = found[i].score;
  }
}

}  // namespace
}  // namespace kv_capi

void kv_track_options_init(kv_track_options* options) {
  if (options == nullptr) return;
  *options = {};
  options->struct_size = sizeof *options;
  options->half_width = options->half_height = 16;
  options->range_x = options->range_y = 16;
  options->levels = 3;
  options->update_frames = 1;
  options->max_score = largestScore;
}

kv_status kv_track_new(const double* points, size_t count, const kv_track_options* options,
                       kv_track** track) {
  return Guarded([&] {
    CheckPointer("track", track, alignof(kv_track*));
    *track = nullptr;
    CheckPointer("points", points, alignof(double));
    CheckRange("count", static_cast<std::int64_t>(std::min(count, mostTracked + 1)), 1, mostTracked);
    auto made = std::make_unique<kv_track>();
    made->options = CheckTrackOptions(options);
    for (std::size_t i = 0; i < 2 * count; ++i) {
      char name[32];
      std::snprintf(name, sizeof name, "points[%zu]", i);
      CheckNumber(name, points[i], 0, maxImageSide - 1);
    }
    for (std::size_t i = 0; i < count; ++i) made->points.push_back({points[2 * i], points[2 * i + 1]});
    *track = made.release();
  });
}

void kv_track_free(kv_track* track) {
  delete track;
}

kv_status kv_track_next(kv_context* context, kv_track* track, const kv_frame* frame, kv_match* matches,
                        size_t count, const kv_call* call) {
  return Guarded([&] {
    const Call with(context, call);
    CheckPointer("track", track, alignof(kv_track));
    const Frame in = CheckFrame("frame", frame);
    if (in.format->storage != Storage::Bitmap)
      CheckStorage(in, Storage::Packed, "UYVY, YUY2 or a bitmap of 24 or 32 bits");
    if (count != track->points.size())
      Fail(KV_SIZE_MISMATCH, "count is %zu; the track has %zu points", count, track->points.size());
    CheckPointer("matches", matches, alignof(kv_match));
    for (std::size_t i = 0; i < count; ++i) {
      CheckStruct("matches", matches + i, "kv_match_init");
      CheckReserved("matches", AreZero(matches[i].reserved));
    }
    if (in.format->storage == Storage::Packed) {
      Next<Packed>(with, *track, in, matches);
    } else if (in.format->pixelBytes == 3) {
      Next<Bitmap24>(with, *track, in, matches);
    } else {
      Next<Bitmap32>(with, *track, in, matches);
    }
  });
}
