#pragma once

#include <string>
#include <vector>

#include "tests/gstreamer/element_harness.h"

namespace kv_test {

/// An element with several inputs and one output, between pads of the test. Frames are 40 ms long.
class MixerHarness {
 public:
  MixerHarness(const char* element, const std::vector<const char*>& pads);
  MixerHarness(const MixerHarness&) = delete;
  MixerHarness& operator=(const MixerHarness&) = delete;
  ~MixerHarness();

  GstElement* Element() const { return harnesses_[0]->element; }
  GstHarness* Input(std::size_t index) const { return harnesses_[index]; }
  void SetCaps(std::size_t index, const std::string& caps) {
    gst_harness_set_src_caps_str(harnesses_[index], caps.c_str());
  }
  void SetOutput(const std::string& caps) { gst_harness_set_sink_caps_str(harnesses_[0], caps.c_str()); }
  void OfferGuardedMemory() { OfferGuardedMemoryTo(harnesses_[0]); }
  /// Pushes the buffer of frame `number` to an input; it may wait until another one was taken.
  GstFlowReturn Push(std::size_t index, Buffer buffer, int number);
  void End(std::size_t index) { gst_harness_push_event(harnesses_[index], gst_event_new_eos()); }
  /// The next output; null when there is none within ten seconds.
  Buffer Pull();
  std::string OutputCaps() const;
  /// Waits for an error, and answers its text.
  std::string Error() const;
  /// The next element message; null: there is none. The caller's.
  GstMessage* ElementMessage() const { return gst_bus_pop_filtered(bus_, GST_MESSAGE_ELEMENT); }

 private:
  GstBus* bus_;
  std::vector<GstHarness*> harnesses_;
};

}  // namespace kv_test
