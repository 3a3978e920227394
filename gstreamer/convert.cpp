#include <array>
#include <cstring>

#include "gstreamer/elements.h"

namespace kv_gst {
namespace {

GType ResampleType() {
  static const GEnumValue values[] = {
      {KV_RESAMPLE_LINEAR, "Chroma is interpolated between samples", "linear"},
      {KV_RESAMPLE_NEAREST, "Every pixel has the chroma of the nearest sample", "nearest"},
      {0, nullptr, nullptr},
  };
  static const GType type = g_enum_register_static("KvConvertResample", values);
  return type;
}

/// What an input becomes when it cannot stay what it is, the first that downstream takes.
const char* PreferredFormats(const GstVideoFormatInfo* input) {
  if (GST_VIDEO_FORMAT_INFO_IS_YUV(input)) return "UYVY YUY2 Y42B BGRx RGBx BGRA RGBA BGR RGB GRAY8";
  if (GST_VIDEO_FORMAT_INFO_IS_GRAY(input)) return "BGRx RGBx BGRA RGBA BGR RGB UYVY YUY2 Y42B GRAY8";
  if (GST_VIDEO_FORMAT_INFO_HAS_ALPHA(input)) return "BGRA RGBA BGRx RGBx BGR RGB UYVY YUY2 Y42B GRAY8";
  return "BGRx RGBx BGR RGB BGRA RGBA UYVY YUY2 Y42B GRAY8";
}

GstCaps* OfFormat(const GstCaps* caps, const char* format) {
  GstCaps* one = gst_caps_new_simple("video/x-raw", "format", G_TYPE_STRING, format, nullptr);
  GstCaps* result = gst_caps_intersect(one, const_cast<GstCaps*>(caps));
  gst_caps_unref(one);
  return result;
}

/// Sets a field of `to` as it is in `from`, if `to` leaves the choice.
void Prefer(const GstStructure* from, GstStructure* to, const char* field) {
  const GValue* wanted = gst_structure_get_value(from, field);
  if (wanted == nullptr) return;
  const GValue* allowed = gst_structure_get_value(to, field);
  if (allowed == nullptr || gst_value_intersect(nullptr, allowed, wanted) != FALSE) {
    gst_structure_set_value(to, field, wanted);
  }
}

class Convert final : public Filter {
 public:
  struct Settings {
    int resample = KV_RESAMPLE_LINEAR;
    int isExactCopy = 0;
  };
  using Filter::Filter;

  void TransformCaps(GstPadDirection /*direction*/, GstStructure* caps) const override {
    gst_structure_remove_fields(caps, "format", "colorimetry", "chroma-site", nullptr);
  }

  GstCaps* FixateCaps(GstPadDirection /*direction*/, GstCaps* caps, GstCaps* others) const override {
    GstVideoInfo info;
    if (gst_video_info_from_caps(&info, caps) == FALSE) return gst_caps_fixate(others);
    GstCaps* chosen = OfFormat(others, GST_VIDEO_INFO_NAME(&info));
    gchar** formats = g_strsplit(PreferredFormats(info.finfo), " ", 0);
    for (gchar** format = formats; gst_caps_is_empty(chosen) != FALSE && *format != nullptr; ++format) {
      gst_caps_unref(chosen);
      chosen = OfFormat(others, *format);
    }
    g_strfreev(formats);
    gst_caps_unref(others);
    if (gst_caps_is_empty(chosen) != FALSE) return chosen;
    chosen = gst_caps_make_writable(gst_caps_truncate(chosen));
    GstStructure* structure = gst_caps_get_structure(chosen, 0);
    const GstVideoFormatInfo* output = gst_video_format_get_info(
        gst_video_format_from_string(gst_structure_get_string(structure, "format")));
    // Colours of one language stay as they are.
    constexpr unsigned languages =
        GST_VIDEO_FORMAT_FLAG_YUV | GST_VIDEO_FORMAT_FLAG_RGB | GST_VIDEO_FORMAT_FLAG_GRAY;
    if (((info.finfo->flags ^ output->flags) & languages) == 0) {
      const GstStructure* input = gst_caps_get_structure(caps, 0);
      Prefer(input, structure, "colorimetry");
      Prefer(input, structure, "chroma-site");
    }
    return gst_caps_fixate(chosen);
  }

