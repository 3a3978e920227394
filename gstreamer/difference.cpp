#include <array>
#include <cmath>

#include "gstreamer/elements.h"

namespace kv_gst {
namespace {

class Difference final : public Mixer {
 public:
  struct Settings {
    int threshold = 0;
    int posts = 1;
  };
  using Mixer::Mixer;

  GstVideoFormat OutputFormat(GstVideoFormat /*first*/) const override { return GST_VIDEO_FORMAT_GRAY8; }

  bool Work(Inputs inputs, const GstVideoFrame& out) override {
    if (!HaveOneFormat(inputs, "first", "second")) return false;
    const kv_frame first = ViewOf(*inputs[0]);
    const kv_frame second = ViewOf(*inputs[1]);
    kv_frame to = ViewOf(out);
    if (!Succeeded(kv_difference(Context(), &first, &second, &to, nullptr, nullptr))) return false;
    const Settings now = SettingsNow(*this);
    if (now.posts != 0) Post(to, now.threshold, GST_BUFFER_PTS(out.buffer));
    return true;
  }

  Settings settings;  ///< under the object's lock

 private:
  void Post(const kv_frame& difference, int threshold, GstClockTime time) const {
    std::array<guint64, 256> counts = {};
    for (int row = 0; row < difference.height; ++row) {
      const std::uint8_t* pixels = difference.planes[0] + row * difference.strides[0];
      for (int x = 0; x < difference.width; ++x) ++counts[pixels[x]];
    }
    guint64 sum = 0;
    guint64 squares = 0;
    guint64 above = 0;
    guint most = 0;
    for (guint level = 0; level < counts.size(); ++level) {
      sum += counts[level] * level;
      squares += counts[level] * level * level;
      if (static_cast<int>(level) > threshold) above += counts[level];
      if (counts[level] != 0) most = level;
    }
    const double pixels = double(difference.width) * double(difference.height);
    const GstSegment* segment = &GST_AGGREGATOR_PAD(GST_AGGREGATOR_SRC_PAD(Object()))->segment;
    GstStructure* statistics =
        gst_structure_new("kvdiff", "timestamp", G_TYPE_UINT64, time, "stream-time", G_TYPE_UINT64,
                          gst_segment_to_stream_time(segment, GST_FORMAT_TIME, time), "mean", G_TYPE_DOUBLE,
                          double(sum) / pixels, "rms", G_TYPE_DOUBLE, std::sqrt(double(squares) / pixels),
                          "maximum", G_TYPE_UINT, most, "above", G_TYPE_UINT64, above, nullptr);
    gst_element_post_message(Object(), gst_message_new_element(GST_OBJECT(Object()), statistics));
  }
};

constexpr std::array properties = {
    Integer<Difference, &Difference::Settings::threshold>(
        "threshold", "The message counts as \"above\" the pixels whose difference is above this level", 0,
        255, 0),
    Switch<Difference, &Difference::Settings::posts>("post-messages",
                                                     "Post an element message \"kvdiff\" for every frame: "
                                                     "timestamp, stream-time, mean, rms, maximum, above",
                                                     true),
};

constexpr const char* packed = KV_GST_CAPS("{ " KV_GST_PACKED " }");
constexpr std::array<Input, 2> inputs = {Input{"first", packed, false}, Input{"second", packed, false}};

}  // namespace

const MixerInfo differenceElement = {
    "KvDiff",
    "kvdiff",
    "Luma difference",
    "Filter/Analyzer/Video",
    "The absolute difference of the luma of two videos as a grey one, and its statistics as messages",
    inputs,
    KV_GST_CAPS("GRAY8"),
    properties,
    MakeMixer<Difference>,
};

}  // namespace kv_gst
