#pragma once

#include <cstdint>
#include <exception>

#include "capi/kv/kv.h"

// MinGW's g++ knows the C library's own printf by the one name and Microsoft's by the other; clang has one.
#if defined(__clang__)
#define KV_PRINTF_LIKE(text, values) gnu::format(printf, text, values)
#else
#define KV_PRINTF_LIKE(text, values) gnu::format(gnu_printf, text, values)
#endif

namespace kv_capi {

/// Why a call does not succeed. Its text is this thread's last error from the moment it is thrown.
struct Failure {
  kv_status status;
};

/// Throws a Failure with a text in the manner of printf.
[[noreturn, KV_PRINTF_LIKE(2, 3)]] void Fail(kv_status status, const char* format, ...);

/// The text of this thread's last failure.
const char* LastError() noexcept;
/// Passes a text from one thread to another.
void SetLastError(const char* text) noexcept;

/// The status of an exception that a call ended with; sets the thread's text if the exception is not a Failure.
kv_status StatusOf(const std::exception_ptr& exception) noexcept;

/// Runs the body of an exported function: no exception leaves.
template <class Body>
kv_status Guarded(Body body) noexcept {
  try {
    body();
    return KV_OK;
  } catch (const Failure& failure) {
    return failure.status;
  } catch (...) {
    return StatusOf(std::current_exception());
  }
}

}  // namespace kv_capi
