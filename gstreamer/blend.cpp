#include <array>

#include "gstreamer/elements.h"

namespace kv_gst {
namespace {

enum Mode { linear, boost };

GType ModeType() {
  static const GEnumValue values[] = {
      {linear, "The weight is the mask alone", "linear"},
      {boost,
       "The weight rises where the background is brighter; UYVY and YUY2, widths that are multiples of 4",
       "boost"},
      {0, nullptr, nullptr},
  };
  static const GType type = g_enum_register_static("KvBlendMode", values);
  return type;
}

class Blend final : public Mixer {
 public:
  struct Settings {
    int mode = linear;
  };
  using Mixer::Mixer;

  GstVideoFormat OutputFormat(GstVideoFormat first) const override { return first; }

  bool Work(Inputs inputs, const GstVideoFrame& out) override {
    if (!HaveOneFormat(inputs, "background", "foreground")) return false;
    const kv_frame background = ViewOf(*inputs[0]);
    const kv_frame foreground = ViewOf(*inputs[1]);
    const kv_frame mask = ViewOf(*inputs[2]);
    kv_frame to = ViewOf(out);
    const bool isBoost = SettingsNow(*this).mode == boost;
    if (isBoost && (to.width % 4 != 0 || to.format == KV_FORMAT_I422)) {
      PostRefusal("mode=boost is for UYVY and YUY2 of a width that is a multiple of 4, not for " +
                  std::string(GST_VIDEO_INFO_NAME(&out.info)) + " of width " + std::to_string(to.width) +
                  "; mode=linear takes it");
      return false;
    }
    const auto call = isBoost ? kv_blend : kv_composite;
    return Succeeded(call(Context(), &foreground, &background, &mask, &to, nullptr, nullptr));
  }

  Settings settings;  ///< under the object's lock
};

constexpr std::array properties = {
    Choice<Blend, &Blend::Settings::mode>("mode", "What the weight of the foreground is", ModeType, linear),
};

constexpr const char* pictures = KV_GST_CAPS("{ " KV_GST_PACKED ", Y42B }");
constexpr std::array<Input, 3> inputs = {Input{"background", pictures, false},
                                         Input{"foreground", pictures, false},
                                         Input{"mask", KV_GST_CAPS("GRAY8"), false}};

}  // namespace

const MixerInfo blendElement = {
    "KvBlend",
    "kvblend",
    "Blend under a mask",
    "Filter/Editor/Video/Compositor",
    "Puts a foreground over a background of the same format and size, as a grey video says: 255 is all "
    "foreground",
    inputs,
    pictures,
    properties,
    MakeMixer<Blend>,
};

}  // namespace kv_gst