  bool SetInfo(const GstVideoInfo& in, const GstVideoInfo& out, std::string& why) override {
    kv_frame_init(&from_);
    kv_frame_init(&to_);
    if (!ColoursOf(in, from_, why) || !ColoursOf(out, to_, why)) return false;
    from_.format = FormatOf(GST_VIDEO_INFO_FORMAT(&in));
    to_.format = FormatOf(GST_VIDEO_INFO_FORMAT(&out));
    const bool isSameColours =
        !GST_VIDEO_INFO_IS_YUV(&in) ||
        (from_.matrix == to_.matrix && from_.range == to_.range && from_.chroma == to_.chroma);
    changesNothing_ = from_.format == to_.format && isSameColours;
    return true;
  }

  bool IsPassthrough(GstBuffer* /*buffer*/) const override { return changesNothing_; }
  bool KeepsColours() const override { return false; }

  bool Work(const GstVideoFrame& in, const GstVideoFrame& out) override {
    const Settings now = SettingsNow(*this);
    kv_frame from = WithColours(ViewOf(in), from_);
    kv_frame to = WithColours(ViewOf(out), to_);
    if (now.isExactCopy != 0) {
      NameForCopies(from);
      NameForCopies(to);
      Clear(to);
      return Succeeded(kv_copy(Context(), &from, &to, nullptr));
    }
    kv_convert_options options;
    kv_convert_options_init(&options);
    options.resample = now.resample;
    return Succeeded(kv_convert(Context(), &from, &to, &options, nullptr));
  }

  Settings settings;  ///< under the object's lock

 private:
  static kv_frame WithColours(kv_frame view, const kv_frame& colours) {
    view.matrix = colours.matrix;
    view.range = colours.range;
    view.chroma = colours.chroma;
    return view;
  }

  /// The exact copies know planar 4:2:2 by the family's own name.
  static void NameForCopies(kv_frame& view) {
    if (view.format == KV_FORMAT_I422) view.format = KV_FORMAT_YUV411P;
  }

  /// The exact copies leave some last pixels as they were; in a pool's buffers those are of an older frame.
  static void Clear(const kv_frame& frame) {
    int planes = 0;
    kv_format_planes(frame.format, &planes);
    for (int plane = 0; plane < planes; ++plane) {
      std::int64_t bytes = 0;
      kv_format_row_bytes(frame.format, plane, frame.width, &bytes);
      for (int row = 0; row < frame.height; ++row) {
        std::memset(frame.planes[plane] + row * frame.strides[plane], 0, static_cast<std::size_t>(bytes));
      }
    }
  }

  kv_frame from_ = {};
  kv_frame to_ = {};
  bool changesNothing_ = false;
};

constexpr std::array properties = {
    Choice<Convert, &Convert::Settings::resample>(
        "resample", "How chroma moves between the positions of samples and of pixels", ResampleType,
        KV_RESAMPLE_LINEAR),
    Switch<Convert, &Convert::Settings::isExactCopy>("exact-copy",
                                                     "The family's exact copies, with their own rounding; "
                                                     "the matrix and range of the caps do not count, and "
                                                     "pixels that a copy leaves unwritten are 0",
                                                     false),
};

}  // namespace

const FilterInfo convertElement = {
    "KvConvert",
    "kvconvert",
    "Packed 4:2:2 converter",
    "Filter/Converter/Video/Colorspace",
    "Converts between 4:2:2 video, bitmaps and grey, by matrix, range and chroma position of the caps",
    KV_GST_CAPS(KV_GST_CONVERTED),
    KV_GST_CAPS(KV_GST_CONVERTED),
    properties,
    Make<Convert>,
};

}  // namespace kv_gst
