#include <cpuid.h>
#include <dlfcn.h>
#include <link.h>

#include <cwchar>
#include <filesystem>
#include <mutex>

#include "frame/platform/platform.h"

namespace kv_platform {
namespace {

constexpr std::size_t maxWideLength = 256;

// The folder of the module that this code is part of, the program itself or a shared object.
std::filesystem::path FindOwnFolder() {
  static const char anchor = 0;
  Dl_info info{};
  void* entry = nullptr;
  if (dladdr1(&anchor, &info, &entry, RTLD_DL_LINKMAP) == 0 || entry == nullptr) return {};
  std::error_code error;
  // The program's own entry has no name: what it was called with may lead anywhere.
  const char* name = static_cast<const link_map*>(entry)->l_name;
  const std::filesystem::path file = *name == '\0' ? std::filesystem::read_symlink("/proc/self/exe", error)
                                                   : std::filesystem::canonical(name, error);
  return file.parent_path();
}

// Found while the module is loaded, when a relative name still means what it meant to the loader.
const std::filesystem::path& OwnFolder() {
  static const std::filesystem::path folder = FindOwnFolder();
  return folder;
}
[[maybe_unused]] const bool isOwnFolderKnown = !OwnFolder().empty();

}  // namespace

struct CriticalSection::Body {
  std::mutex mutex;
};

CriticalSection::CriticalSection() : body_(std::make_unique<Body>()) {}
CriticalSection::~CriticalSection() = default;
void CriticalSection::lock() {
  body_->mutex.lock();
}
void CriticalSection::unlock() {
  body_->mutex.unlock();
}

ModuleHandle LoadModule(std::wstring_view name) {
  const std::string file = std::string(name.begin(), name.end()) + ".so";
  if (!OwnFolder().empty()) {
    if (ModuleHandle module = dlopen((OwnFolder() / file).c_str(), RTLD_NOW | RTLD_LOCAL)) return module;
  }
  // A name without a slash is searched for in the system's folders only.
  return dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
}

void* FindFunction(ModuleHandle module, const char* name) {
  return dlsym(module, name);
}

void UnloadModule(ModuleHandle module) {
  dlclose(module);
}

std::uint32_t ProcessorFeatures() {
  unsigned eax = 0;
  unsigned ebx = 0;
  unsigned ecx = 0;
  unsigned edx = 0;
  return __get_cpuid(1, &eax, &ebx, &ecx, &edx) != 0 ? edx : 0;
}

std::wstring Widen(const char* text) {
  std::wstring wide;
  std::mbstate_t state{};
  const std::string_view narrow(text);
  std::size_t at = 0;
  while (at < narrow.size() && wide.size() < maxWideLength) {
    wchar_t character = 0;
    const std::size_t used = std::mbrtowc(&character, narrow.data() + at, narrow.size() - at, &state);
    if (used == 0 || used > narrow.size() - at) {
      // A byte that the locale cannot read stands for itself.
      character = static_cast<wchar_t>(static_cast<unsigned char>(narrow[at]));
      state = {};
      ++at;
    } else {
      at += used;
    }
    wide += character;
  }
  return wide;
}

}  // namespace kv_platform
