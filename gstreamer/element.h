#pragma once

#include <gst/gst.h>

#include <string>

#include "kv/kv.h"

namespace kv_gst {

/// What every element has: the properties "threads" and "member", and the context of the C interface that they make.
class Element {
 public:
  struct Common {
    int threads = 1;
    std::string member;
    bool operator==(const Common&) const = default;
  };

  explicit Element(GstElement* object) : object_(object) {}
  Element(const Element&) = delete;
  Element& operator=(const Element&) = delete;
  virtual ~Element() { kv_context_free(context_); }

  GstElement* Object() const { return object_; }
  /// The context for the properties as they are now; null after an error, which was posted. For the streaming
  /// thread alone.
  kv_context* Context();
  void DropContext();

  /// Posts what a call answered; whether it was KV_OK.
  bool Succeeded(kv_status status) const;
  /// Posts that caps, or a property with them, cannot be done. `text` says what would be right.
  void PostRefusal(const std::string& text) const;
  /// Posts a fault of a buffer.
  void PostBadBuffer(const char* text) const;
  /// Gives the properties that a controller drives their values of a moment.
  void SyncProperties(GstClockTime streamTime) const;

  Common common;  ///< under the object's lock

 private:
  GstElement* object_;
  Common used_;
  kv_context* context_ = nullptr;
};

/// Whether a meta with these tags is still right for another buffer: what else it might be about is gone.
bool KeepsMeta(const GstMeta& meta, bool keepsSize, bool keepsColours);

/// The object's lock, which guards the properties.
class ElementLock {
 public:
  explicit ElementLock(const Element& element) : object_(element.Object()) { GST_OBJECT_LOCK(object_); }
  ElementLock(const ElementLock&) = delete;
  ElementLock& operator=(const ElementLock&) = delete;
  ~ElementLock() { GST_OBJECT_UNLOCK(object_); }

 private:
  GstElement* object_;
};

/// A copy of an element's settings: one frame is worked on with one set of values.
template <class Class>
auto SettingsNow(const Class& element) {
  const ElementLock lock(element);
  return element.settings;
}

}  // namespace kv_gst
