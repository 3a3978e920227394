#include <windows.h>

#include "tests/support/loaded_module.h"

namespace kv_test {

bool IsModuleLoaded(const std::filesystem::path& file) {
  std::filesystem::path native = file;
  return GetModuleHandleW(native.make_preferred().c_str()) != nullptr;
}

}  // namespace kv_test
