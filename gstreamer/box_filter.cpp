#include <array>
#include <cstring>

#include "gstreamer/elements.h"
#include "gstreamer/scratch.h"

namespace kv_gst {
namespace {

constexpr int luma = 1;
constexpr int chroma = 2;

GType PlanesType() {
  static const GFlagsValue values[] = {
      {luma, "Luma, or grey", "luma"}, {chroma, "Both chroma planes", "chroma"}, {0, nullptr, nullptr}};
  static const GType type = g_flags_register_static("KvBoxFilterPlanes", values);
  return type;
}

void CopyPlane(const kv_frame& from, const kv_frame& to) {
  for (int row = 0; row < from.height; ++row) {
    std::memcpy(to.planes[0] + row * to.strides[0], from.planes[0] + row * from.strides[0],
                static_cast<std::size_t>(from.width));
  }
}

/// A plane of a planar 4:2:2 frame, as grey.
kv_frame PlaneOfView(const kv_frame& frame, int plane) {
  kv_frame view;
  kv_frame_init(&view);
  view.format = KV_FORMAT_GRAY8;
  view.width = plane == 0 ? frame.width : (frame.width + 1) / 2;
  view.height = frame.height;
  view.planes[0] = frame.planes[plane];
  view.strides[0] = frame.strides[plane];
  return view;
}

class BoxFilter final : public Filter {
 public:
  struct Settings {
    int window = 9;
    int planes = luma;
  };
  using Filter::Filter;

  bool SetInfo(const GstVideoInfo& in, const GstVideoInfo& /*out*/, std::string& /*why*/) override {
    isGrey_ = GST_VIDEO_INFO_IS_GRAY(&in);
    return true;
  }

  bool IsPassthrough(GstBuffer* /*buffer*/) const override {
    const Settings now = SettingsNow(*this);
    return now.window == 1 || (now.planes & (isGrey_ ? luma : luma | chroma)) == 0;
  }

  bool Work(const GstVideoFrame& in, const GstVideoFrame& out) override {
    const Settings now = SettingsNow(*this);
    const bool isInterlaced = IsInterlaced(in);
    const int format = FormatOf(GST_VIDEO_FRAME_FORMAT(&in));
    if (format == KV_FORMAT_UYVY || format == KV_FORMAT_YUY2) {
      return WorkPacked(ViewOf(in), ViewOf(out), now, isInterlaced);
    }
    for (guint plane = 0; plane < GST_VIDEO_FRAME_N_PLANES(&in); ++plane) {
      const kv_frame from = PlaneOf(in, plane);
      const kv_frame to = PlaneOf(out, plane);
      if ((now.planes & (plane == 0 ? luma : chroma)) == 0) {
        CopyPlane(from, to);
      } else if (!FilterPlane(from, to, now.window, isInterlaced)) {
        return false;
      }
    }
    return true;
  }

  Settings settings;  ///< under the object's lock

 private:
  /// The two fields of a woven frame are pictures of two moments: each has its own means.
  bool FilterPlane(const kv_frame& from, const kv_frame& to, int window, bool isInterlaced) {
    if (!isInterlaced || from.height == 1) return FilterRows(from, to, window);
    return FilterRows(FieldOf(from, 0), FieldOf(to, 0), window) &&
           FilterRows(FieldOf(from, 1), FieldOf(to, 1), window);
  }
  bool FilterRows(const kv_frame& from, kv_frame to, int window) {
    return Succeeded(kv_box_filter(Context(), &from, &to, nullptr, window, nullptr));
  }

  bool WorkPacked(const kv_frame& in, kv_frame out, const Settings& now, bool isInterlaced) {
    if (!Succeeded(source_.Resize(KV_FORMAT_I422, in.width, in.height)) ||
        !Succeeded(result_.Resize(KV_FORMAT_I422, in.width, in.height))) {
      return false;
    }
    kv_frame from = source_.View();
    kv_frame to = result_.View();
    if (!Succeeded(kv_convert(Context(), &in, &from, nullptr, nullptr))) return false;
    for (int plane = 0; plane < 3; ++plane) {
      if ((now.planes & (plane == 0 ? luma : chroma)) == 0) {
        to.planes[plane] = from.planes[plane];
        to.strides[plane] = from.strides[plane];
      } else if (!FilterPlane(PlaneOfView(from, plane), PlaneOfView(to, plane), now.window, isInterlaced)) {
        return false;
      }
    }
    return Succeeded(kv_convert(Context(), &to, &out, nullptr, nullptr));
  }

  // The planes of a packed frame, and what becomes of them.
  ScratchFrame source_;
  ScratchFrame result_;
  bool isGrey_ = false;
};

constexpr std::array properties = {
    Integer<BoxFilter, &BoxFilter::Settings::window>("window",
                                                     "Side of the square whose mean a sample becomes, in "
                                                     "samples of its plane and field; 1 changes nothing",
                                                     1, 255, 9),
    Flags<BoxFilter, &BoxFilter::Settings::planes>("planes", "What is filtered; the rest is copied",
                                                   PlanesType, luma),
};

constexpr const char* caps = KV_GST_CAPS("{ GRAY8, Y42B, UYVY, YUY2, I420, YV12, Y444, Y41B }");

}  // namespace

const FilterInfo boxFilterElement = {
    "KvBoxFilter",
    "kvboxfilter",
    "Box filter",
    "Filter/Effect/Video",
    "Mean over a square window, with the same cost for every size; the fields of woven frames each on their "
    "own",
    caps,
    caps,
    properties,
    Make<BoxFilter>,
};

}  // namespace kv_gst
