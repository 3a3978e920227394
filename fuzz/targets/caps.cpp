// Elements with any caps, properties and buffers: they refuse, or pass a whole frame of the caps that they chose.

#include <fuzzer/FuzzedDataProvider.h>
#include <gst/check/gstharness.h>
#include <gst/video/video.h>

#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <string>

#include "fuzz/check_input.h"
#include "tests/support/member.h"

namespace {

using kv_fuzz::Require;

constexpr const char* elements[] = {"kvconvert", "kvboxfilter", "kvpan", "kvparity", "kvtrack"};
constexpr const char* formats[] = {"UYVY", "YUY2", "Y42B", "GRAY8", "BGR",  "RGB",  "BGRA",
                                   "RGBA", "BGRx", "RGBx", "I420",  "NV12", "v210", "{ UYVY, BGRx }"};
constexpr const char* colours[] = {"bt601",   "bt709",   "bt2020",  "sRGB",
                                   "1:4:0:0", "2:4:5:4", "9:9:9:9", "nonsense"};
constexpr const char* sites[] = {"mpeg2", "jpeg", "dv", "none", "cosited", "h-cosited+v-cosited", "nonsense"};
constexpr const char* interlaces[] = {"progressive", "interleaved", "mixed", "fields", "alternate"};
constexpr const char* orders[] = {"top-field-first", "bottom-field-first", "unknown"};
constexpr const char* properties[] = {"threads",   "member",   "resample", "exact-copy", "size",   "planes",
                                      "direction", "duration", "width",    "height",     "method", "x",
                                      "y",         "half",     "range",    "update"};
constexpr const char* values[] = {"0",  "1",    "2",     "3",    "5",    "-1",       "99999999", "nearest",
                                  "up", "line", "field", "luma", "true", "kv_algoC", "0.25",     ""};

template <std::size_t count>
const char* OneOf(FuzzedDataProvider& input, const char* const (&texts)[count]) {
  return texts[input.ConsumeIntegralInRange<std::size_t>(0, count - 1)];
}

std::string AnyCaps(FuzzedDataProvider& input, int width, int height) {
  std::string caps = "video/x-raw";
  if (input.ConsumeIntegralInRange(0, 15) != 0)
    caps += std::string(",format=(string)") + OneOf(input, formats);
  if (input.ConsumeIntegralInRange(0, 15) != 0) caps += ",width=" + std::to_string(width);
  if (input.ConsumeIntegralInRange(0, 15) != 0) caps += ",height=" + std::to_string(height);
  if (input.ConsumeIntegralInRange(0, 7) != 0) {
    caps += ",framerate=" + std::to_string(input.ConsumeIntegralInRange(0, 60)) + "/" +
            std::to_string(input.ConsumeIntegralInRange(1, 3));
  }
  if (input.ConsumeBool()) caps += std::string(",colorimetry=(string)") + OneOf(input, colours);
  if (input.ConsumeBool()) caps += std::string(",chroma-site=(string)") + OneOf(input, sites);
  if (input.ConsumeBool()) caps += std::string(",interlace-mode=(string)") + OneOf(input, interlaces);
  if (input.ConsumeBool()) caps += std::string(",field-order=(string)") + OneOf(input, orders);
  if (input.ConsumeIntegralInRange(0, 31) == 0) caps += "," + input.ConsumeRandomLengthString(12);
  return caps;
}

/// The caps that a text means; null for none.
GstCaps* Parse(const std::string& text) {
  return gst_caps_from_string(text.c_str());
}

void Ignore(const gchar* /*domain*/, GLogLevelFlags /*level*/, const gchar* /*text*/, gpointer /*data*/) {}

void Start() {
  setenv("GST_PLUGIN_SYSTEM_PATH", "", 1);
  setenv("GST_REGISTRY_DISABLE", "yes", 1);
  gst_init(nullptr, nullptr);
  GError* error = nullptr;
  Require(gst_plugin_load_file(KV_GSTREAMER_PLUGIN, &error) != nullptr, "no plug-in");
  // Texts that are no caps, and harnesses of elements that refuse, are warned of.
  g_log_set_default_handler(Ignore, nullptr);
}

void RequireWholeFrame(GstHarness* harness, GstBuffer* buffer) {
  GstCaps* caps = gst_pad_get_current_caps(harness->sinkpad);
  Require(caps != nullptr, "a frame without caps");
  GstVideoInfo info;
  Require(gst_video_info_from_caps(&info, caps) != FALSE, "caps that are no video");
  GstVideoFrame frame;
  Require(gst_video_frame_map(&frame, &info, buffer, GST_MAP_READ) != FALSE,
          "a frame that its caps do not fit");
  gst_video_frame_unmap(&frame);
  gst_caps_unref(caps);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static_cast<void>(kv_test::Members());
  static const bool isStarted = (Start(), true);
  static_cast<void>(isStarted);
  FuzzedDataProvider input(data, size);
  GstElement* element = gst_element_factory_make(OneOf(input, elements), nullptr);
  Require(element != nullptr, "no element");
  const int settings = input.ConsumeIntegralInRange(0, 4);
  for (int i = 0; i < settings; ++i) {
    const char* name = OneOf(input, properties);
    const char* value = OneOf(input, values);
    if (g_object_class_find_property(G_OBJECT_GET_CLASS(element), name) != nullptr) {
      gst_util_set_object_arg(G_OBJECT(element), name, value);
    }
  }
  const int width = input.ConsumeIntegralInRange(1, 33);
  const int height = input.ConsumeIntegralInRange(1, 20);
  const std::string in = AnyCaps(input, width, height);
  const std::string out = input.ConsumeBool() ? "video/x-raw" : AnyCaps(input, width, height);
  GstCaps* inCaps = Parse(in);
  GstCaps* outCaps = Parse(out);
  // A member that there is not is refused here.
  const bool isWilling = gst_element_set_state(element, GST_STATE_PAUSED) != GST_STATE_CHANGE_FAILURE;
  gst_element_set_state(element, GST_STATE_NULL);
  GstHarness* harness = isWilling ? gst_harness_new_with_element(element, "sink", "src") : nullptr;
  if (harness != nullptr && inCaps != nullptr && outCaps != nullptr && gst_caps_is_fixed(inCaps) != FALSE) {
    gst_harness_set_sink_caps(harness, gst_caps_ref(outCaps));
    gst_harness_set_src_caps(harness, gst_caps_ref(inCaps));
    // Buffers that are as long as they should be, and others.
    GstVideoInfo info;
    gsize bytes = 64;
    if (gst_video_info_from_caps(&info, inCaps) != FALSE) bytes = GST_VIDEO_INFO_SIZE(&info);
    const int count = input.ConsumeIntegralInRange(1, 3);
    for (int i = 0; i < count; ++i) {
      const gsize length = input.ConsumeIntegralInRange(0, 7) == 0 ? bytes / 2 : bytes;
      GstBuffer* buffer = gst_buffer_new_allocate(nullptr, length, nullptr);
      gst_buffer_memset(buffer, 0, input.ConsumeIntegral<std::uint8_t>(), length);
      if (gst_harness_push(harness, buffer) != GST_FLOW_OK) break;
      GstBuffer* made = gst_harness_try_pull(harness);
      if (made == nullptr) continue;
      // An element that has nothing to do hands on what it gets.
      if (length == bytes) RequireWholeFrame(harness, made);
      gst_buffer_unref(made);
    }
  }
  if (harness != nullptr) gst_harness_teardown(harness);
  gst_object_unref(element);
  if (inCaps != nullptr) gst_caps_unref(inCaps);
  if (outCaps != nullptr) gst_caps_unref(outCaps);
  return 0;
}
