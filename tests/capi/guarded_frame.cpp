#include "tests/capi/guarded_frame.h"

#include <algorithm>
#include <stdexcept>

#if defined(_WIN32)
#include <windows.h>
#else
#include <sys/mman.h>
#endif

namespace kv_test {
namespace {

constexpr std::size_t page = 4096;

#if defined(_WIN32)
std::uint8_t* Reserve(std::size_t bytes) {
  return static_cast<std::uint8_t*>(VirtualAlloc(nullptr, bytes, MEM_RESERVE, PAGE_NOACCESS));
}
void Open(std::uint8_t* at, std::size_t bytes) {
  VirtualAlloc(at, bytes, MEM_COMMIT, PAGE_READWRITE);
}
void Release(std::uint8_t* at, std::size_t /*bytes*/) {
  VirtualFree(at, 0, MEM_RELEASE);
}
#else
std::uint8_t* Reserve(std::size_t bytes) {
  void* at = mmap(nullptr, bytes, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  return at == MAP_FAILED ? nullptr : static_cast<std::uint8_t*>(at);
}
void Open(std::uint8_t* at, std::size_t bytes) {
  mprotect(at, bytes, PROT_READ | PROT_WRITE);
}
void Release(std::uint8_t* at, std::size_t bytes) {
  munmap(at, bytes);
}
#endif

}  // namespace

GuardedFrame::GuardedFrame(int format, int width, int height, Placement placement, bool isBottomUp) {
  kv_frame_init(&view_);
  view_.format = format;
  view_.width = width;
  view_.height = height;
  kv_format_planes(format, &planes_);
  for (int plane = 0; plane < planes_; ++plane) {
    const auto rowBytes = static_cast<std::size_t>(RowBytes(plane));
    const std::size_t open = (rowBytes + page - 1) / page * page;
    const std::size_t pitch = open + page;
    bytes_[plane] = pitch * static_cast<std::size_t>(height) + page;
    memory_[plane] = Reserve(bytes_[plane]);
    if (memory_[plane] == nullptr) throw std::runtime_error("no memory for guarded rows");
    for (int row = 0; row < height; ++row)
      Open(memory_[plane] + page + static_cast<std::size_t>(row) * pitch, open);
    std::uint8_t* first = memory_[plane] + page + (placement == Placement::EndOfPage ? open - rowBytes : 0);
    view_.planes[plane] = isBottomUp ? first + static_cast<std::size_t>(height - 1) * pitch : first;
    view_.strides[plane] = isBottomUp ? -static_cast<std::int64_t>(pitch) : static_cast<std::int64_t>(pitch);
  }
}

GuardedFrame::~GuardedFrame() {
  for (int plane = 0; plane < planes_; ++plane) Release(memory_[plane], bytes_[plane]);
}

std::int64_t GuardedFrame::RowBytes(int plane) const {
  std::int64_t bytes = 0;
  kv_format_row_bytes(view_.format, plane, view_.width, &bytes);
  return bytes;
}

void GuardedFrame::Fill(std::mt19937& random, int largest) {
  for (int plane = 0; plane < planes_; ++plane) {
    for (int row = 0; row < view_.height; ++row) {
      std::uint8_t* bytes = Row(plane, row);
      for (std::int64_t i = 0; i < RowBytes(plane); ++i) {
        bytes[i] = static_cast<std::uint8_t>(random() % static_cast<unsigned>(largest + 1));
      }
    }
  }
}

void GuardedFrame::CopyFrom(const GuardedFrame& other) {
  for (int plane = 0; plane < planes_; ++plane) {
    for (int row = 0; row < view_.height; ++row)
      std::copy_n(other.Row(plane, row), RowBytes(plane), Row(plane, row));
  }
}

bool GuardedFrame::Equals(const GuardedFrame& other) const {
  for (int plane = 0; plane < planes_; ++plane) {
    for (int row = 0; row < view_.height; ++row) {
      if (!std::equal(Row(plane, row), Row(plane, row) + RowBytes(plane), other.Row(plane, row)))
        return false;
    }
  }
  return true;
}

Context MakeContext(int threads, const char* member) {
  kv_context_options options;
  kv_context_options_init(&options);
  options.threads = threads;
  options.member = member;
  kv_context* context = nullptr;
  if (kv_context_new(&options, &context) != KV_OK) throw std::runtime_error(kv_last_error());
  return Context(context);
}

Region Rectangle(int left, int top, int width, int height) {
  kv_region* region = nullptr;
  if (kv_region_rectangle(left, top, width, height, &region) != KV_OK)
    throw std::runtime_error(kv_last_error());
  return Region(region);
}

}  // namespace kv_test
