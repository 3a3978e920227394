#include <array>

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
    if (now.posts == 0) return true;
    kv_stats stats;
    kv_stats_init(&stats);
    if (!Succeeded(
            kv_difference_stats(Context(), &first, &second, nullptr, now.threshold, &stats, nullptr))) {
      return false;
    }
    Post(stats, GST_BUFFER_PTS(out.buffer));
    return true;
  }

  Settings settings;  ///< under the object's lock

 private:
  void Post(const kv_stats& stats, GstClockTime time) const {
    const GstSegment* segment = &GST_AGGREGATOR_PAD(GST_AGGREGATOR_SRC_PAD(Object()))->segment;
    GstStructure* statistics =
        gst_structure_new("kvdiff", "timestamp", G_TYPE_UINT64, time, "stream-time", G_TYPE_UINT64,
                          gst_segment_to_stream_time(segment, GST_FORMAT_TIME, time), "mean", G_TYPE_DOUBLE,
                          stats.mean, "psnr", G_TYPE_DOUBLE, stats.psnr, "maximum", G_TYPE_INT, stats.maximum,
                          "share", G_TYPE_DOUBLE, stats.share, nullptr);
    gst_element_post_message(Object(), gst_message_new_element(GST_OBJECT(Object()), statistics));
  }
};

constexpr std::array properties = {
    Integer<Difference, &Difference::Settings::threshold>(
        "threshold", "The share in the message is that of pixels whose difference is above this level", 0,
        255, 0),
    Switch<Difference, &Difference::Settings::posts>(
        "post-messages",
        "Post an element message \"kvdiff\" for every frame: "
        "timestamp, stream-time, mean, psnr in decibels, maximum, share",
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
