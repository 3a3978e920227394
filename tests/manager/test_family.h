#pragma once

#include <filesystem>
#include <vector>

#include "frame/algorithm_manager_impl.h"
#include "tests/support/loaded_module.h"

namespace kv_test {

/// The folder of the small modules.
inline const std::filesystem::path moduleFolder = KV_TEST_MODULES;

inline std::filesystem::path ModuleFile(const std::filesystem::path& name) {
  return moduleFolder / (name.string() + moduleExtension);
}

/// A family of small modules on a processor that has feature bit 0 alone.
inline kv_img::ManagerSetup Family(std::vector<const wchar_t*> names) {
  kv_img::ManagerSetup setup;
  setup.family = std::move(names);
  setup.processorFeatures = 1;
  setup.folders = {moduleFolder};
  return setup;
}

}  // namespace kv_test
