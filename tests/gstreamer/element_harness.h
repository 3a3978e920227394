#pragma once

#include <gst/check/gstharness.h>
#include <gst/video/video.h>

#include <memory>
#include <string>

#include "tests/capi/guarded_frame.h"

namespace kv_test {

/// A format by its names there and here.
struct FormatPair {
  const char* name;
  int format;
};
constexpr FormatPair convertedFormats[] = {
    {"UYVY", KV_FORMAT_UYVY},   {"YUY2", KV_FORMAT_YUY2},   {"Y42B", KV_FORMAT_I422},
    {"GRAY8", KV_FORMAT_GRAY8}, {"BGR", KV_FORMAT_BGR24},   {"RGB", KV_FORMAT_RGB24},
    {"BGRA", KV_FORMAT_BGRA32}, {"RGBA", KV_FORMAT_RGBA32}, {"BGRx", KV_FORMAT_BGRX32},
    {"RGBx", KV_FORMAT_RGBX32},
};

std::string CapsText(const std::string& format, int width, int height, const std::string& more = "");

struct BufferDeleter {
  void operator()(GstBuffer* buffer) const { gst_buffer_unref(buffer); }
};
using Buffer = std::unique_ptr<GstBuffer, BufferDeleter>;

/// A buffer over the rows of a guarded frame, which it must not outlive; strides and offsets are in its GstVideoMeta.
Buffer BufferOver(const GuardedFrame& frame, const char* format);
/// A new buffer with GStreamer's own strides and a frame's bytes.
Buffer BufferWith(const GuardedFrame& frame, const char* format);

/// Downstream of a harness offers GstVideoMeta, and memory before a page that nobody may touch.
void OfferGuardedMemoryTo(GstHarness* harness);

/// One element between two pads of the test.
class ElementHarness {
 public:
  explicit ElementHarness(const char* element, const char* sink = "sink");
  ElementHarness(const ElementHarness&) = delete;
  ElementHarness& operator=(const ElementHarness&) = delete;
  ~ElementHarness();

  GstHarness* Get() const { return harness_; }
  GstElement* Element() const { return harness_->element; }
  void SetCaps(const std::string& in, const std::string& out);
  void OfferGuardedMemory() { OfferGuardedMemoryTo(harness_); }
  /// Pushes a buffer and takes what comes of it; null: nothing did.
  Buffer Pass(Buffer in);
  GstFlowReturn Push(Buffer in) { return gst_harness_push(harness_, in.release()); }
  std::string SourceCaps() const;
  /// The text of the error that was posted; empty: there was none.
  std::string Error() const;
  /// The next element message; null: there is none. The caller's.
  GstMessage* ElementMessage() const { return gst_bus_pop_filtered(bus_, GST_MESSAGE_ELEMENT); }

 private:
  GstHarness* harness_;
  GstBus* bus_;
};

/// The first row of a buffer that is not a frame's; -1: all are. The caps are those of the buffer.
int FirstOtherRow(GstBuffer* buffer, const std::string& caps, const GuardedFrame& expected);
/// Whether what is between the rows of a buffer from guarded memory is as it was allocated.
bool HasCleanPadding(GstBuffer* buffer, const std::string& caps);

}  // namespace kv_test
