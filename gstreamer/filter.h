#pragma once

#include <gst/video/gstvideofilter.h>

#include <span>

#include "gstreamer/element.h"
#include "gstreamer/frames.h"
#include "gstreamer/property.h"

namespace kv_gst {

/// An element with one input and one output, a frame for each frame.
class Filter : public Element {
 public:
  explicit Filter(GstElement* object) : Element(object) {}

  /// The caps of the other side for one structure of this side's.
  virtual void TransformCaps(GstPadDirection /*direction*/, GstStructure* /*caps*/) const {}
  /// One of `others` for the fixed `caps`. Takes `others`.
  virtual GstCaps* FixateCaps(GstPadDirection /*direction*/, GstCaps* /*caps*/, GstCaps* others) const {
    return gst_caps_fixate(others);
  }
  /// New caps. False: they are refused, as `why` says.
  virtual bool SetInfo(const GstVideoInfo& /*in*/, const GstVideoInfo& /*out*/, std::string& /*why*/) {
    return true;
  }
  /// Whether a buffer passes as it is, by the properties of now; null: whether any of these caps does.
  virtual bool IsPassthrough(GstBuffer* /*buffer*/) const { return false; }
  /// One frame; the output buffer has the input's flags and timestamps. False: an error was posted.
  virtual bool Work(const GstVideoFrame& in, const GstVideoFrame& out) = 0;
  /// Nothing that was seen before counts any more: new caps, or a flush.
  virtual void Reset() {}
  /// Whether metas about colours are still right for the output.
  virtual bool KeepsColours() const { return true; }
};

struct FilterInfo {
  const char* type;
  const char* name;
  const char* longName;
  const char* klass;
  const char* description;
  const char* sinkCaps;
  const char* sourceCaps;
  std::span<const Property> properties;
  Filter* (*make)(GstElement*);
  /// Frames go out as they came in: Work has one frame twice, and changes no byte of it.
  bool isInPlace = false;
};

/// Registers an element; `info` has to stay.
bool RegisterFilter(GstPlugin* plugin, const FilterInfo& info);

template <class Class>
Filter* Make(GstElement* object) {
  return new Class(object);
}

}  // namespace kv_gst
