#pragma once

#include "kv/kv.h"

namespace kv_gst {

/// A frame of an element's own, for what is between two calls; allocated when its size or format changes.
class ScratchFrame {
 public:
  ScratchFrame() { kv_frame_init(&view_); }
  ScratchFrame(const ScratchFrame&) = delete;
  ScratchFrame& operator=(const ScratchFrame&) = delete;
  ~ScratchFrame() { kv_frame_free(&view_); }

  /// Whether it has that shape already: then its bytes are still there.
  bool Has(int format, int width, int height) const {
    return view_.memory != nullptr && view_.format == format && view_.width == width &&
           view_.height == height;
  }
  /// Has memory for that shape; what its allocation answered.
  kv_status Resize(int format, int width, int height) {
    if (Has(format, width, height)) return KV_OK;
    kv_frame_free(&view_);
    kv_frame_init(&view_);
    view_.format = format;
    view_.width = width;
    view_.height = height;
    return kv_frame_alloc(&view_);
  }
  /// A view of it, which owns nothing.
  kv_frame View() const {
    kv_frame view = view_;
    view.memory = nullptr;
    return view;
  }

 private:
  kv_frame view_;
};

}  // namespace kv_gst
