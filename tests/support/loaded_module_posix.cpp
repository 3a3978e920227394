#include <dlfcn.h>

#include "tests/support/loaded_module.h"

namespace kv_test {

bool IsModuleLoaded(const std::filesystem::path& file) {
  void* module = dlopen(file.c_str(), RTLD_LAZY | RTLD_NOLOAD);
  if (module != nullptr) dlclose(module);
  return module != nullptr;
}

}  // namespace kv_test
