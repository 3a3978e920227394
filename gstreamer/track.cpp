#include <algorithm>
#include <array>
#include <cmath>
#include <memory>

#include "gstreamer/elements.h"

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
    int levels = 3;
    int update = never;
    bool operator==(const Settings&) const = default;
  };
  using Filter::Filter;

  bool SetInfo(const GstVideoInfo& /*in*/, const GstVideoInfo& /*out*/, std::string& /*why*/) override {
    Reset();
    return true;
  }
  void Reset() override { track_.reset(); }

  bool Work(const GstVideoFrame& in, const GstVideoFrame& out) override {
    const Settings now = SettingsNow(*this);
    kv_frame frame = ViewOf(in);
    // A buffer's flags may say otherwise of the next one; a track has one kind of frames.
    frame.field_order = KV_FIELDS_PROGRESSIVE;
    if ((!track_ || now != begun_) && !Begin(frame, now)) return false;
    kv_match match;
    kv_match_init(&match);
    if (!Succeeded(kv_track_next(Context(), track_.get(), &frame, &match, 1, nullptr))) return false;
    if (match.is_found != 0) Mark(out, match);
    Post(out, match);
    return true;
  }

  Settings settings;  ///< under the object's lock

 private:
  bool Begin(const kv_frame& frame, const Settings& now) {
    track_.reset();
    const int x = now.x < 0 ? frame.width / 2 : now.x;
    const int y = now.y < 0 ? frame.height / 2 : now.y;
    if (x < now.half || y < now.half || x + now.half >= frame.width || y + now.half >= frame.height) {
      PostRefusal("the template reaches " + std::to_string(now.half) + " pixels around " + std::to_string(x) +
                  "," + std::to_string(y) + ", out of the frame of " + std::to_string(frame.width) + "x" +
                  std::to_string(frame.height));
      return false;
    }
    kv_track_options options;
    kv_track_options_init(&options);
    options.half_width = options.half_height = now.half;
    options.range_x = options.range_y = now.range;
    options.levels = now.levels;
    options.update = now.update == always ? KV_TRACK_EVERY : KV_TRACK_NEVER;
    const double point[2] = {double(x), double(y)};
    kv_track* track = nullptr;
    if (!Succeeded(kv_track_new(point, 1, &options, &track))) return false;
    track_.reset(track);
    begun_ = now;
    return true;
  }

  void Mark(const GstVideoFrame& out, const kv_match& match) const {
    const int side = 2 * begun_.half + 1;
    const int left = std::max(static_cast<int>(std::round(match.x)) - begun_.half, 0);
    const int top = std::max(static_cast<int>(std::round(match.y)) - begun_.half, 0);
    GstVideoRegionOfInterestMeta* meta = gst_buffer_add_video_region_of_interest_meta(
        out.buffer, "kvtrack", static_cast<guint>(left), static_cast<guint>(top),
        static_cast<guint>(std::min(side, GST_VIDEO_FRAME_WIDTH(&out) - left)),
        static_cast<guint>(std::min(side, GST_VIDEO_FRAME_HEIGHT(&out) - top)));
    gst_video_region_of_interest_meta_add_param(
        meta, gst_structure_new("kvtrack", "x", G_TYPE_DOUBLE, match.x, "y", G_TYPE_DOUBLE, match.y, "score",
                                G_TYPE_DOUBLE, match.score, nullptr));
  }

  void Post(const GstVideoFrame& out, const kv_match& match) const {
    const GstSegment& segment = GST_BASE_TRANSFORM(Object())->segment;
    const GstClockTime time = GST_BUFFER_PTS(out.buffer);
    GstStructure* result =
        gst_structure_new("kvtrack", "timestamp", G_TYPE_UINT64, time, "stream-time", G_TYPE_UINT64,
                          gst_segment_to_stream_time(&segment, GST_FORMAT_TIME, time), "found",
                          G_TYPE_BOOLEAN, match.is_found != 0 ? TRUE : FALSE, "x", G_TYPE_DOUBLE, match.x,
                          "y", G_TYPE_DOUBLE, match.y, "score", G_TYPE_DOUBLE, match.score, nullptr);
    gst_element_post_message(Object(), gst_message_new_element(GST_OBJECT(Object()), result));
  }

  struct FreeTrack {
    void operator()(kv_track* track) const { kv_track_free(track); }
  };
  std::unique_ptr<kv_track, FreeTrack> track_;
  Settings begun_;
};

constexpr std::array properties = {
    Integer<Track, &Track::Settings::x>(
        "x",
        "Column of the feature in the first frame; -1: the middle. A new value of any property starts anew",
        -1, largest, -1),
    Integer<Track, &Track::Settings::y>("y", "Row of the feature in the first frame; -1: the middle", -1,
                                        largest, -1),
    Integer<Track, &Track::Settings::half>("half", "Pixels of the template to every side of the feature", 0,
                                           largest, 8),
    Integer<Track, &Track::Settings::range>(
        "range", "Pixels to search to every side of where the last motion leads", 0, largest, 16),
    Integer<Track, &Track::Settings::levels>(
        "levels", "Levels of the search between pixels, of steps 1/2, 1/4, 1/8 and so on; 0: whole pixels", 0,
        8, 3),
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
