#include "tests/gstreamer/element_harness.h"

#include <gtest/gtest.h>
#include <sys/mman.h>

#include <cstring>
#include <stdexcept>

namespace kv_test {
namespace {

constexpr std::size_t pageBytes = 4096;
constexpr int untouched = 0xA5;

/// Memory that ends, but for its padding, where a page starts that nobody may touch.
struct GuardedMemory {
  GstMemory memory;
  std::uint8_t* pages;
  std::size_t count;
  std::uint8_t* data;
};
struct GuardedAllocator {
  GstAllocator parent;
};
struct GuardedAllocatorClass {
  GstAllocatorClass parent;
};

GstMemory* Allocate(GstAllocator* allocator, gsize size, GstAllocationParams* params) {
  const gsize whole = params->prefix + size + params->padding;
  const std::size_t open = (whole + params->align + pageBytes - 1) / pageBytes * pageBytes;
  auto* one = new GuardedMemory;
  one->count = open + 2 * pageBytes;
  one->pages =
      static_cast<std::uint8_t*>(mmap(nullptr, one->count, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
  mprotect(one->pages + pageBytes, open, PROT_READ | PROT_WRITE);
  std::memset(one->pages + pageBytes, untouched, open);
  one->data = one->pages + pageBytes + ((open - whole) & ~static_cast<std::size_t>(params->align));
  gst_memory_init(&one->memory, params->flags, allocator, nullptr, whole, params->align, params->prefix,
                  size);
  return &one->memory;
}
void Free(GstAllocator* /*allocator*/, GstMemory* memory) {
  auto* one = reinterpret_cast<GuardedMemory*>(memory);
  munmap(one->pages, one->count);
  delete one;
}
gpointer MapMemory(GstMemory* memory, gsize /*size*/, GstMapFlags /*flags*/) {
  return reinterpret_cast<GuardedMemory*>(memory)->data;
}
void UnmapMemory(GstMemory* /*memory*/) {}

void InitAllocatorClass(gpointer klass, gpointer /*data*/) {
  GST_ALLOCATOR_CLASS(klass)->alloc = Allocate;
  GST_ALLOCATOR_CLASS(klass)->free = Free;
}
void InitAllocator(GTypeInstance* instance, gpointer /*klass*/) {
  auto* allocator = reinterpret_cast<GstAllocator*>(instance);
  allocator->mem_type = "guarded";
  allocator->mem_map = MapMemory;
  allocator->mem_unmap = UnmapMemory;
  GST_OBJECT_FLAG_SET(allocator, GST_ALLOCATOR_FLAG_CUSTOM_ALLOC);
}
GType AllocatorType() {
  static const GType type = g_type_register_static_simple(
      GST_TYPE_ALLOCATOR, "KvGuardedAllocator", sizeof(GuardedAllocatorClass), InitAllocatorClass,
      sizeof(GuardedAllocator), InitAllocator, static_cast<GTypeFlags>(0));
  return type;
}

GstVideoInfo InfoOf(const std::string& text) {
  GstCaps* caps = gst_caps_from_string(text.c_str());
  GstVideoInfo info;
  const bool isDone = gst_video_info_from_caps(&info, caps) != FALSE;
  gst_caps_unref(caps);
  if (!isDone) throw std::runtime_error("no video caps: " + text);
  return info;
}

}  // namespace

std::string CapsText(const std::string& format, int width, int height, const std::string& more) {
  return "video/x-raw,format=" + format + ",width=" + std::to_string(width) +
         ",height=" + std::to_string(height) + ",framerate=25/1" + (more.empty() ? "" : "," + more);
}

Buffer BufferOver(const GuardedFrame& frame, const char* format) {
  Buffer buffer(gst_buffer_new());
  gsize offsets[GST_VIDEO_MAX_PLANES] = {};
  gint strides[GST_VIDEO_MAX_PLANES] = {};
  gsize before = 0;
  const int last = frame.Get()->height - 1;
  for (int plane = 0; plane < frame.Planes(); ++plane) {
    std::uint8_t* lowest = std::min(frame.Row(plane, 0), frame.Row(plane, last));
    const std::uint8_t* highest = std::max(frame.Row(plane, 0), frame.Row(plane, last));
    const auto bytes = static_cast<gsize>(highest - lowest + frame.RowBytes(plane));
    gst_buffer_append_memory(buffer.get(), gst_memory_new_wrapped(GST_MEMORY_FLAG_READONLY, lowest, bytes, 0,
                                                                  bytes, nullptr, nullptr));
    offsets[plane] = before + static_cast<gsize>(frame.Row(plane, 0) - lowest);
    strides[plane] = static_cast<gint>(frame.Get()->strides[plane]);
    before += bytes;
  }
  gst_buffer_add_video_meta_full(buffer.get(), GST_VIDEO_FRAME_FLAG_NONE,
                                 gst_video_format_from_string(format), static_cast<guint>(frame.Get()->width),
                                 static_cast<guint>(frame.Get()->height), static_cast<guint>(frame.Planes()),
                                 offsets, strides);
  return buffer;
}

Buffer BufferWith(const GuardedFrame& frame, const char* format) {
  GstVideoInfo info = InfoOf(CapsText(format, frame.Get()->width, frame.Get()->height));
  Buffer buffer(gst_buffer_new_allocate(nullptr, GST_VIDEO_INFO_SIZE(&info), nullptr));
  gst_buffer_memset(buffer.get(), 0, 0, GST_VIDEO_INFO_SIZE(&info));
  GstVideoFrame mapped;
  gst_video_frame_map(&mapped, &info, buffer.get(), GST_MAP_WRITE);
  for (int plane = 0; plane < frame.Planes(); ++plane) {
    for (int row = 0; row < frame.Get()->height; ++row) {
      std::copy_n(frame.Row(plane, row), frame.RowBytes(plane),
                  static_cast<std::uint8_t*>(GST_VIDEO_FRAME_PLANE_DATA(&mapped, plane)) +
                      row * GST_VIDEO_FRAME_PLANE_STRIDE(&mapped, plane));
    }
  }
  gst_video_frame_unmap(&mapped);
  return buffer;
}

ElementHarness::ElementHarness(const char* element, const char* sink) : bus_(gst_bus_new()) {
  GstElement* one = gst_element_factory_make(element, nullptr);
  if (one == nullptr) throw std::runtime_error(std::string("there is no element ") + element);
  gst_element_set_bus(one, bus_);
  harness_ = gst_harness_new_with_element(one, sink, "src");
  gst_object_unref(one);
}

ElementHarness::~ElementHarness() {
  gst_element_set_bus(harness_->element, nullptr);
  gst_harness_teardown(harness_);
  gst_object_unref(bus_);
}

void ElementHarness::SetCaps(const std::string& in, const std::string& out) {
  gst_harness_set_sink_caps_str(harness_, out.c_str());
  gst_harness_set_src_caps_str(harness_, in.c_str());
}

void OfferGuardedMemoryTo(GstHarness* harness) {
  auto* allocator = static_cast<GstAllocator*>(g_object_new(AllocatorType(), nullptr));
  gst_harness_set_propose_allocator(harness, GST_ALLOCATOR(gst_object_ref_sink(allocator)), nullptr);
  gst_harness_add_propose_allocation_meta(harness, GST_VIDEO_META_API_TYPE, nullptr);
}

Buffer ElementHarness::Pass(Buffer in) {
  if (gst_harness_push(harness_, in.release()) != GST_FLOW_OK) return nullptr;
  return Buffer(gst_harness_try_pull(harness_));
}

std::string ElementHarness::SourceCaps() const {
  GstCaps* caps = gst_pad_get_current_caps(harness_->sinkpad);
  if (caps == nullptr) return "";
  gchar* text = gst_caps_to_string(caps);
  std::string result = text;
  g_free(text);
  gst_caps_unref(caps);
  return result;
}

std::string ElementHarness::Error() const {
  GstMessage* message = gst_bus_pop_filtered(bus_, GST_MESSAGE_ERROR);
  if (message == nullptr) return "";
  GError* error = nullptr;
  gst_message_parse_error(message, &error, nullptr);
  std::string result = error->message;
  g_error_free(error);
  gst_message_unref(message);
  return result;
}

int FirstOtherRow(GstBuffer* buffer, const std::string& caps, const GuardedFrame& expected) {
  GstVideoInfo info = InfoOf(caps);
  GstVideoFrame mapped;
  if (gst_video_frame_map(&mapped, &info, buffer, GST_MAP_READ) == FALSE) return 0;
  int other = -1;
  for (int row = 0; row < expected.Get()->height && other < 0; ++row) {
    for (int plane = 0; plane < expected.Planes(); ++plane) {
      const auto* bytes = static_cast<const std::uint8_t*>(GST_VIDEO_FRAME_PLANE_DATA(&mapped, plane)) +
                          row * GST_VIDEO_FRAME_PLANE_STRIDE(&mapped, plane);
      if (!std::equal(bytes, bytes + expected.RowBytes(plane), expected.Row(plane, row))) other = row;
    }
  }
  gst_video_frame_unmap(&mapped);
  return other;
}

bool HasCleanPadding(GstBuffer* buffer, const std::string& caps) {
  GstVideoInfo info = InfoOf(caps);
  GstVideoFrame mapped;
  if (gst_video_frame_map(&mapped, &info, buffer, GST_MAP_READ) == FALSE) return false;
  bool isClean = true;
  for (guint plane = 0; plane < GST_VIDEO_FRAME_N_PLANES(&mapped); ++plane) {
    int format = 0;
    for (const FormatPair& pair : convertedFormats) {
      if (std::strcmp(pair.name, GST_VIDEO_INFO_NAME(&info)) == 0) format = pair.format;
    }
    std::int64_t rowBytes = 0;
    kv_format_row_bytes(format, static_cast<int>(plane), GST_VIDEO_INFO_WIDTH(&info), &rowBytes);
    const int stride = GST_VIDEO_FRAME_PLANE_STRIDE(&mapped, plane);
    for (int row = 0; row + 1 < GST_VIDEO_INFO_HEIGHT(&info); ++row) {
      const auto* bytes =
          static_cast<const std::uint8_t*>(GST_VIDEO_FRAME_PLANE_DATA(&mapped, plane)) + row * stride;
      for (std::int64_t i = rowBytes; i < stride; ++i) isClean = isClean && bytes[i] == untouched;
    }
  }
  gst_video_frame_unmap(&mapped);
  return isClean;
}

}  // namespace kv_test
