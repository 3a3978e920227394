#include <cinttypes>
#include <cstring>
#include <new>

#include "capi/checks.h"
#include "image/image.h"

using namespace kv_capi;

namespace {

constexpr std::int64_t alignment = 64;
constexpr std::int64_t mostBytes = std::int64_t{1} << 38;

const Format& CheckFormat(std::int32_t code) {
  const Format* format = FindFormat(code);
  if (format == nullptr)
    Fail(KV_BAD_ARGUMENT, "format is %d; it is none of KV_FORMAT_…", static_cast<int>(code));
  return *format;
}

}  // namespace

const char* kv_last_error(void) {
  return LastError();
}

int32_t kv_abi_version(void) {
  return 1;
}

const char* kv_version_string(void) {
  return KV_VERSION;
}

void kv_frame_init(kv_frame* frame) {
  if (frame == nullptr) return;
  *frame = {};
  frame->struct_size = sizeof *frame;
}

kv_status kv_frame_alloc(kv_frame* frame) {
  return Guarded([&] {
    CheckStruct("frame", frame, "kv_frame_init");
    const Format& format = CheckFormat(frame->format);
    CheckRange("frame->width", frame->width, 1, kv_img::maxImageSide);
    CheckRange("frame->height", frame->height, 1, kv_img::maxImageSide);
    CheckReserved("frame", AreZero(frame->reserved));
    if (frame->memory != nullptr || frame->planes[0] != nullptr) {
      Fail(KV_BAD_ARGUMENT, "frame has planes already; kv_frame_free or kv_frame_init first");
    }
    std::int64_t strides[4] = {};
    std::int64_t total = 0;
    for (int plane = 0; plane < format.planes; ++plane) {
      strides[plane] = (RowBytes(format, plane, frame->width) + alignment - 1) / alignment * alignment;
      total += strides[plane] * frame->height;
    }
    if (total > mostBytes) Fail(KV_OUT_OF_MEMORY, "frame takes %" PRId64 " bytes; at most 2^38", total);
    auto* memory = static_cast<std::uint8_t*>(
        ::operator new (static_cast<std::size_t>(total), std::align_val_t{alignment}));
    std::memset(memory, 0, static_cast<std::size_t>(total));
    frame->memory = memory;
    for (int plane = 0; plane < format.planes; ++plane) {
      frame->planes[plane] = memory;
      frame->strides[plane] = strides[plane];
      memory += strides[plane] * frame->height;
    }
  });
}

void kv_frame_free(kv_frame* frame) {
  if (frame == nullptr || frame->memory == nullptr) return;
  ::operator delete (frame->memory, std::align_val_t{alignment});
  frame->memory = nullptr;
  for (int plane = 0; plane < 4; ++plane) {
    frame->planes[plane] = nullptr;
    frame->strides[plane] = 0;
  }
}

kv_status kv_format_planes(int32_t format, int32_t* planes) {
  return Guarded([&] {
    CheckPointer("planes", planes, alignof(int32_t));
    *planes = CheckFormat(format).planes;
  });
}

kv_status kv_format_row_bytes(int32_t format, int32_t plane, int32_t width, int64_t* bytes) {
  return Guarded([&] {
    CheckPointer("bytes", bytes, alignof(int64_t));
    const Format& known = CheckFormat(format);
    CheckRange("plane", plane, 0, known.planes - 1);
    CheckRange("width", width, 1, kv_img::maxImageSide);
    *bytes = RowBytes(known, plane, width);
  });
}
