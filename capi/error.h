#pragma once

#include <cstdint>

#include "capi/kv/kv.h"

// MinGW's g++ knows the C library's own printf by the one name and Microsoft's by the other; clang has one.
#if defined(__clang__)
#define KV_PRINTF_LIKE(text, values) gnu::format(printf, text, values)
#else
#define KV_PRINTF_LIKE(text, values) gnu::format(gnu_printf, text, values)
#endif

namespace kv_capi {

/// Why a call does not succeed. Whichever thread it is thrown on, its text becomes the caller's last error.
struct Failure {
  kv_status status;
  char text[512];
};

/// Throws a Failure with a text in the manner of printf.
[[noreturn, KV_PRINTF_LIKE(2, 3)]] void Fail(kv_status status, const char* format, ...);

/// The text of this thread's last failure.
const char* LastError() noexcept;
/// The status of what is being handled in a catch block. Its text becomes this thread's last error.
kv_status StatusOfCaught() noexcept;

/// Runs the body of an exported function: no exception leaves.
template <class Body>
kv_status Guarded(Body body) noexcept {
  try {
    body();
    return KV_OK;
  } catch (...) {
    return StatusOfCaught();
  }
}

}  // namespace kv_capi
