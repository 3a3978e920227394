#pragma once

#include <filesystem>
#include <string>

namespace kv_host {

/// The file of this name. Names are UTF-8 text on every system, whatever the system's own text is.
inline std::filesystem::path PathOf(const std::string& name) {
  return std::u8string(name.begin(), name.end());
}

/// The name of this file.
inline std::string Utf8Name(const std::filesystem::path& file) {
  const std::u8string name = file.u8string();
  return {name.begin(), name.end()};
}

}  // namespace kv_host
