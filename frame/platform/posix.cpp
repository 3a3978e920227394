#include <dlfcn.h>
#include <link.h>

#include <cstddef>
#include <cwchar>
#include <filesystem>
#include <memory>
#include <mutex>
#include <new>
#include <string>
#include <vector>

#include "frame/platform/platform.h"

namespace kv_platform {
namespace {

constexpr std::size_t maxWideLength = 256;

// The loader's entry of the module that holds an address, the program itself or a shared object.
link_map* EntryAround(const void* address) {
  Dl_info info{};
  void* entry = nullptr;
  return dladdr1(address, &info, &entry, RTLD_DL_LINKMAP) == 0 ? nullptr : static_cast<link_map*>(entry);
}

// An address in the module that this code is part of.
const void* OwnAddress() {
  static const char anchor = 0;
  return &anchor;
}

link_map* OwnEntry() {
  return EntryAround(OwnAddress());
}

link_map* EntryOf(ModuleHandle module) {
  link_map* entry = nullptr;
  return dlinfo(module, RTLD_DI_LINKMAP, &entry) == 0 ? entry : nullptr;
}

bool IsOwn(ModuleHandle module) {
  return EntryOf(module) == OwnEntry();
}

// Found while the module is loaded, when a relative name still means what it meant to the loader.
const std::filesystem::path& OwnFolder() {
  static const std::filesystem::path folder = FolderOf(OwnAddress());
  return folder;
}
// Nobody could catch what is thrown while a module is loaded: without memory it is found when it is needed.
[[maybe_unused]] const bool isOwnFolderKnown = []() noexcept {
  try {
    return !OwnFolder().empty();
  } catch (const std::bad_alloc&) {
    return false;
  }
}();

ModuleHandle Open(const std::string& file) {
  return dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
}

// Tries `file` in every folder. A file that exists but cannot be loaded is reported in `problems`; folders
// without it are reported when nothing worse was met.
ModuleHandle OpenInFolders(const std::string& file, std::span<const std::filesystem::path> folders,
                           std::string& problems) {
  std::string absences;
  for (const std::filesystem::path& folder : folders) {
    // A path that starts without a slash might be one that the loader searches for.
    std::error_code error;
    const std::filesystem::path candidate = std::filesystem::absolute(folder / file, error);
    if (!std::filesystem::exists(candidate, error)) {
      absences += "not in " + folder.string() + "; ";
      continue;
    }
    if (ModuleHandle module = Open(candidate.string())) return module;
    problems += std::string(dlerror()) + "; ";
  }
  if (problems.empty()) problems = absences;
  return nullptr;
}

// A relative folder in which the loader would search for this module; empty when there is none.
// LD_LIBRARY_PATH and the module's RUNPATH may hold one; the loader reads an empty entry as the current
// folder.
std::string RelativeSearchFolder() {
  const link_map* entry = OwnEntry();
  if (entry == nullptr) return {};
  const std::unique_ptr<void, int (*)(void*)> own(dlopen(entry->l_name, RTLD_LAZY | RTLD_NOLOAD), dlclose);
  Dl_serinfo size{};
  if (own == nullptr || dlinfo(own.get(), RTLD_DI_SERINFOSIZE, &size) != 0) return {};
  std::vector<std::max_align_t> memory(size.dls_size / sizeof(std::max_align_t) + 1);
  auto* found = reinterpret_cast<Dl_serinfo*>(memory.data());
  *found = size;
  if (dlinfo(own.get(), RTLD_DI_SERINFO, found) != 0) return {};
  for (unsigned i = 0; i < found->dls_cnt; ++i) {
    const std::string folder = found->dls_serpath[i].dls_name;
    if (!folder.starts_with('/')) return folder;
  }
  return {};
}

}  // namespace

struct CriticalSection::Body {
  std::mutex mutex;
};

CriticalSection::CriticalSection() noexcept : body_(::new (memory_) Body) {
  static_assert(sizeof(Body) <= sizeof(memory_));
}
CriticalSection::~CriticalSection() {
  body_->~Body();
}
void CriticalSection::lock() {
  body_->mutex.lock();
}
void CriticalSection::unlock() {
  body_->mutex.unlock();
}

LoadedModule LoadModule(std::wstring_view name, std::span<const std::filesystem::path> folders) {
  const std::string file = std::string(name.begin(), name.end()) + ".so";
  std::vector<std::filesystem::path> places;
  if (!OwnFolder().empty()) places.push_back(OwnFolder());
  places.insert(places.end(), folders.begin(), folders.end());

  LoadedModule loaded;
  loaded.handle = OpenInFolders(file, places, loaded.problem);
  if (loaded.handle == nullptr) {
    if (const std::string folder = RelativeSearchFolder(); !folder.empty()) {
      loaded.problem +=
          "the system's search is skipped: LD_LIBRARY_PATH has the relative folder \"" + folder + '"';
      return loaded;
    }
    // A name without a slash is searched for in the system's folders only.
    loaded.handle = Open(file);
  }
  if (loaded.handle == nullptr) {
    loaded.problem += dlerror();
    return loaded;
  }
  loaded.problem.clear();
  if (const link_map* entry = EntryOf(loaded.handle)) loaded.file = entry->l_name;
  if (IsOwn(loaded.handle)) dlclose(loaded.handle);
  return loaded;
}

void* FindFunction(ModuleHandle module, const char* name) {
  return dlsym(module, name);
}

void UnloadModule(ModuleHandle module) {
  if (!IsOwn(module)) dlclose(module);
}

std::filesystem::path FolderOf(const void* address) {
  const link_map* entry = EntryAround(address);
  if (entry == nullptr) return {};
  std::error_code error;
  // The program's own entry has no name: what it was called with may lead anywhere.
  const std::filesystem::path file = *entry->l_name == '\0'
                                         ? std::filesystem::read_symlink("/proc/self/exe", error)
                                         : std::filesystem::canonical(entry->l_name, error);
  return file.parent_path();
}

void KeepOwnModule() {
  const link_map* entry = OwnEntry();
  // The program itself, which has no name, stays anyway.
  if (entry != nullptr && *entry->l_name != '\0') dlopen(entry->l_name, RTLD_LAZY | RTLD_NOLOAD);
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
