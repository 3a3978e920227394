#include <array>
#include <cstring>

#include "gstreamer/elements.h"

namespace kv_gst {
namespace {

GType MethodType() {
  static const GEnumValue values[] = {
      {KV_PARITY_BLEND, "The mean of neighbouring lines: half a line, which mixes the fields; UYVY and YUY2",
       "blend"},
      {KV_PARITY_LINE, "The picture moves by a line; nothing is interpolated", "line"},
      {KV_PARITY_FIELD, "Every line from its two neighbours, of the other field", "field"},
      {0, nullptr, nullptr},
  };
  static const GType type = g_enum_register_static("KvParityMethod", values);
  return type;
}

constexpr const char* topFirst = "top-field-first";
constexpr const char* bottomFirst = "bottom-field-first";

class Parity final : public Filter {
 public:
  struct Settings {
    int method = KV_PARITY_LINE;
  };
  using Filter::Filter;

  void TransformCaps(GstPadDirection /*direction*/, GstStructure* caps) const override {
    const char* order = gst_structure_get_string(caps, "field-order");
    if (order == nullptr) return;
    const bool isTopFirst = std::strcmp(order, topFirst) == 0;
    if (!isTopFirst && std::strcmp(order, bottomFirst) != 0) return;
    gst_structure_set(caps, "field-order", G_TYPE_STRING, isTopFirst ? bottomFirst : topFirst, nullptr);
  }

  bool SetInfo(const GstVideoInfo& in, const GstVideoInfo& /*out*/, std::string& why) override {
    mode_ = GST_VIDEO_INFO_INTERLACE_MODE(&in);
    const int format = FormatOf(GST_VIDEO_INFO_FORMAT(&in));
    const bool isPacked = format == KV_FORMAT_UYVY || format == KV_FORMAT_YUY2;
    if (SettingsNow(*this).method != KV_PARITY_BLEND || isPacked) return true;
    why = std::string("method=blend is for UYVY and YUY2, not for ") + GST_VIDEO_INFO_NAME(&in) +
          "; line and field take it";
    return false;
  }

  /// A progressive frame has no field order.
  bool IsPassthrough(GstBuffer* buffer) const override {
    if (mode_ == GST_VIDEO_INTERLACE_MODE_PROGRESSIVE) return true;
    return mode_ == GST_VIDEO_INTERLACE_MODE_MIXED && buffer != nullptr &&
           !GST_BUFFER_FLAG_IS_SET(buffer, GST_VIDEO_BUFFER_FLAG_INTERLACED);
  }

  bool Work(const GstVideoFrame& in, const GstVideoFrame& out) override {
    const int method = SettingsNow(*this).method;
    const kv_frame from = ViewOf(in);
    kv_frame to = ViewOf(out);
    GST_BUFFER_FLAG_UNSET(out.buffer, GST_VIDEO_BUFFER_FLAG_TFF);
    if (from.field_order == KV_FIELDS_BOTTOM_FIRST)
      GST_BUFFER_FLAG_SET(out.buffer, GST_VIDEO_BUFFER_FLAG_TFF);
    if (method != KV_PARITY_BLEND) {
      return Succeeded(kv_change_parity(Context(), &from, &to, nullptr, method, nullptr));
    }
    // As a region: then no pixel of any width stays unwritten.
    ClearHalfPairs(to);
    kv_region* whole = nullptr;
    if (!Succeeded(kv_region_rectangle(0, 0, from.width, from.height, &whole))) return false;
    const bool isDone = Succeeded(kv_change_parity(Context(), &from, &to, whole, method, nullptr));
    kv_region_free(whole);
    return isDone;
  }

  Settings settings;  ///< under the object's lock

 private:
  GstVideoInterlaceMode mode_ = GST_VIDEO_INTERLACE_MODE_PROGRESSIVE;
};

constexpr std::array properties = {
    Choice<Parity, &Parity::Settings::method>("method", "How the picture moves to the other field order",
                                              MethodType, KV_PARITY_LINE),
};

}  // namespace

const FilterInfo parityElement = {
    "KvParity",
    "kvparity",
    "Field parity",
    "Filter/Effect/Video",
    "Turns top-field-first video into bottom-field-first and back; progressive frames pass as they are",
    KV_GST_CAPS(KV_GST_CONVERTED),
    KV_GST_CAPS(KV_GST_CONVERTED),
    properties,
    Make<Parity>,
};

}  // namespace kv_gst
