#pragma once

#include <array>

#include "gstreamer/mixer.h"

/// What the sources of the mixers' base share.
namespace kv_gst {

struct MixerObject {
  GstVideoAggregator parent;
  Mixer* mixer;
};
struct MixerClass {
  GstVideoAggregatorClass parent;
  const MixerInfo* info;
};

inline Mixer& MixerOf(gpointer object) {
  return *static_cast<MixerObject*>(object)->mixer;
}
inline const MixerInfo& InfoOf(gpointer object) {
  return *reinterpret_cast<MixerClass*>(G_OBJECT_GET_CLASS(object))->info;
}

/// The pad of an input; null when nobody asked for it. A new reference.
inline GstVideoAggregatorPad* PadOf(gpointer object, const Input& input) {
  GstPad* pad = gst_element_get_static_pad(GST_ELEMENT(object), input.name);
  return pad != nullptr ? GST_VIDEO_AGGREGATOR_PAD(pad) : nullptr;
}

/// The pads of all inputs, for as long as it lives.
class Pads {
 public:
  explicit Pads(gpointer object) {
    const auto& inputs = InfoOf(object).inputs;
    for (std::size_t i = 0; i < inputs.size(); ++i) pads_[i] = PadOf(object, inputs[i]);
  }
  Pads(const Pads&) = delete;
  Pads& operator=(const Pads&) = delete;
  ~Pads() {
    for (GstVideoAggregatorPad* pad : pads_) {
      if (pad != nullptr) gst_object_unref(pad);
    }
  }
  GstVideoAggregatorPad* operator[](std::size_t index) const { return pads_[index]; }

 private:
  std::array<GstVideoAggregatorPad*, mostInputs> pads_ = {};
};

/// What the inputs decide of the output: all but its rate.
GstCaps* UpdateMixerCaps(GstVideoAggregator* object, GstCaps* caps);
/// The highest rate of the inputs.
GstCaps* FixateMixerCaps(GstAggregator* object, GstCaps* caps);
/// Whether the caps query of a sink was answered: GstVideoAggregator would answer with the formats of the output, which
/// an input need not have.
bool AnswerMixerQuery(GstAggregatorPad* pad, GstQuery* query);

}  // namespace kv_gst
