#include <algorithm>
#include <array>
#include <cmath>

#include "gstreamer/elements.h"
#include "gstreamer/scratch.h"

namespace kv_gst {
namespace {

enum Update { never, always };

GType UpdateType() {
  static const GEnumValue values[] = {
      {never, "The template stays that of the first frame", "never"},
      {always, "The template is taken anew from every frame", "always"},
      {0, nullptr, nullptr},
  };
  static const GType type = g_enum_register_static("KvTrackUpdate", values);
  return type;
}

constexpr int largest = 1048576;

class Track final : public Filter {
 public:
  struct Settings {
    int x = -1;
    int y = -1;
    int half = 8;
    int range = 16;
    int update = never;
  };
  using Filter::Filter;

  bool SetInfo(const GstVideoInfo& /*in*/, const GstVideoInfo& /*out*/, std::string& /*why*/) override {
    Reset();
    return true;
  }
  void Reset() override { hasTemplate_ = false; }

  bool Work(const GstVideoFrame& in, const GstVideoFrame& out) override {
    const Settings now = SettingsNow(*this);
    const kv_frame frame = ViewOf(in);
    if (!hasTemplate_ || now.x != begun_.x || now.y != begun_.y || now.half != begun_.half) {
      return Begin(frame, now) && Report(out, 0);
    }
    kv_match match;
    if (!Search(frame, now, match)) return false;
    if (match.is_found == 0) {
      Post(out, false, 0);
      return true;
    }
    // What rounding took from the place of the template comes back here.
    const double x = match.x + restX_;
    const double y = match.y + restY_;
    motionX_ = x - x_;
    motionY_ = y - y_;
    x_ = x;
    y_ = y;
    if (now.update == always && !Take(frame)) return false;
    return Report(out, match.score);
  }

  Settings settings;  ///< under the object's lock

 private:
  bool Begin(const kv_frame& frame, const Settings& now) {
    begun_ = now;
    x_ = now.x < 0 ? frame.width / 2 : now.x;
    y_ = now.y < 0 ? frame.height / 2 : now.y;
    motionX_ = motionY_ = 0;
    if (x_ < now.half || y_ < now.half || x_ + now.half >= frame.width || y_ + now.half >= frame.height) {
      PostRefusal("the template reaches " + std::to_string(now.half) + " pixels around " +
                  std::to_string(static_cast<int>(x_)) + "," + std::to_string(static_cast<int>(y_)) +
                  ", out of the frame of " + std::to_string(frame.width) + "x" +
                  std::to_string(frame.height));
      return false;
    }
    hasTemplate_ = Take(frame);
    return hasTemplate_;
  }

  /// The template is around the pixel that is nearest to where the feature is.
  bool Take(const kv_frame& frame) {
    if (!Succeeded(reference_.Resize(frame.format, frame.width, frame.height))) return false;
    kv_frame to = reference_.View();
    const int half = begun_.half;
    atX_ = std::clamp(std::round(x_), double(half), double(frame.width - 1 - half));
    atY_ = std::clamp(std::round(y_), double(half), double(frame.height - 1 - half));
    restX_ = x_ - atX_;
    restY_ = y_ - atY_;
    return Succeeded(kv_convert(Context(), &frame, &to, nullptr, nullptr));
  }

  /// On whole pixels around where the last motion leads, then between them in steps of an eighth.
  bool Search(const kv_frame& frame, const Settings& now, kv_match& match) {
    const kv_frame reference = reference_.View();
    kv_find_options options;
    kv_find_options_init(&options);
    options.x = atX_;
    options.y = atY_;
    options.half_width = options.half_height = begun_.half;
    options.around_x = std::clamp(std::round(x_ + motionX_ - restX_), 0.0, double(frame.width - 1));
    options.around_y = std::clamp(std::round(y_ + motionY_ - restY_), 0.0, double(frame.height - 1));
    options.range_x = options.range_y = now.range;
    kv_match_init(&match);
    if (!Succeeded(kv_find(Context(), &reference, &frame, &options, &match, nullptr))) return false;
    if (match.is_found == 0) return true;
    options.around_x = match.x;
    options.around_y = match.y;
    options.range_x = options.range_y = 1;
    options.step_x = options.step_y = 0.5;
    options.levels = 3;
    kv_match fine;
    kv_match_init(&fine);
    if (!Succeeded(kv_find_subpixel(Context(), &reference, &frame, &options, &fine, nullptr))) return false;
    if (fine.is_found != 0) {
      match.x = fine.x;
      match.y = fine.y;
    }
    return true;
  }

