#include <array>

#include "gstreamer/elements.h"

namespace kv_gst {
namespace {

class Average final : public Mixer {
 public:
  using Mixer::Mixer;

  GstVideoFormat OutputFormat(GstVideoFormat first) const override { return first; }

  bool Work(Inputs inputs, const GstVideoFrame& out) override {
    const kv_frame first = ViewOf(*inputs[0]);
    const kv_frame second = ViewOf(*inputs[1]);
    kv_frame to = ViewOf(out);
    return Succeeded(kv_average(Context(), &first, nullptr, &second, nullptr, &to, nullptr, nullptr));
  }
};

constexpr const char* grey = KV_GST_CAPS("GRAY8");
constexpr std::array<Input, 2> inputs = {Input{"first", grey, false}, Input{"second", grey, false}};

}  // namespace

const MixerInfo averageElement = {
    "KvAverage",
    "kvaverage",
    "Average",
    "Filter/Editor/Video/Compositor",
    "The mean of two grey videos",
    inputs,
    grey,
    {},
    MakeMixer<Average>,
};

}  // namespace kv_gst
