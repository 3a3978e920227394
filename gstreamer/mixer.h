#pragma once

#include <gst/video/gstvideoaggregator.h>

#include <span>

#include "gstreamer/element.h"
#include "gstreamer/frames.h"
#include "gstreamer/property.h"

namespace kv_gst {

constexpr std::size_t mostInputs = 3;

/// An input of an element, by its pad's name.
struct Input {
  const char* name;
  const char* caps;
  bool isOptional;
};

/// The frames of one moment, in the order of the element's inputs; null where an optional input has no pad.
using Inputs = std::span<const GstVideoFrame* const>;

/// An element that makes one frame of several.
class Mixer : public Element {
 public:
  explicit Mixer(GstElement* object) : Element(object) {}

  /// The format of the output for the first input's.
  virtual GstVideoFormat OutputFormat(GstVideoFormat first) const = 0;
  /// One frame; the inputs have one size. False: an error was posted.
  virtual bool Work(Inputs inputs, const GstVideoFrame& out) = 0;

 protected:
  /// The first two inputs have one format; otherwise posts that they have not.
  bool HaveOneFormat(Inputs inputs, const char* first, const char* second) const {
    if (GST_VIDEO_FRAME_FORMAT(inputs[0]) == GST_VIDEO_FRAME_FORMAT(inputs[1])) return true;
    PostRefusal(std::string(first) + " is " + GST_VIDEO_INFO_NAME(&inputs[0]->info) + ", " + second + " is " +
                GST_VIDEO_INFO_NAME(&inputs[1]->info) + "; they need one format");
    return false;
  }
};

struct MixerInfo {
  const char* type;
  const char* name;
  const char* longName;
  const char* klass;
  const char* description;
  std::span<const Input> inputs;
  const char* sourceCaps;
  std::span<const Property> properties;
  Mixer* (*make)(GstElement*);
};

/// Registers an element; `info` has to stay.
bool RegisterMixer(GstPlugin* plugin, const MixerInfo& info);

template <class Class>
Mixer* MakeMixer(GstElement* object) {
  return new Class(object);
}

}  // namespace kv_gst
