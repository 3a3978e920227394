#pragma once

#include <filesystem>

namespace kv_test {

/// Whether the module of this file is in the memory of the process.
bool IsModuleLoaded(const std::filesystem::path& file);

}  // namespace kv_test
