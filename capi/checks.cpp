#include "capi/checks.h"

#include <algorithm>
#include <cinttypes>
#include <cmath>

#include "image/image.h"

namespace kv_capi {
namespace {

constexpr std::int64_t longestStride = std::int64_t{1} << 40;

/// Addresses as numbers, so that any pointers can be compared.
struct Rows {
  std::uintptr_t first;
  std::int64_t stride;
  std::int64_t bytes;
  std::int64_t count;

  std::uintptr_t Low() const {
    return stride < 0 ? first + static_cast<std::uintptr_t>((count - 1) * stride) : first;
  }
  std::uintptr_t Span() const {
    return static_cast<std::uintptr_t>((count - 1) * (stride < 0 ? -stride : stride) + bytes);
  }
};

Rows RowsOf(const Frame& frame, int plane) {
  return {reinterpret_cast<std::uintptr_t>(frame.view->planes[plane]), frame.view->strides[plane],
          RowBytes(*frame.format, plane, frame.width), frame.height};
}

bool Overlap(const Rows& a, const Rows& b) {
  const std::uintptr_t lowA = a.Low();
  const std::uintptr_t lowB = b.Low();
  const bool areApart = lowA < lowB ? lowB - lowA >= a.Span() : lowA - lowB >= b.Span();
  if (areApart) return false;
  // Rows of equal stride may be woven into each other, such as the two fields of a frame.
  const std::int64_t stride = std::abs(a.stride);
  if (stride == 0 || stride != std::abs(b.stride)) return true;
  const auto offset = static_cast<std::int64_t>((lowA < lowB ? lowB - lowA : lowA - lowB) %
                                                static_cast<std::uintptr_t>(stride));
  const std::int64_t upper = lowA < lowB ? a.bytes : b.bytes;
  const std::int64_t lower = lowA < lowB ? b.bytes : a.bytes;
  return offset < upper || offset + lower > stride;
}

template <class Predicate>
void CheckPlanes(const Frame& a, const Frame& b, Predicate isAllowed) {
  for (int p = 0; p < a.format->planes; ++p) {
    for (int q = 0; q < b.format->planes; ++q) {
      const Rows rowsA = RowsOf(a, p);
      const Rows rowsB = RowsOf(b, q);
      if (isAllowed(rowsA, rowsB) || !Overlap(rowsA, rowsB)) continue;
      Fail(KV_BAD_ARGUMENT, "%s: plane %d overlaps plane %d of %s; give it memory of its own", b.name, q, p,
           a.name);
    }
  }
}

void CheckPlane(const char* name, const kv_frame& frame, const Format& format, int plane) {
  const std::uint8_t* first = frame.planes[plane];
  if (first == nullptr) {
    Fail(KV_BAD_ARGUMENT, "%s->planes[%d] is null; %s has %d plane%s", name, plane, format.name,
         format.planes, format.planes == 1 ? "" : "s");
  }
  const std::int64_t needed = RowBytes(format, plane, frame.width);
  const std::int64_t stride = frame.strides[plane];
  if (stride > longestStride || stride < -longestStride) {
    Fail(KV_BAD_ARGUMENT, "%s->strides[%d] is %" PRId64 "; at most 2^40 bytes either way", name, plane,
         stride);
  }
  if (frame.height > 1 && std::abs(stride) < needed) {
    Fail(KV_BAD_ARGUMENT,
         "%s->strides[%d] is %" PRId64 "; a row of %" PRId32 " %s pixels takes %" PRId64 " bytes", name,
         plane, stride, frame.width, format.name, needed);
  }
  const auto address = reinterpret_cast<std::uintptr_t>(first);
  const auto reach =
      static_cast<std::uintptr_t>(std::abs(stride)) * static_cast<std::uintptr_t>(frame.height - 1);
  const auto row = static_cast<std::uintptr_t>(needed);
  const bool isDown = stride < 0;
  if (address > UINTPTR_MAX - row || (isDown ? reach > address : reach > UINTPTR_MAX - row - address)) {
    Fail(KV_BAD_ARGUMENT,
         "%s->planes[%d]: %" PRId32 " rows of stride %" PRId64 " reach past the end of the address space",
         name, plane, frame.height, stride);
  }
}

void CheckEnum(const char* name, const char* field, std::int32_t value, std::int32_t last) {
  if (value < 0 || value > last) {
    Fail(KV_BAD_ARGUMENT, "%s->%s is %" PRId32 "; 0 to %" PRId32, name, field, value, last);
  }
}

}  // namespace

void CheckPointer(const char* name, const void* pointer, std::size_t alignment) {
  if (pointer == nullptr) Fail(KV_BAD_ARGUMENT, "%s is null", name);
  if (reinterpret_cast<std::uintptr_t>(pointer) % alignment != 0) {
    Fail(KV_BAD_ARGUMENT, "%s is %p; its address must be a multiple of %zu", name, pointer, alignment);
  }
}

void CheckStructSize(const char* name, std::uint32_t given, std::size_t known, const char* init) {
  if (given == known) return;
  Fail(KV_BAD_ARGUMENT, "%s->struct_size is %" PRIu32 "; this library knows %zu (%s sets it)", name, given,
       known, init);
}

void CheckReserved(const char* name, bool isZero) {
  if (!isZero) Fail(KV_BAD_ARGUMENT, "%s: a reserved field is not 0; this library knows no use of it", name);
}

Frame CheckFrame(const char* name, const kv_frame* frame) {
  CheckStruct(name, frame, "kv_frame_init");
  const Format* format = FindFormat(frame->format);
  if (format == nullptr) {
    Fail(KV_BAD_ARGUMENT, "%s->format is %" PRId32 "; it is none of KV_FORMAT_…", name, frame->format);
  }
  for (const auto& [field, value] : {std::pair{"width", frame->width}, std::pair{"height", frame->height}}) {
    if (value < 1 || value > kv_img::maxImageSide) {
      Fail(KV_BAD_ARGUMENT, "%s->%s is %" PRId32 "; 1 to %d", name, field, value, kv_img::maxImageSide);
    }
  }
  CheckEnum(name, "field_order", frame->field_order, KV_FIELDS_BOTTOM_FIRST);
  CheckEnum(name, "row_parity", frame->row_parity, 1);
  CheckEnum(name, "matrix", frame->matrix, KV_MATRIX_BT2020);
  CheckEnum(name, "range", frame->range, KV_RANGE_FULL);
  CheckEnum(name, "chroma", frame->chroma, KV_CHROMA_CENTRE);
  CheckReserved(name, AreZero(frame->reserved));
  for (int plane = 0; plane < format->planes; ++plane) CheckPlane(name, *frame, *format, plane);
  return {name, frame, format, frame->width, frame->height};
}

void CheckSameSize(const Frame& a, const Frame& b) {
  if (a.width == b.width && a.height == b.height) return;
  Fail(KV_SIZE_MISMATCH, "%s is %dx%d, %s is %dx%d; they must be equal", b.name, b.width, b.height, a.name,
       a.width, a.height);
}

void CheckStorage(const Frame& frame, Storage storage, const char* what) {
  if (frame.format->storage == storage) return;
  Fail(KV_UNSUPPORTED, "%s->format is %s; it must be %s", frame.name, frame.format->name, what);
}

void CheckSameFormat(const Frame& a, const Frame& b) {
  if (a.format == b.format) return;
  Fail(KV_UNSUPPORTED, "%s is %s, %s is %s; they must be equal", b.name, b.format->name, a.name,
       a.format->name);
}

void CheckNoOverlap(const Frame& source, const Frame& destination) {
  CheckPlanes(source, destination, [](const Rows& /*a*/, const Rows& /*b*/) { return false; });
}

void CheckNoOverlapButInPlace(const Frame& source, const Frame& destination) {
  CheckPlanes(source, destination,
              [](const Rows& a, const Rows& b) { return a.first == b.first && a.stride == b.stride; });
}

void CheckRange(const char* name, std::int64_t value, std::int64_t low, std::int64_t high) {
  if (value >= low && value <= high) return;
  Fail(KV_BAD_ARGUMENT, "%s is %" PRId64 "; %" PRId64 " to %" PRId64, name, value, low, high);
}

void CheckNumber(const char* name, double value, double low, double high) {
  if (std::isfinite(value) && value >= low && value <= high) return;
  Fail(KV_BAD_ARGUMENT, "%s is %g; %g to %g", name, value, low, high);
}

}  // namespace kv_capi
