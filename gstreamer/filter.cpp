#include "gstreamer/filter.h"

#include "gstreamer/allocation.h"

namespace kv_gst {
namespace {

struct FilterObject {
  GstVideoFilter parent;
  Filter* filter;
  gboolean wasPassthrough;  ///< when buffers were last negotiated
};
struct FilterClass {
  GstVideoFilterClass parent;
  const FilterInfo* info;
};

gpointer parentClass = nullptr;

Filter& FilterOf(gpointer object) {
  return *static_cast<FilterObject*>(object)->filter;
}

void Set(GObject* object, guint id, const GValue* value, GParamSpec* spec) {
  const auto* info = reinterpret_cast<FilterClass*>(G_OBJECT_GET_CLASS(object))->info;
  SetProperty(FilterOf(object), info->properties, id, value);
  // Such a one may decide the output's caps.
  if ((spec->flags & GST_PARAM_CONTROLLABLE) == 0)
    gst_base_transform_reconfigure_src(GST_BASE_TRANSFORM(object));
}
void Get(GObject* object, guint id, GValue* value, GParamSpec* /*spec*/) {
  const auto* info = reinterpret_cast<FilterClass*>(G_OBJECT_GET_CLASS(object))->info;
  GetProperty(FilterOf(object), info->properties, id, value);
}

gboolean Start(GstBaseTransform* object) {
  return FilterOf(object).Context() != nullptr ? TRUE : FALSE;
}
gboolean Stop(GstBaseTransform* object) {
  FilterOf(object).DropContext();
  return TRUE;
}

GstCaps* TransformCaps(GstBaseTransform* object, GstPadDirection direction, GstCaps* caps, GstCaps* filter) {
  GstCaps* result = gst_caps_new_empty();
  for (guint i = 0; i < gst_caps_get_size(caps); ++i) {
    GstStructure* one = gst_structure_copy(gst_caps_get_structure(caps, i));
    FilterOf(object).TransformCaps(direction, one);
    result =
        gst_caps_merge_structure_full(result, one, gst_caps_features_copy(gst_caps_get_features(caps, i)));
  }
  if (filter == nullptr) return result;
  GstCaps* wanted = gst_caps_intersect_full(filter, result, GST_CAPS_INTERSECT_FIRST);
  gst_caps_unref(result);
  return wanted;
}

GstCaps* FixateCaps(GstBaseTransform* object, GstPadDirection direction, GstCaps* caps, GstCaps* others) {
  return FilterOf(object).FixateCaps(direction, caps, others);
}

gboolean SetInfo(GstVideoFilter* object, GstCaps* /*inCaps*/, GstVideoInfo* in, GstCaps* /*outCaps*/,
                 GstVideoInfo* out) {
  Filter& filter = FilterOf(object);
  std::string why;
  if (!HasWholeFrames(*in, why) || !filter.SetInfo(*in, *out, why)) {
    filter.PostRefusal(why);
    return FALSE;
  }
  auto* self = reinterpret_cast<FilterObject*>(object);
  self->wasPassthrough = filter.IsPassthrough(nullptr) ? TRUE : FALSE;
  gst_base_transform_set_passthrough(GST_BASE_TRANSFORM(object), self->wasPassthrough);
  return TRUE;
}

void BeforeTransform(GstBaseTransform* object, GstBuffer* buffer) {
  Filter& filter = FilterOf(object);
  filter.SyncProperties(
      gst_segment_to_stream_time(&object->segment, GST_FORMAT_TIME, GST_BUFFER_TIMESTAMP(buffer)));
  const bool passes = filter.IsPassthrough(buffer);
  gst_base_transform_set_passthrough(object, passes ? TRUE : FALSE);
  // Then buffers were agreed upon for no work at all.
  if (!passes && reinterpret_cast<FilterObject*>(object)->wasPassthrough != FALSE) {
    gst_base_transform_reconfigure_src(object);
  }
}

GstFlowReturn Transform(GstBaseTransform* object, GstBuffer* in, GstBuffer* out) {
  Filter& filter = FilterOf(object);
  auto* video = GST_VIDEO_FILTER(object);
  if (video->negotiated == FALSE) return GST_FLOW_NOT_NEGOTIATED;
  GstVideoFrame from;
  GstVideoFrame to;
  if (gst_video_frame_map(&from, &video->in_info, in, GST_MAP_READ) == FALSE) {
    filter.PostBadBuffer("a buffer is too small for the caps, or its GstVideoMeta is of another format");
    return GST_FLOW_ERROR;
  }
  GstFlowReturn flow = GST_FLOW_ERROR;
  if (gst_video_frame_map(&to, &video->out_info, out, GST_MAP_WRITE) == FALSE) {
    filter.PostBadBuffer(
        "an output buffer is too small for the caps, or its GstVideoMeta is of another format");
  } else {
    if (filter.Context() != nullptr && filter.Work(from, to)) flow = GST_FLOW_OK;
    gst_video_frame_unmap(&to);
  }
  gst_video_frame_unmap(&from);
  return flow;
}

/// The buffer is writable, its bytes are only read.
GstFlowReturn TransformInPlace(GstBaseTransform* object, GstBuffer* buffer) {
  Filter& filter = FilterOf(object);
  GstVideoFrame frame;
  if (gst_video_frame_map(
          &frame, &GST_VIDEO_FILTER(object)->in_info, buffer,
          static_cast<GstMapFlags>(int{GST_MAP_READ} | int{GST_VIDEO_FRAME_MAP_FLAG_NO_REF})) == FALSE) {
    filter.PostBadBuffer("a buffer is too small for the caps, or its GstVideoMeta is of another format");
    return GST_FLOW_ERROR;
  }
  const bool isDone = filter.Context() != nullptr && filter.Work(frame, frame);
  gst_video_frame_unmap(&frame);
  return isDone ? GST_FLOW_OK : GST_FLOW_ERROR;
}

gboolean SinkEvent(GstBaseTransform* object, GstEvent* event) {
  if (GST_EVENT_TYPE(event) == GST_EVENT_FLUSH_STOP) FilterOf(object).Reset();
  return GST_BASE_TRANSFORM_CLASS(parentClass)->sink_event(object, event);
}

gboolean TransformMeta(GstBaseTransform* object, GstBuffer* /*out*/, GstMeta* meta, GstBuffer* /*in*/) {
  const GstVideoInfo& from = GST_VIDEO_FILTER(object)->in_info;
  const GstVideoInfo& to = GST_VIDEO_FILTER(object)->out_info;
  const bool keepsSize = GST_VIDEO_INFO_WIDTH(&from) == GST_VIDEO_INFO_WIDTH(&to) &&
                         GST_VIDEO_INFO_HEIGHT(&from) == GST_VIDEO_INFO_HEIGHT(&to);
  return KeepsMeta(*meta, keepsSize, FilterOf(object).KeepsColours()) ? TRUE : FALSE;
}

gboolean ProposeAllocation(GstBaseTransform* object, GstQuery* decided, GstQuery* query) {
  if (decided != nullptr) AskForPadding(query);
  return GST_BASE_TRANSFORM_CLASS(parentClass)->propose_allocation(object, decided, query);
}
gboolean DecideAllocation(GstBaseTransform* object, GstQuery* query) {
  return DecidePool(query) && GST_BASE_TRANSFORM_CLASS(parentClass)->decide_allocation(object, query) != FALSE
             ? TRUE
             : FALSE;
}

void Finalize(GObject* object) {
  delete reinterpret_cast<FilterObject*>(object)->filter;
  G_OBJECT_CLASS(parentClass)->finalize(object);
}

void InitBaseClass(gpointer klass, gpointer /*data*/) {
  parentClass = g_type_class_peek_parent(klass);
  G_OBJECT_CLASS(klass)->finalize = Finalize;
  auto* transform = GST_BASE_TRANSFORM_CLASS(klass);
  transform->start = Start;
  transform->stop = Stop;
  transform->transform_caps = TransformCaps;
  transform->fixate_caps = FixateCaps;
  transform->before_transform = BeforeTransform;
  transform->transform = Transform;
  // GstVideoFilter has one; with it equal caps would mean work in place.
  transform->transform_ip = nullptr;
  transform->sink_event = SinkEvent;
  transform->transform_meta = TransformMeta;
  transform->propose_allocation = ProposeAllocation;
  transform->decide_allocation = DecideAllocation;
  GST_VIDEO_FILTER_CLASS(klass)->set_info = SetInfo;
}

void AddPad(GstElementClass* element, const char* name, GstPadDirection direction, const char* text) {
  GstCaps* caps = gst_caps_from_string(text);
  gst_element_class_add_pad_template(element, gst_pad_template_new(name, direction, GST_PAD_ALWAYS, caps));
  gst_caps_unref(caps);
}

void InitClass(gpointer klass, gpointer data) {
  const auto& info = *static_cast<const FilterInfo*>(data);
  static_cast<FilterClass*>(klass)->info = &info;
  auto* objects = G_OBJECT_CLASS(klass);
  objects->set_property = Set;
  objects->get_property = Get;
  InstallProperties(objects, info.properties);
  if (info.isInPlace) {
    GST_BASE_TRANSFORM_CLASS(klass)->transform = nullptr;
    GST_BASE_TRANSFORM_CLASS(klass)->transform_ip = TransformInPlace;
  }
  auto* element = GST_ELEMENT_CLASS(klass);
  gst_element_class_set_static_metadata(element, info.longName, info.klass, info.description, "kv_algo");
  AddPad(element, "sink", GST_PAD_SINK, info.sinkCaps);
  AddPad(element, "src", GST_PAD_SRC, info.sourceCaps);
}

void InitObject(GTypeInstance* instance, gpointer klass) {
  reinterpret_cast<FilterObject*>(instance)->filter =
      static_cast<FilterClass*>(klass)->info->make(reinterpret_cast<GstElement*>(instance));
}

GType BaseType() {
  static const GType type =
      g_type_register_static_simple(GST_TYPE_VIDEO_FILTER, "KvFilter", sizeof(FilterClass), InitBaseClass,
                                    sizeof(FilterObject), nullptr, G_TYPE_FLAG_ABSTRACT);
  return type;
}

}  // namespace

bool RegisterFilter(GstPlugin* plugin, const FilterInfo& info) {
  GTypeInfo type = {};
  type.class_size = sizeof(FilterClass);
  type.class_init = InitClass;
  type.class_data = &info;
  type.instance_size = sizeof(FilterObject);
  type.instance_init = InitObject;
  return gst_element_register(
             plugin, info.name, GST_RANK_NONE,
             g_type_register_static(BaseType(), info.type, &type, static_cast<GTypeFlags>(0))) != FALSE;
}

}  // namespace kv_gst
