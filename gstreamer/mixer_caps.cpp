#include "gstreamer/mixer_object.h"

namespace kv_gst {
namespace {

/// The first input that has caps.
const GstVideoInfo* FirstInfo(const Pads& pads, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) {
    if (pads[i] != nullptr && GST_VIDEO_INFO_WIDTH(&pads[i]->info) > 0) return &pads[i]->info;
  }
  return nullptr;
}

}  // namespace

GstCaps* UpdateMixerCaps(GstVideoAggregator* object, GstCaps* caps) {
  const Pads pads(object);
  const GstVideoInfo* first = FirstInfo(pads, InfoOf(object).inputs.size());
  if (first == nullptr) return gst_caps_ref(caps);
  const Mixer& mixer = MixerOf(object);
  std::string why;
  if (!HasWholeFrames(*first, why)) {
    mixer.PostRefusal(why);
    return gst_caps_new_empty();
  }
  GstVideoInfo info;
  const GstVideoFormat format = mixer.OutputFormat(GST_VIDEO_INFO_FORMAT(first));
  gst_video_info_set_interlaced_format(&info, format, GST_VIDEO_INFO_INTERLACE_MODE(first),
                                       static_cast<guint>(GST_VIDEO_INFO_WIDTH(first)),
                                       static_cast<guint>(GST_VIDEO_INFO_HEIGHT(first)));
  info.par_n = GST_VIDEO_INFO_PAR_N(first);
  info.par_d = GST_VIDEO_INFO_PAR_D(first);
  GST_VIDEO_INFO_FIELD_ORDER(&info) = GST_VIDEO_INFO_FIELD_ORDER(first);
  if (format == GST_VIDEO_INFO_FORMAT(first)) {
    info.colorimetry = GST_VIDEO_INFO_COLORIMETRY(first);
    info.chroma_site = GST_VIDEO_INFO_CHROMA_SITE(first);
  }
  GstCaps* own = gst_video_info_to_caps(&info);
  gst_structure_remove_field(gst_caps_get_structure(own, 0), "framerate");
  GstCaps* result = gst_caps_intersect_full(caps, own, GST_CAPS_INTERSECT_FIRST);
  gst_caps_unref(own);
  return result;
}

GstCaps* FixateMixerCaps(GstAggregator* object, GstCaps* caps) {
  int numerator = 0;
  int denominator = 1;
  const Pads pads(object);
  for (std::size_t i = 0; i < InfoOf(object).inputs.size(); ++i) {
    if (pads[i] == nullptr || GST_VIDEO_INFO_WIDTH(&pads[i]->info) == 0) continue;
    const int n = GST_VIDEO_INFO_FPS_N(&pads[i]->info);
    const int d = GST_VIDEO_INFO_FPS_D(&pads[i]->info);
    if (gst_util_fraction_compare(n, d, numerator, denominator) > 0) {
      numerator = n;
      denominator = d;
    }
  }
  if (numerator == 0) numerator = 25;
  GstCaps* one = gst_caps_make_writable(gst_caps_truncate(caps));
  gst_structure_fixate_field_nearest_fraction(gst_caps_get_structure(one, 0), "framerate", numerator,
                                              denominator);
  return gst_caps_fixate(one);
}

bool AnswerMixerQuery(GstAggregatorPad* pad, GstQuery* query) {
  const GstQueryType type = GST_QUERY_TYPE(query);
  if (type != GST_QUERY_CAPS && type != GST_QUERY_ACCEPT_CAPS) return false;
  GstCaps* own = gst_pad_get_pad_template_caps(GST_PAD(pad));
  GstCaps* other = nullptr;
  if (type == GST_QUERY_CAPS) {
    gst_query_parse_caps(query, &other);
    GstCaps* result =
        other != nullptr ? gst_caps_intersect_full(other, own, GST_CAPS_INTERSECT_FIRST) : gst_caps_ref(own);
    gst_query_set_caps_result(query, result);
    gst_caps_unref(result);
  } else {
    gst_query_parse_accept_caps(query, &other);
    gst_query_set_accept_caps_result(query, gst_caps_is_subset(other, own));
  }
  gst_caps_unref(own);
  return true;
}

}  // namespace kv_gst
