#pragma once

#include "gstreamer/filter.h"
#include "gstreamer/mixer.h"

namespace kv_gst {

extern const FilterInfo convertElement;
extern const FilterInfo boxFilterElement;
extern const FilterInfo panElement;
extern const FilterInfo parityElement;
extern const FilterInfo trackElement;
extern const MixerInfo alphaColorElement;
extern const MixerInfo averageElement;
extern const MixerInfo blendElement;
extern const MixerInfo differenceElement;

}  // namespace kv_gst
