#include <algorithm>
#include <array>
#include <memory>

#include "gstreamer/elements.h"

namespace kv_gst {
namespace {

GType DirectionType() {
  static const GEnumValue values[] = {
      {KV_PAN_RIGHT, "The viewport moves to the right", "right"},
      {KV_PAN_LEFT, "The viewport moves to the left", "left"},
      {KV_PAN_DOWN, "The viewport moves down", "down"},
      {KV_PAN_UP, "The viewport moves up", "up"},
      {0, nullptr, nullptr},
  };
  static const GType type = g_enum_register_static("KvPanDirection", values);
  return type;
}

constexpr int largest = 1048576;

struct RegionFree {
  void operator()(kv_region* region) const { kv_region_free(region); }
};
using RegionPointer = std::unique_ptr<kv_region, RegionFree>;

class Pan final : public Filter {
 public:
  struct Settings {
    int direction = KV_PAN_RIGHT;
    double duration = 5;
    int width = 0;
    int height = 0;
  };
  using Filter::Filter;

  /// The movie has the size of the properties; 0 is the still's.
  void TransformCaps(GstPadDirection direction, GstStructure* caps) const override {
    const Settings now = SettingsNow(*this);
    const auto change = [&](const char* field, int size) {
      if (size == 0) return;
      if (direction == GST_PAD_SINK) {
        gst_structure_set(caps, field, G_TYPE_INT, size, nullptr);
      } else {
        gst_structure_set(caps, field, GST_TYPE_INT_RANGE, size, largest, nullptr);
      }
    };
    change("width", now.width);
    change("height", now.height);
  }

  bool SetInfo(const GstVideoInfo& in, const GstVideoInfo& out, std::string& why) override {
    steps_ = std::max<guint64>(StepsOf(out), 1);
    if (GST_VIDEO_INFO_FPS_N(&out) == 0) {
      why = "the framerate is 0/1; a pan needs one, and a still becomes a stream by imagefreeze";
    } else if (GST_VIDEO_INFO_INTERLACE_MODE(&in) != GST_VIDEO_INTERLACE_MODE_PROGRESSIVE) {
      why = "interlace-mode is " +
            std::string(gst_video_interlace_mode_to_string(GST_VIDEO_INFO_INTERLACE_MODE(&in))) +
            "; a still is progressive";
    } else {
      return CheckSizes(in, out, why);
    }
    return false;
  }

  bool Work(const GstVideoFrame& in, const GstVideoFrame& out) override {
    const Settings now = SettingsNow(*this);
    const kv_frame from = ViewOf(in);
    kv_frame to = ViewOf(out);
    const bool isSideways = now.direction == KV_PAN_RIGHT || now.direction == KV_PAN_LEFT;
    // Across the movement the middle of the still is seen, on a whole pair of pixels.
    const int left = isSideways ? 0 : (from.width - to.width) / 2 / 2 * 2;
    const int top = isSideways ? (from.height - to.height) / 2 : 0;
    kv_region* across = nullptr;
    if (!Succeeded(kv_region_rectangle(left, top, isSideways ? from.width : to.width,
                                       isSideways ? to.height : from.height, &across))) {
      return false;
    }
    const RegionPointer region(across);
    ClearHalfPairs(to);
    kv_pan_options options;
    kv_pan_options_init(&options);
    options.direction = now.direction;
    options.steps = static_cast<int32_t>(steps_);
    options.step = static_cast<int32_t>(StepAt(out));
    return Succeeded(kv_pan(Context(), &from, region.get(), &to, nullptr, &options, nullptr));
  }

  Settings settings;  ///< under the object's lock

 private:
  guint64 StepsOf(const GstVideoInfo& info) const {
    const double rate = double(GST_VIDEO_INFO_FPS_N(&info)) / GST_VIDEO_INFO_FPS_D(&info);
    return static_cast<guint64>(std::min(SettingsNow(*this).duration * rate + 0.5, double(INT32_MAX)));
  }

  static bool CheckSizes(const GstVideoInfo& in, const GstVideoInfo& out, std::string& why) {
    if (GST_VIDEO_INFO_WIDTH(&out) <= GST_VIDEO_INFO_WIDTH(&in) &&
        GST_VIDEO_INFO_HEIGHT(&out) <= GST_VIDEO_INFO_HEIGHT(&in)) {
      return true;
    }
    why = "width and height are " + std::to_string(GST_VIDEO_INFO_WIDTH(&out)) + "x" +
          std::to_string(GST_VIDEO_INFO_HEIGHT(&out)) + ", the still is " +
          std::to_string(GST_VIDEO_INFO_WIDTH(&in)) + "x" + std::to_string(GST_VIDEO_INFO_HEIGHT(&in)) +
          "; the movie must not be larger";
    return false;
  }

  /// By the time in the stream: after seeks and dropped frames, too, the picture is where it belongs.
  guint64 StepAt(const GstVideoFrame& frame) const {
    const GstSegment& segment = GST_BASE_TRANSFORM(Object())->segment;
    const guint64 time = gst_segment_to_stream_time(&segment, GST_FORMAT_TIME, GST_BUFFER_PTS(frame.buffer));
    if (!GST_CLOCK_TIME_IS_VALID(time)) return 0;
    const guint64 step =
        gst_util_uint64_scale_round(time, static_cast<guint64>(GST_VIDEO_INFO_FPS_N(&frame.info)),
                                    static_cast<guint64>(GST_VIDEO_INFO_FPS_D(&frame.info)) * GST_SECOND);
    return std::min(step, steps_ - 1);
  }

  guint64 steps_ = 1;
};

constexpr std::array properties = {
    Choice<Pan, &Pan::Settings::direction>("direction", "Where the viewport moves", DirectionType,
                                           KV_PAN_RIGHT),
    CapsNumber<Pan, &Pan::Settings::duration>(
        "duration", "Time of the whole pan, in seconds; then its last frame stays", 0, 86400, 5),
    CapsInteger<Pan, &Pan::Settings::width>("width", "Width of the movie in pixels; 0: that of the still", 0,
                                            largest, 0),
    CapsInteger<Pan, &Pan::Settings::height>("height", "Height of the movie in pixels; 0: that of the still",
                                             0, largest, 0),
};

constexpr const char* caps = KV_GST_CAPS("{ " KV_GST_PACKED " }");

}  // namespace

const FilterInfo panElement = {
    "KvPan",
    "kvpan",
    "Pan over a still",
    "Filter/Effect/Video",
    "Moves a viewport over a still picture, from one side to the other; imagefreeze makes a stream of one "
    "picture",
    caps,
    caps,
    properties,
    Make<Pan>,
};

}  // namespace kv_gst
