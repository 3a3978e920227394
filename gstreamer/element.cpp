#include "gstreamer/element.h"

#include <gst/video/video.h>

#include <string_view>

namespace kv_gst {

kv_context* Element::Context() {
  Common wanted;
  {
    const ElementLock lock(*this);
    wanted = common;
  }
  if (context_ != nullptr && wanted == used_) return context_;
  DropContext();
  kv_context_options options;
  kv_context_options_init(&options);
  options.threads = wanted.threads;
  options.member = wanted.member.empty() ? nullptr : wanted.member.c_str();
  if (!Succeeded(kv_context_new(&options, &context_))) return nullptr;
  used_ = wanted;
  return context_;
}

void Element::DropContext() {
  kv_context_free(context_);
  context_ = nullptr;
}

bool Element::Succeeded(kv_status status) const {
  if (status == KV_OK) return true;
  const char* text = kv_last_error();
  switch (status) {
    case KV_NO_MEMBER:
      GST_ELEMENT_ERROR(object_, RESOURCE, NOT_FOUND, ("%s", text), (nullptr));
      break;
    case KV_OUT_OF_MEMORY:
      GST_ELEMENT_ERROR(object_, RESOURCE, NO_SPACE_LEFT, ("%s", text), (nullptr));
      break;
    case KV_UNSUPPORTED:
      GST_ELEMENT_ERROR(object_, STREAM, FORMAT, ("%s", text), (nullptr));
      break;
    default:
      GST_ELEMENT_ERROR(object_, STREAM, FAILED, ("%s", text), (nullptr));
      break;
  }
  return false;
}

void Element::PostRefusal(const std::string& text) const {
  GST_ELEMENT_ERROR(object_, STREAM, FORMAT, ("%s", text.c_str()), (nullptr));
}

void Element::PostBadBuffer(const char* text) const {
  GST_ELEMENT_ERROR(object_, STREAM, FAILED, ("%s", text), (nullptr));
}

void Element::SyncProperties(GstClockTime streamTime) const {
  if (GST_CLOCK_TIME_IS_VALID(streamTime)) gst_object_sync_values(GST_OBJECT(object_), streamTime);
}

bool KeepsMeta(const GstMeta& meta, bool keepsSize, bool keepsColours) {
  const gchar* const* tags = gst_meta_api_type_get_tags(meta.info->api);
  if (tags == nullptr) return true;
  for (; *tags != nullptr; ++tags) {
    const std::string_view tag = *tags;
    const bool isKept =
        tag == GST_META_TAG_VIDEO_STR ||
        (keepsSize && (tag == GST_META_TAG_VIDEO_SIZE_STR || tag == GST_META_TAG_VIDEO_ORIENTATION_STR)) ||
        (keepsColours && tag == GST_META_TAG_VIDEO_COLORSPACE_STR);
    if (!isKept) return false;
  }
  return true;
}

}  // namespace kv_gst
