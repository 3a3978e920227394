// Frames of the C interface's own memory, sizes of rows, and contexts that are stopped from inside of a call.

#include <algorithm>
#include <cstring>
#include <memory>

#include "fuzz/capi_input.h"
#include "tests/support/member.h"

namespace {

using kv_fuzz::Input;
using kv_fuzz::Require;
using kv_fuzz::RequireAnswer;

struct FrameDeleter {
  void operator()(kv_frame* frame) const { kv_frame_free(frame); }
};
using OwnedFrame = std::unique_ptr<kv_frame, FrameDeleter>;

constexpr std::int64_t mostBytes = 1 << 22;

/// Whether memory for the frame may be asked for at all: little, or more than there ever is.
bool MayBeAllocated(const kv_frame& frame) {
  std::int64_t bytes = 0;
  std::int64_t row = 0;
  if (frame.height < 1) return true;
  for (int plane = 0; plane < 4; ++plane) {
    if (kv_format_row_bytes(frame.format, plane, frame.width, &row) == KV_OK)
      bytes += (row + 64) * frame.height;
  }
  return bytes <= mostBytes || bytes > (std::int64_t{1} << 39);
}

void CheckMemory(const kv_frame& frame, int planes) {
  for (int plane = 0; plane < 4; ++plane) {
    Require((frame.planes[plane] != nullptr) == (plane < planes), "planes that are not the format's");
    if (plane >= planes) continue;
    std::int64_t bytes = 0;
    RequireAnswer(kv_format_row_bytes(frame.format, plane, frame.width, &bytes));
    Require(frame.strides[plane] >= bytes && bytes > 0, "rows that overlap");
    for (int row = 0; row < frame.height; ++row) {
      std::uint8_t* first = frame.planes[plane] + row * frame.strides[plane];
      Require(reinterpret_cast<std::uintptr_t>(first) % 64 == 0, "a row off its boundary");
      // Zeros also after the rows before were written: no two share a byte.
      Require(std::all_of(first, first + bytes, [](std::uint8_t value) { return value == 0; }),
              "memory that is not zero");
      std::memset(first, 1 + plane, static_cast<std::size_t>(bytes));
    }
  }
}

void Make(Input& input, kv_frame& frame) {
  kv_frame_init(&frame);
  frame.format = input.Number(-1, 17);
  frame.width = input.Number(-1, 70);
  frame.height = input.Number(-1, 40);
  for (std::int32_t* value : {&frame.format, &frame.width, &frame.height}) input.MaySpoil(*value);
  input.MaySpoil(frame.struct_size);
  input.MaySpoil(frame.reserved[input.Number(0, 4)]);
  std::int32_t planes = -7;
  std::int64_t bytes = -7;
  const kv_status known = kv_format_planes(frame.format, input.MayBeNull(planes));
  RequireAnswer(known);
  RequireAnswer(kv_format_row_bytes(frame.format, input.Number(-1, 4), frame.width, input.MayBeNull(bytes)));
  if (!MayBeAllocated(frame)) {
    frame.width = 0;
    return;
  }
  const kv_status status = kv_frame_alloc(input.MayBeNull(frame));
  RequireAnswer(status);
  Require((status == KV_OK) == (frame.memory != nullptr), "memory without success, or success without it");
  if (status == KV_OK && known == KV_OK) CheckMemory(frame, planes);
  if (status == KV_OK) Require(kv_frame_alloc(&frame) == KV_BAD_ARGUMENT, "memory over memory");
}

struct Stopper {
  kv_context* context;
  std::int32_t calls;
};

std::int32_t StopInstead(void* user) {
  auto& stopper = *static_cast<Stopper*>(user);
  if (--stopper.calls == 0) Require(kv_stop(stopper.context) == KV_OK, "a context that cannot be stopped");
  return 0;
}

void Stop(Input& input, const kv_frame& from, kv_frame& to) {
  kv_context_options options;
  kv_context_options_init(&options);
  options.threads = input.Number(1, 3);
  kv_context* context = nullptr;
  Require(kv_context_new(&options, &context) == KV_OK, "no context");
  Stopper stopper{context, input.Number(0, 4)};
  kv_call call;
  kv_call_init(&call);
  call.poll = StopInstead;
  call.poll_user = &stopper;
  RequireAnswer(kv_box_filter(context, &from, &to, nullptr, input.Number(-1, 260), &call));
  // Whatever was stopped: the next call is a fresh one.
  stopper.calls = 0;
  const kv_status later = kv_box_filter(context, &from, &to, nullptr, 3, &call);
  RequireAnswer(later);
  Require(later != KV_STOPPED, "a stop that lasts");
  RequireAnswer(kv_stop(input.Number(0, 31) == 0 ? nullptr : context));
  kv_context_free(context);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static_cast<void>(kv_test::Members());
  Input input(data, size);
  Require(kv_abi_version() > 0 && *kv_version_string() != '\0', "a library of no version");
  kv_frame frames[2];
  const OwnedFrame first(&frames[0]);
  const OwnedFrame second(&frames[1]);
  Make(input, frames[0]);
  if (input.Number(0, 1) == 0) {
    Make(input, frames[1]);
  } else {
    kv_frame_init(&frames[1]);
    frames[1].format = frames[0].format;
    frames[1].width = frames[0].width;
    frames[1].height = frames[0].height;
    if (MayBeAllocated(frames[1])) RequireAnswer(kv_frame_alloc(&frames[1]));
  }
  Stop(input, frames[0], frames[1]);
  kv_frame_free(&frames[0]);
  Require(frames[0].planes[0] == nullptr && frames[0].memory == nullptr, "a frame that keeps what was freed");
  return 0;
}
