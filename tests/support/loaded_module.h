#pragma once

#include <filesystem>

namespace kv_test {

/// What the file names of modules end with.
#if defined(_WIN32)
inline constexpr const char* moduleExtension = ".dll";
#else
inline constexpr const char* moduleExtension = ".so";
#endif

/// Whether the module of this file is in the memory of the process.
bool IsModuleLoaded(const std::filesystem::path& file);

}  // namespace kv_test
