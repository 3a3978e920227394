#include "tests/gstreamer/mixer_harness.h"

#include <stdexcept>

namespace kv_test {
namespace {

constexpr GstClockTime frameDuration = 40 * GST_MSECOND;

}  // namespace

MixerHarness::MixerHarness(const char* element, const std::vector<const char*>& pads) : bus_(gst_bus_new()) {
  GstElement* one = gst_element_factory_make(element, nullptr);
  if (one == nullptr) throw std::runtime_error(std::string("there is no element ") + element);
  gst_element_set_bus(one, bus_);
  for (const char* pad : pads) {
    harnesses_.push_back(gst_harness_new_with_element(one, pad, harnesses_.empty() ? "src" : nullptr));
    // A live one would wait for the clock of the harness.
    gst_harness_set_live(harnesses_.back(), FALSE);
  }
  gst_object_unref(one);
}

MixerHarness::~MixerHarness() {
  // The bus lasts longer than what might post on it.
  GstElement* element = GST_ELEMENT(gst_object_ref(Element()));
  for (auto harness = harnesses_.rbegin(); harness != harnesses_.rend(); ++harness)
    gst_harness_teardown(*harness);
  gst_element_set_bus(element, nullptr);
  gst_object_unref(element);
  gst_object_unref(bus_);
}

GstFlowReturn MixerHarness::Push(std::size_t index, Buffer buffer, int number) {
  GST_BUFFER_PTS(buffer.get()) = static_cast<GstClockTime>(number) * frameDuration;
  GST_BUFFER_DURATION(buffer.get()) = frameDuration;
  return gst_harness_push(harnesses_[index], buffer.release());
}

Buffer MixerHarness::Pull() {
  for (int tries = 0; tries < 1000; ++tries) {
    if (GstBuffer* buffer = gst_harness_try_pull(harnesses_[0])) return Buffer(buffer);
    g_usleep(10000);
  }
  return nullptr;
}

std::string MixerHarness::OutputCaps() const {
  GstCaps* caps = gst_pad_get_current_caps(harnesses_[0]->sinkpad);
  if (caps == nullptr) return "";
  gchar* text = gst_caps_to_string(caps);
  std::string result = text;
  g_free(text);
  gst_caps_unref(caps);
  return result;
}

std::string MixerHarness::Error() const {
  GstMessage* message = gst_bus_timed_pop_filtered(bus_, 10 * GST_SECOND, GST_MESSAGE_ERROR);
  if (message == nullptr) return "";
  GError* error = nullptr;
  gst_message_parse_error(message, &error, nullptr);
  std::string result = error->message;
  g_error_free(error);
  gst_message_unref(message);
  return result;
}

}  // namespace kv_test
