#pragma once

#include "gstreamer/filter.h"

namespace kv_gst {

extern const FilterInfo convertElement;
extern const FilterInfo boxFilterElement;
extern const FilterInfo parityElement;

}  // namespace kv_gst
