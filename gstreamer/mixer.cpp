
#include <cstring>

#include "gstreamer/allocation.h"
#include "gstreamer/mixer_object.h"

namespace kv_gst {
namespace {

gpointer mixerParentClass = nullptr;

void Set(GObject* object, guint id, const GValue* value, GParamSpec* spec) {
  SetProperty(MixerOf(object), InfoOf(object).properties, id, value);
  // Such a one may decide the output's caps.
  if ((spec->flags & GST_PARAM_CONTROLLABLE) == 0) gst_pad_mark_reconfigure(GST_AGGREGATOR_SRC_PAD(object));
}
void Get(GObject* object, guint id, GValue* value, GParamSpec* /*spec*/) {
  GetProperty(MixerOf(object), InfoOf(object).properties, id, value);
}

gboolean Start(GstAggregator* object) {
  if (MixerOf(object).Context() == nullptr) return FALSE;
  return GST_AGGREGATOR_CLASS(mixerParentClass)->start(object);
}
gboolean Stop(GstAggregator* object) {
  MixerOf(object).DropContext();
  return GST_AGGREGATOR_CLASS(mixerParentClass)->stop(object);
}

GstAggregatorPad* CreatePad(GstAggregator* object, GstPadTemplate* wanted, const gchar* name,
                            const GstCaps* /*caps*/) {
  // A link without a name is for the first input that is free.
  for (const Input& input : InfoOf(object).inputs) {
    if (name != nullptr && std::strcmp(name, input.name) != 0) continue;
    GstVideoAggregatorPad* present = PadOf(object, input);
    if (present != nullptr) {
      gst_object_unref(present);
      continue;
    }
    GstPadTemplate* own = gst_element_class_get_pad_template(GST_ELEMENT_GET_CLASS(object), input.name);
    if (own == nullptr || wanted->direction != GST_PAD_SINK) return nullptr;
    return GST_AGGREGATOR_PAD(g_object_new(GST_TYPE_VIDEO_AGGREGATOR_PAD, "name", input.name, "direction",
                                           GST_PAD_SINK, "template", own, nullptr));
  }
  return nullptr;
}

/// What is seen before all inputs have a frame.
void Clear(const GstVideoFrame& frame) {
  const bool isGrey = GST_VIDEO_INFO_IS_GRAY(&frame.info);
  const bool isUyvy = GST_VIDEO_FRAME_FORMAT(&frame) == GST_VIDEO_FORMAT_UYVY;
  for (guint plane = 0; plane < GST_VIDEO_FRAME_N_PLANES(&frame); ++plane) {
    const int stride = GST_VIDEO_FRAME_PLANE_STRIDE(&frame, plane);
    auto* bytes = static_cast<std::uint8_t*>(GST_VIDEO_FRAME_PLANE_DATA(&frame, plane));
    std::int64_t rowBytes = 0;
    kv_format_row_bytes(FormatOf(GST_VIDEO_FRAME_FORMAT(&frame)), static_cast<int>(plane),
                        GST_VIDEO_FRAME_WIDTH(&frame), &rowBytes);
    const bool isPacked = GST_VIDEO_INFO_IS_YUV(&frame.info) && GST_VIDEO_FRAME_N_PLANES(&frame) == 1;
    for (int row = 0; row < GST_VIDEO_FRAME_HEIGHT(&frame); ++row) {
      for (std::int64_t i = 0; i < rowBytes; ++i) {
        const bool isLuma = isPacked ? (i % 2 == 1) == isUyvy : plane == 0;
        const bool isYuv = GST_VIDEO_INFO_IS_YUV(&frame.info);
        bytes[std::int64_t{row} * stride + i] = isGrey || !isYuv ? 0 : isLuma ? 16 : 128;
      }
    }
  }
}

std::string Describe(const char* name, const GstVideoFrame& frame) {
  return std::string(name) + " has " + std::to_string(GST_VIDEO_FRAME_WIDTH(&frame)) + "x" +
         std::to_string(GST_VIDEO_FRAME_HEIGHT(&frame));
}

/// The frames of this moment. EOS when an input has ended; OK with `isWhole` false when one has not begun.
GstFlowReturn TakeFrames(gpointer object, const Pads& pads,
                         std::array<const GstVideoFrame*, mostInputs>& frames, bool& isWhole) {
  const auto& inputs = InfoOf(object).inputs;
  const Mixer& mixer = MixerOf(object);
  const GstVideoFrame* first = nullptr;
  std::size_t named = 0;
  isWhole = true;
  for (std::size_t i = 0; i < inputs.size(); ++i) {
    if (pads[i] == nullptr) {
      if (inputs[i].isOptional) continue;
      mixer.PostRefusal(std::string("nothing is linked to the pad ") + inputs[i].name);
      return GST_FLOW_ERROR;
    }
    frames[i] = gst_video_aggregator_pad_get_prepared_frame(pads[i]);
    if (frames[i] == nullptr) {
      if (gst_video_aggregator_pad_has_current_buffer(pads[i]) != FALSE) {
        mixer.PostBadBuffer("a buffer is too small for the caps, or its GstVideoMeta is of another format");
        return GST_FLOW_ERROR;
      }
      if (gst_aggregator_pad_is_eos(GST_AGGREGATOR_PAD(pads[i])) != FALSE) return GST_FLOW_EOS;
      isWhole = false;
      continue;
    }
    if (first == nullptr) {
      first = frames[i];
      named = i;
    } else if (GST_VIDEO_FRAME_WIDTH(first) != GST_VIDEO_FRAME_WIDTH(frames[i]) ||
               GST_VIDEO_FRAME_HEIGHT(first) != GST_VIDEO_FRAME_HEIGHT(frames[i])) {
      mixer.PostRefusal(Describe(inputs[named].name, *first) + ", " + Describe(inputs[i].name, *frames[i]) +
                        "; all inputs need one size");
      return GST_FLOW_ERROR;
    }
  }
  return GST_FLOW_OK;
}

struct MetaCopy {
  GstBuffer* out;
  bool keepsColours;
};

gboolean CopyMeta(GstBuffer* in, GstMeta** meta, gpointer data) {
  const auto& copy = *static_cast<const MetaCopy*>(data);
  const GstMetaInfo& info = *(*meta)->info;
  if (info.transform_func == nullptr || !KeepsMeta(**meta, true, copy.keepsColours)) return TRUE;
  GstMetaTransformCopy whole = {FALSE, 0, static_cast<gsize>(-1)};
  info.transform_func(copy.out, *meta, in, _gst_meta_transform_copy, &whole);
  return TRUE;
}

/// The flags about fields and the metas are those of the first input's buffer.
void CopyFlagsAndMetas(GstVideoAggregatorPad* pad, const GstVideoInfo& info, GstBuffer* out) {
  GstBuffer* in = pad != nullptr ? gst_video_aggregator_pad_get_current_buffer(pad) : nullptr;
  if (in == nullptr) return;
  constexpr guint flags =
      GST_VIDEO_BUFFER_FLAG_INTERLACED | GST_VIDEO_BUFFER_FLAG_TFF | GST_VIDEO_BUFFER_FLAG_RFF;
  gst_buffer_unset_flags(out, static_cast<GstBufferFlags>(flags));
  gst_buffer_set_flags(out, static_cast<GstBufferFlags>(gst_buffer_get_flags(in) & flags));
  MetaCopy copy = {out, GST_VIDEO_INFO_FORMAT(&pad->info) == GST_VIDEO_INFO_FORMAT(&info)};
  gst_buffer_foreach_meta(in, CopyMeta, &copy);
}

GstFlowReturn AggregateFrames(GstVideoAggregator* object, GstBuffer* out) {
  Mixer& mixer = MixerOf(object);
  const auto* segment = &GST_AGGREGATOR_PAD(GST_AGGREGATOR_SRC_PAD(object))->segment;
  mixer.SyncProperties(gst_segment_to_stream_time(segment, GST_FORMAT_TIME, GST_BUFFER_PTS(out)));
  const Pads pads(object);
  std::array<const GstVideoFrame*, mostInputs> frames = {};
  bool isWhole = false;
  const GstFlowReturn taken = TakeFrames(object, pads, frames, isWhole);
  if (taken != GST_FLOW_OK) return taken;
  GstVideoFrame to;
  if (gst_video_frame_map(&to, &object->info, out, GST_MAP_WRITE) == FALSE) {
    mixer.PostBadBuffer(
        "an output buffer is too small for the caps, or its GstVideoMeta is of another format");
    return GST_FLOW_ERROR;
  }
  bool isDone = true;
  if (isWhole) {
    isDone =
        mixer.Context() != nullptr && mixer.Work(Inputs(frames.data(), InfoOf(object).inputs.size()), to);
  } else {
    Clear(to);
  }
  gst_video_frame_unmap(&to);
  CopyFlagsAndMetas(pads[0], object->info, out);
  return isDone ? GST_FLOW_OK : GST_FLOW_ERROR;
}

gboolean SinkQuery(GstAggregator* object, GstAggregatorPad* pad, GstQuery* query) {
  if (AnswerMixerQuery(pad, query)) return TRUE;
  return GST_AGGREGATOR_CLASS(mixerParentClass)->sink_query(object, pad, query);
}

gboolean ProposeAllocation(GstAggregator* object, GstAggregatorPad* pad, GstQuery* decided, GstQuery* query) {
  AskForPadding(query);
  return GST_AGGREGATOR_CLASS(mixerParentClass)->propose_allocation(object, pad, decided, query);
}
gboolean DecideAllocation(GstAggregator* /*object*/, GstQuery* query) {
  return DecidePool(query) ? TRUE : FALSE;
}

void Finalize(GObject* object) {
  delete reinterpret_cast<MixerObject*>(object)->mixer;
  G_OBJECT_CLASS(mixerParentClass)->finalize(object);
}

void InitBaseClass(gpointer klass, gpointer /*data*/) {
  mixerParentClass = g_type_class_peek_parent(klass);
  G_OBJECT_CLASS(klass)->finalize = Finalize;
  auto* aggregator = GST_AGGREGATOR_CLASS(klass);
  aggregator->start = Start;
  aggregator->stop = Stop;
  aggregator->create_new_pad = CreatePad;
  aggregator->sink_query = SinkQuery;
  aggregator->fixate_src_caps = FixateMixerCaps;
  aggregator->propose_allocation = ProposeAllocation;
  aggregator->decide_allocation = DecideAllocation;
  auto* video = GST_VIDEO_AGGREGATOR_CLASS(klass);
  video->update_caps = UpdateMixerCaps;
  video->aggregate_frames = AggregateFrames;
}

void AddPad(GstElementClass* element, const char* name, GstPadDirection direction, const char* text) {
  const bool isSink = direction == GST_PAD_SINK;
  GstCaps* caps = gst_caps_from_string(text);
  gst_element_class_add_pad_template(
      element,
      gst_pad_template_new_with_gtype(name, direction, isSink ? GST_PAD_REQUEST : GST_PAD_ALWAYS, caps,
                                      isSink ? GST_TYPE_VIDEO_AGGREGATOR_PAD : GST_TYPE_AGGREGATOR_PAD));
  gst_caps_unref(caps);
}

void InitClass(gpointer klass, gpointer data) {
  const auto& info = *static_cast<const MixerInfo*>(data);
  static_cast<MixerClass*>(klass)->info = &info;
  auto* objects = G_OBJECT_CLASS(klass);
  objects->set_property = Set;
  objects->get_property = Get;
  InstallProperties(objects, info.properties);
  auto* element = GST_ELEMENT_CLASS(klass);
  gst_element_class_set_static_metadata(element, info.longName, info.klass, info.description, "kv_algo");
  for (const Input& input : info.inputs) AddPad(element, input.name, GST_PAD_SINK, input.caps);
  AddPad(element, "src", GST_PAD_SRC, info.sourceCaps);
}

void InitObject(GTypeInstance* instance, gpointer klass) {
  reinterpret_cast<MixerObject*>(instance)->mixer =
      static_cast<MixerClass*>(klass)->info->make(reinterpret_cast<GstElement*>(instance));
}

GType BaseType() {
  static const GType type =
      g_type_register_static_simple(GST_TYPE_VIDEO_AGGREGATOR, "KvMixer", sizeof(MixerClass), InitBaseClass,
                                    sizeof(MixerObject), nullptr, G_TYPE_FLAG_ABSTRACT);
  return type;
}

}  // namespace

bool RegisterMixer(GstPlugin* plugin, const MixerInfo& info) {
  GTypeInfo type = {};
  type.class_size = sizeof(MixerClass);
  type.class_init = InitClass;
  type.class_data = &info;
  type.instance_size = sizeof(MixerObject);
  type.instance_init = InitObject;
  return gst_element_register(
             plugin, info.name, GST_RANK_NONE,
             g_type_register_static(BaseType(), info.type, &type, static_cast<GTypeFlags>(0))) != FALSE;
}

}  // namespace kv_gst
