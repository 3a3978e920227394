#include "gstreamer/frames.h"

#include <cstring>

namespace kv_gst {
namespace {

/// What caps hold, which may be a number that the enumeration does not have.
template <class Enumeration>
int NumberIn(const Enumeration& value) {
  int number = 0;
  static_assert(sizeof(number) == sizeof(value));
  std::memcpy(&number, &value, sizeof(number));
  return number;
}

}  // namespace

int FormatOf(GstVideoFormat format) {
  switch (format) {
    case GST_VIDEO_FORMAT_UYVY:
      return KV_FORMAT_UYVY;
    case GST_VIDEO_FORMAT_YUY2:
      return KV_FORMAT_YUY2;
    case GST_VIDEO_FORMAT_Y42B:
      return KV_FORMAT_I422;
    case GST_VIDEO_FORMAT_GRAY8:
      return KV_FORMAT_GRAY8;
    case GST_VIDEO_FORMAT_BGR:
      return KV_FORMAT_BGR24;
    case GST_VIDEO_FORMAT_RGB:
      return KV_FORMAT_RGB24;
    case GST_VIDEO_FORMAT_BGRA:
      return KV_FORMAT_BGRA32;
    case GST_VIDEO_FORMAT_RGBA:
      return KV_FORMAT_RGBA32;
    case GST_VIDEO_FORMAT_BGRx:
      return KV_FORMAT_BGRX32;
    case GST_VIDEO_FORMAT_RGBx:
      return KV_FORMAT_RGBX32;
    default:
      return 0;
  }
}

bool ColoursOf(const GstVideoInfo& info, kv_frame& view, std::string& why) {
  const GstVideoColorimetry& colours = GST_VIDEO_INFO_COLORIMETRY(&info);
  const int range = NumberIn(colours.range);
  if (!GST_VIDEO_INFO_IS_YUV(&info)) {
    if (range == GST_VIDEO_COLOR_RANGE_16_235) {
      why = std::string(GST_VIDEO_INFO_NAME(&info)) +
            " has the range 16 to 235 in its colorimetry; bitmaps and grey frames have 0 to 255 here";
      return false;
    }
    view.range = KV_RANGE_FULL;
  } else {
    view.range = range == GST_VIDEO_COLOR_RANGE_0_255 ? KV_RANGE_FULL : KV_RANGE_LIMITED;
    view.chroma = (GST_VIDEO_INFO_CHROMA_SITE(&info) & GST_VIDEO_CHROMA_SITE_H_COSITED) != 0
                      ? KV_CHROMA_LEFT
                      : KV_CHROMA_CENTRE;
  }
  switch (NumberIn(colours.matrix)) {
    case GST_VIDEO_COLOR_MATRIX_BT601:
      view.matrix = KV_MATRIX_BT601;
      return true;
    case GST_VIDEO_COLOR_MATRIX_BT709:
      view.matrix = KV_MATRIX_BT709;
      return true;
    case GST_VIDEO_COLOR_MATRIX_BT2020:
      view.matrix = KV_MATRIX_BT2020;
      return true;
    case GST_VIDEO_COLOR_MATRIX_UNKNOWN:
      view.matrix = KV_MATRIX_DEFAULT;
      return true;
    case GST_VIDEO_COLOR_MATRIX_RGB:
      if (!GST_VIDEO_INFO_IS_YUV(&info)) return true;
      break;
    default:
      break;
  }
  why = std::string("the matrix of the ") + GST_VIDEO_INFO_NAME(&info) +
        " caps' colorimetry is none of bt601, bt709 and bt2020";
  return false;
}

bool HasWholeFrames(const GstVideoInfo& info, std::string& why) {
  const GstVideoInterlaceMode mode = GST_VIDEO_INFO_INTERLACE_MODE(&info);
  if (mode != GST_VIDEO_INTERLACE_MODE_FIELDS && mode != GST_VIDEO_INTERLACE_MODE_ALTERNATE) return true;
  why = std::string("interlace-mode is ") + gst_video_interlace_mode_to_string(mode) +
        "; it has to be progressive, interleaved or mixed: whole frames";
  return false;
}

kv_frame ViewOf(const GstVideoFrame& frame) {
  kv_frame view;
  kv_frame_init(&view);
  view.format = FormatOf(GST_VIDEO_FRAME_FORMAT(&frame));
  view.width = GST_VIDEO_FRAME_WIDTH(&frame);
  view.height = GST_VIDEO_FRAME_HEIGHT(&frame);
  for (guint plane = 0; plane < GST_VIDEO_FRAME_N_PLANES(&frame); ++plane) {
    view.planes[plane] = static_cast<std::uint8_t*>(GST_VIDEO_FRAME_PLANE_DATA(&frame, plane));
    view.strides[plane] = GST_VIDEO_FRAME_PLANE_STRIDE(&frame, plane);
  }
  if (IsInterlaced(frame)) {
    view.field_order = GST_VIDEO_FRAME_IS_TFF(&frame) ? KV_FIELDS_TOP_FIRST : KV_FIELDS_BOTTOM_FIRST;
  }
  return view;
}

kv_frame PlaneOf(const GstVideoFrame& frame, guint plane) {
  kv_frame view;
  kv_frame_init(&view);
  view.format = KV_FORMAT_GRAY8;
  view.planes[0] = static_cast<std::uint8_t*>(GST_VIDEO_FRAME_PLANE_DATA(&frame, plane));
  view.strides[0] = GST_VIDEO_FRAME_PLANE_STRIDE(&frame, plane);
  // The component whose plane it is: V and U of YV12 have changed places.
  for (guint component = 0; component < GST_VIDEO_FRAME_N_COMPONENTS(&frame); ++component) {
    if (GST_VIDEO_FRAME_COMP_PLANE(&frame, component) != plane) continue;
    view.width = GST_VIDEO_FRAME_COMP_WIDTH(&frame, component);
    view.height = GST_VIDEO_FRAME_COMP_HEIGHT(&frame, component);
  }
  return view;
}

kv_frame FieldOf(const kv_frame& frame, int field) {
  kv_frame view = frame;
  view.height = (frame.height + 1 - field) / 2;
  for (int plane = 0; plane < 4; ++plane) {
    if (view.planes[plane] == nullptr) continue;
    view.planes[plane] += field * frame.strides[plane];
    view.strides[plane] = 2 * frame.strides[plane];
  }
  return view;
}

bool IsInterlaced(const GstVideoFrame& frame) {
  return GST_VIDEO_INFO_INTERLACE_MODE(&frame.info) == GST_VIDEO_INTERLACE_MODE_MIXED
             ? GST_VIDEO_FRAME_IS_INTERLACED(&frame)
             : GST_VIDEO_INFO_IS_INTERLACED(&frame.info);
}

void ClearHalfPairs(const kv_frame& frame) {
  if (frame.width % 2 == 0) return;
  for (int row = 0; row < frame.height; ++row) {
    std::memset(frame.planes[0] + row * frame.strides[0] + 2 * (frame.width - 1), 0, 4);
  }
}

}  // namespace kv_gst
