#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "frame/platform/platform.h"
#include "image/errors/exceptions.h"

namespace kv_img {

/// Throws AlgoMMXException `code` in the name of an operation: "Copy" of the MMX member says "CopyMMX",
/// followed by `tail`; `detail` is the second argument of the message. Leaves the SIMD state clean.
template <class Kernels>
[[noreturn]] void Refuse(std::uint32_t code, std::wstring_view operation, std::wstring_view tail = {},
                         const wchar_t* detail = L"") {
  kv_platform::ClearSimdState();
  std::wstring name(operation);
  name.append(Kernels::suffix).append(tail);
  throw AlgoMMXException(code, name.c_str(), detail);
}

}  // namespace kv_img
