#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "frame/platform/platform.h"
#include "image/errors/exceptions.h"

namespace kv_img {

// A kernel set derives from one of these; its operations name themselves with the member's suffix in
// messages.
struct MemberC {
  static constexpr std::wstring_view suffix = L"C";
};
struct MemberMMX {
  static constexpr std::wstring_view suffix = L"MMX";
};
struct MemberSSE2 {
  static constexpr std::wstring_view suffix = L"SSE2";
};

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
