#include <windows.h>

#include "run/platform/process.h"

namespace kv_run {

void KeepModule() {
  static const char anchor = 0;
  HMODULE module = nullptr;
  GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_PIN | GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS,
                     reinterpret_cast<const wchar_t*>(&anchor), &module);
}

std::uint32_t ForkCount() noexcept {
  return 0;
}

}  // namespace kv_run
