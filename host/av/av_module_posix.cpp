#include <dlfcn.h>

#include <utility>

#include "host/av/av_module.h"

namespace kv_host {
namespace {

std::vector<std::filesystem::path> modulePaths;

}  // namespace

void EnableAv(std::vector<std::filesystem::path> modules) {
  modulePaths = std::move(modules);
}

bool IsAvEnabled() {
  return !modulePaths.empty();
}

std::optional<std::string> AvModule() {
  std::error_code error;
  for (const std::filesystem::path& path : modulePaths) {
    if (std::filesystem::exists(path, error)) return path.string();
  }
  return std::nullopt;
}

const KvAvDoor* LoadAvDoor(const std::string& module, std::string& problem) {
  void* library = dlopen(module.c_str(), RTLD_NOW | RTLD_LOCAL);
  auto* function =
      library == nullptr ? nullptr : reinterpret_cast<KvAvDoorFunction>(dlsym(library, "kv_av_door"));
  const KvAvDoor* door = function == nullptr ? nullptr : function();
  if (door != nullptr && door->version == KvAvVersion) return door;
  problem = std::string("the module kv_av cannot be loaded: ") +
            (library == nullptr ? dlerror() : "it is of another version of kv");
  return nullptr;
}

}  // namespace kv_host
