#pragma once

#include <cstdint>
#include <type_traits>

#include "capi/error.h"
#include "capi/formats.h"

namespace kv_capi {

/// A frame that was checked: sizes, planes and strides are sound.
struct Frame {
  const char* name;  ///< of the argument
  const kv_frame* view;
  const Format* format;
  int width;
  int height;

  std::uint8_t* Row(int plane, std::int64_t row) const {
    return view->planes[plane] + row * view->strides[plane];
  }
};

/// Checks pointer and alignment of an argument.
void CheckPointer(const char* name, const void* pointer, std::size_t alignment);
/// Checks the size that a struct says it has.
void CheckStructSize(const char* name, std::uint32_t given, std::size_t known, const char* init);
void CheckReserved(const char* name, bool isZero);

template <class Struct>
void CheckStruct(const char* name, const Struct* options, const char* init) {
  CheckPointer(name, options, alignof(Struct));
  CheckStructSize(name, options->struct_size, sizeof(Struct), init);
}

/// Whether all elements of a reserved array are 0.
template <class Element, std::size_t count>
bool AreZero(const Element (&reserved)[count]) {
  for (const Element element : reserved) {
    if (element != 0) return false;
  }
  return true;
}

Frame CheckFrame(const char* name, const kv_frame* frame);

/// Both have the same width and height.
void CheckSameSize(const Frame& a, const Frame& b);
/// The format is one of the storage, such as packed 4:2:2; `what` names what the function takes.
void CheckStorage(const Frame& frame, Storage storage, const char* what);
void CheckSameFormat(const Frame& a, const Frame& b);
/// No byte of the destination's rows belongs to a row of the source.
void CheckNoOverlap(const Frame& source, const Frame& destination);
/// The same, but both may be the very same rows.
void CheckNoOverlapButInPlace(const Frame& source, const Frame& destination);

/// Fails unless low <= value <= high.
void CheckRange(const char* name, std::int64_t value, std::int64_t low, std::int64_t high);
void CheckNumber(const char* name, double value, double low, double high);

}  // namespace kv_capi
