#include <array>
#include <cstring>

#include "gstreamer/elements.h"
#include "gstreamer/scratch.h"

namespace kv_gst {
namespace {

enum Output { mask, bgra };

GType OutputType() {
  static const GEnumValue values[] = {
      {mask, "The mask, GRAY8: 255 where the picture is to be seen", "mask"},
      {bgra, "The picture as BGRA whose alpha is the mask", "bgra"},
      {0, nullptr, nullptr},
  };
  static const GType type = g_enum_register_static("KvAlphaColorOutput", values);
  return type;
}

class AlphaColor final : public Mixer {
 public:
  struct Settings {
    int cb = 54;
    int cr = 34;
    int low = 130;
    int high = 255;
    int window = 1;
    int output = mask;
  };
  using Mixer::Mixer;

  GstVideoFormat OutputFormat(GstVideoFormat /*first*/) const override {
    return SettingsNow(*this).output == bgra ? GST_VIDEO_FORMAT_BGRA : GST_VIDEO_FORMAT_GRAY8;
  }

  bool Work(Inputs inputs, const GstVideoFrame& out) override {
    const Settings now = SettingsNow(*this);
    kv_frame picture = ViewOf(*inputs[0]);
    std::string why;
    if (!ColoursOf(inputs[0]->info, picture, why)) {
      PostRefusal(why);
      return false;
    }
    kv_frame plate;
    if (inputs[1] != nullptr) {
      if (!HaveOneFormat(inputs, "sink", "plate")) return false;
      plate = ViewOf(*inputs[1]);
    } else if (Paint(picture, now)) {
      plate = coloured_.View();
    } else {
      return false;
    }
    kv_frame to = ViewOf(out);
    if (to.format == KV_FORMAT_GRAY8) return Key(picture, plate, to, now, IsInterlaced(*inputs[0]));
    if (!Succeeded(keyed_.Resize(KV_FORMAT_GRAY8, to.width, to.height))) return false;
    const kv_frame alpha = keyed_.View();
    if (!Key(picture, plate, alpha, now, IsInterlaced(*inputs[0]))) return false;
    picture.format = picture.format == KV_FORMAT_UYVY ? KV_FORMAT_UYVYA : KV_FORMAT_YUY2A;
    picture.planes[1] = alpha.planes[0];
    picture.strides[1] = alpha.strides[0];
    return Succeeded(kv_convert(Context(), &picture, &to, nullptr, nullptr));
  }

  Settings settings;  ///< under the object's lock

 private:
  /// A plate of one colour.
  bool Paint(const kv_frame& like, const Settings& now) {
    if (coloured_.Has(like.format, like.width, like.height) && cb_ == now.cb && cr_ == now.cr) return true;
    if (!Succeeded(coloured_.Resize(like.format, like.width, like.height))) return false;
    cb_ = now.cb;
    cr_ = now.cr;
    const kv_frame plate = coloured_.View();
    const int first = plate.format == KV_FORMAT_UYVY ? 0 : 1;
    for (int row = 0; row < plate.height; ++row) {
      std::uint8_t* pair = plate.planes[0] + row * plate.strides[0] + first;
      for (int x = 0; x < plate.width; x += 2, pair += 4) {
        pair[0] = static_cast<std::uint8_t>(cb_);
        pair[2] = static_cast<std::uint8_t>(cr_);
      }
    }
    return true;
  }

  bool Key(const kv_frame& picture, const kv_frame& plate, const kv_frame& to, const Settings& now,
           bool isInterlaced) {
    if (now.low >= now.high) {
      PostRefusal("low is " + std::to_string(now.low) + ", high is " + std::to_string(now.high) +
                  "; low has to be below high");
      return false;
    }
    if (!Succeeded(raw_.Resize(KV_FORMAT_GRAY8, to.width, to.height))) return false;
    kv_frame raw = raw_.View();
    kv_levels_options levels;
    kv_levels_options_init(&levels);
    levels.low = now.low;
    levels.high = now.high;
    levels.is_inverted = 1;
    kv_frame result = to;
    kv_frame& leveled = now.window > 1 ? raw : result;
    if (!Succeeded(kv_alpha_from_color(Context(), &picture, &plate, &raw, nullptr, 1, nullptr)) ||
        !Succeeded(kv_mask_levels(Context(), &raw, &leveled, nullptr, &levels, nullptr))) {
      return false;
    }
    return now.window == 1 || Smooth(raw, to, now.window, isInterlaced);
  }

  /// The two fields of a woven frame each on their own.
  bool Smooth(const kv_frame& from, const kv_frame& to, int window, bool isInterlaced) {
    const int fields = isInterlaced && from.height > 1 ? 2 : 1;
    for (int field = 0; field < fields; ++field) {
      const kv_frame source = fields == 2 ? FieldOf(from, field) : from;
      kv_frame destination = fields == 2 ? FieldOf(to, field) : to;
      if (!Succeeded(kv_box_filter(Context(), &source, &destination, nullptr, window, nullptr))) return false;
    }
    return true;
  }

  ScratchFrame coloured_;
  ScratchFrame raw_;
  ScratchFrame keyed_;
  int cb_ = -1;
  int cr_ = -1;
};

constexpr std::array properties = {
    Integer<AlphaColor, &AlphaColor::Settings::cb>("cb",
                                                   "Cb of the colour that is keyed out when nothing is "
                                                   "linked to the pad plate; default: green of BT.601",
                                                   0, 255, 54),
    Integer<AlphaColor, &AlphaColor::Settings::cr>("cr", "Cr of that colour", 0, 255, 34),
    Integer<AlphaColor, &AlphaColor::Settings::low>(
        "low", "Likeness, 255 for equal colours, up to which the picture is all seen", 0, 254, 130),
    Integer<AlphaColor, &AlphaColor::Settings::high>(
        "high", "Likeness from which nothing of the picture is seen; above low", 1, 255, 255),
    Integer<AlphaColor, &AlphaColor::Settings::window>(
        "window", "Side of the box that smooths the mask, in pixels of a field or frame; 1 leaves it", 1, 255,
        1),
    CapsChoice<AlphaColor, &AlphaColor::Settings::output>("output", "What goes out", OutputType, mask),
};

constexpr const char* packed = KV_GST_CAPS("{ " KV_GST_PACKED " }");
constexpr std::array<Input, 2> inputs = {Input{"sink", packed, false}, Input{"plate", packed, true}};

}  // namespace

const MixerInfo alphaColorElement = {
    "KvAlphaColor",
    "kvalphacolor",
    "Key by colour",
    "Filter/Effect/Video",
    "A mask, or alpha, where a picture differs in colour from a clean plate or from one colour",
    inputs,
    KV_GST_CAPS("{ GRAY8, BGRA }"),
    properties,
    MakeMixer<AlphaColor>,
};

}  // namespace kv_gst