  bool Report(const GstVideoFrame& out, double score) {
    const int side = 2 * begun_.half + 1;
    const int left = std::max(static_cast<int>(std::round(x_)) - begun_.half, 0);
    const int top = std::max(static_cast<int>(std::round(y_)) - begun_.half, 0);
    GstVideoRegionOfInterestMeta* meta = gst_buffer_add_video_region_of_interest_meta(
        out.buffer, "kvtrack", static_cast<guint>(left), static_cast<guint>(top),
        static_cast<guint>(std::min(side, GST_VIDEO_FRAME_WIDTH(&out) - left)),
        static_cast<guint>(std::min(side, GST_VIDEO_FRAME_HEIGHT(&out) - top)));
    gst_video_region_of_interest_meta_add_param(
        meta, gst_structure_new("kvtrack", "x", G_TYPE_DOUBLE, x_, "y", G_TYPE_DOUBLE, y_, "score",
                                G_TYPE_DOUBLE, score, nullptr));
    Post(out, true, score);
    return true;
  }

  void Post(const GstVideoFrame& out, bool isFound, double score) const {
    const GstSegment& segment = GST_BASE_TRANSFORM(Object())->segment;
    const GstClockTime time = GST_BUFFER_PTS(out.buffer);
    GstStructure* result =
        gst_structure_new("kvtrack", "timestamp", G_TYPE_UINT64, time, "stream-time", G_TYPE_UINT64,
                          gst_segment_to_stream_time(&segment, GST_FORMAT_TIME, time), "found",
                          G_TYPE_BOOLEAN, isFound ? TRUE : FALSE, "x", G_TYPE_DOUBLE, x_, "y", G_TYPE_DOUBLE,
                          y_, "score", G_TYPE_DOUBLE, score, nullptr);
    gst_element_post_message(Object(), gst_message_new_element(GST_OBJECT(Object()), result));
  }

  ScratchFrame reference_;
  bool hasTemplate_ = false;
  Settings begun_;
  double x_ = 0;  ///< where the feature is
  double y_ = 0;
  double motionX_ = 0;
  double motionY_ = 0;
  double atX_ = 0;  ///< the middle of the template, and how far from it the feature is
  double atY_ = 0;
  double restX_ = 0;
  double restY_ = 0;
};

constexpr std::array properties = {
    Integer<Track, &Track::Settings::x>(
        "x", "Column of the feature in the first frame; -1: the middle. A new value takes a new template", -1,
        largest, -1),
    Integer<Track, &Track::Settings::y>("y", "Row of the feature in the first frame; -1: the middle", -1,
                                        largest, -1),
    Integer<Track, &Track::Settings::half>("half", "Pixels of the template to every side of the feature", 0,
                                           largest, 8),
    Integer<Track, &Track::Settings::range>(
        "range", "Pixels to search to every side of where the last motion leads", 0, largest, 16),
    Choice<Track, &Track::Settings::update>("update", "When the template is taken anew", UpdateType, never),
};

constexpr const char* caps = KV_GST_CAPS("{ " KV_GST_PACKED ", BGRx, BGRA, BGR }");

}  // namespace

const FilterInfo trackElement = {
    "KvTrack",
    "kvtrack",
    "Point tracker",
    "Filter/Analyzer/Video",
    "Follows a feature by luma or green: a message and a region of interest for every frame, which passes as "
    "it is",
    caps,
    caps,
    properties,
    Make<Track>,
    true,
};

}  // namespace kv_gst
