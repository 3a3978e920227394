#pragma once

#include <filesystem>
#include <set>
#include <string>

namespace kv_test {

/// The names that a module's file exports, read from the file itself. Throws std::runtime_error for a file
/// that is no module.
std::set<std::string> ExportedSymbols(const std::filesystem::path& file);
#if !defined(_WIN32)
/// The names that the file wants of other modules.
std::set<std::string> WantedSymbols(const std::filesystem::path& file);
#endif

}  // namespace kv_test
