#include "capi/error.h"

#include <cstdarg>
#include <cstdio>
#include <new>
#include <string>

#include "image/errors/exceptions.h"

namespace kv_capi {
namespace {

// Plain memory: nothing has to be destroyed when a thread ends after the library was unloaded.
thread_local char lastError[512];

[[KV_PRINTF_LIKE(1, 2)]] void Set(const char* format, ...) noexcept {
  std::va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(lastError, sizeof lastError, format, arguments);
  va_end(arguments);
}

kv_status Describe(const kv_std::KVException& exception, kv_status status) noexcept {
  const auto& message = exception.Message();
  char narrow[sizeof lastError];
  std::size_t length = 0;
  for (const wchar_t character : message) {
    if (length + 1 == sizeof narrow) break;
    narrow[length++] = character < 128 ? static_cast<char>(character) : '?';
  }
  narrow[length] = '\0';
  Set("%s", narrow);
  return status;
}

kv_status StatusOfCode(std::uint32_t code) {
  switch (code) {
    case 1:
      return KV_SIZE_MISMATCH;
    case 2:
      return KV_BAD_ARGUMENT;
    case 3:
      return KV_OUT_OF_MEMORY;
    default:
      return KV_UNSUPPORTED;
  }
}

}  // namespace

void Fail(kv_status status, const char* format, ...) {
  Failure failure{status, {}};
  std::va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(failure.text, sizeof failure.text, format, arguments);
  va_end(arguments);
  throw failure;
}

const char* LastError() noexcept {
  return lastError;
}

kv_status StatusOfCaught() noexcept {
  try {
    throw;
  } catch (const Failure& failure) {
    Set("%s", failure.text);
    return failure.status;
  } catch (const std::bad_alloc&) {
    Set("out of memory");
    return KV_OUT_OF_MEMORY;
  } catch (const kv_img::AlgoMMXException& error) {
    return Describe(error, StatusOfCode(error.Code()));
  } catch (const kv_img::AlgoException& error) {
    return Describe(error, error.Code() == 1 ? KV_NO_MEMBER : KV_BAD_ARGUMENT);
  } catch (const kv_img::AlgoMotionException& error) {
    return Describe(error, KV_BAD_ARGUMENT);
  } catch (const kv_std::KVException& error) {
    return Describe(error, KV_INTERNAL);
  } catch (const std::exception& error) {
    Set("internal: %s", error.what());
  } catch (...) {
    Set("internal: an exception of an unknown kind");
  }
  return KV_INTERNAL;
}

}  // namespace kv_capi
