#pragma once

#include <gst/video/video.h>

#include <string>

#include "kv/kv.h"

/// The caps of the elements, each list of formats once. Sizes are those of the C interface.
#define KV_GST_CAPS(formats)             \
  "video/x-raw, format=(string)" formats \
  ", width=(int)[ 1, 1048576 ], height=(int)[ 1, 1048576 ], framerate=(fraction)[ 0, max ]"
#define KV_GST_PACKED "UYVY, YUY2"
#define KV_GST_CONVERTED "{ " KV_GST_PACKED ", Y42B, BGRx, BGRA, RGBx, RGBA, BGR, RGB, GRAY8 }"

namespace kv_gst {

/// The KV_FORMAT_… of a format in KV_GST_CONVERTED; 0 for any other.
int FormatOf(GstVideoFormat format);

/// What the caps say of YUV numbers, as a kv_frame has it. False: `why` says what is wrong and what would be right.
bool ColoursOf(const GstVideoInfo& info, kv_frame& view, std::string& why);
/// Whether frames of these caps are woven or progressive. False: they are single fields, and `why` says so.
bool HasWholeFrames(const GstVideoInfo& info, std::string& why);

/// A mapped frame as the C interface sees it, without colours. Its format is in KV_GST_CONVERTED.
kv_frame ViewOf(const GstVideoFrame& frame);
/// One plane of planar or grey samples, as grey.
kv_frame PlaneOf(const GstVideoFrame& frame, guint plane);
/// The rows of one field of a woven frame, 0 the upper; a frame of one row has no lower one.
kv_frame FieldOf(const kv_frame& frame, int field);
bool IsInterlaced(const GstVideoFrame& frame);
/// Sets the last pairs of rows of packed 4:2:2 with an odd width to 0: operations leave the luma that is no pixel as it
/// was, which in a pool's buffer is anything.
void ClearHalfPairs(const kv_frame& frame);

}  // namespace kv_gst
