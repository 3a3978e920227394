#include <windows.h>

#include <algorithm>
#include <new>
#include <vector>

#include "frame/platform/platform.h"

namespace kv_platform {
namespace {

constexpr std::size_t maxWideLength = 256;

// The module that holds an address, the program itself or a DLL.
HMODULE ModuleAround(const void* address) {
  HMODULE module = nullptr;
  return GetModuleHandleExW(
             GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT | GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS,
             static_cast<const wchar_t*>(address), &module) != 0
             ? module
             : nullptr;
}

HMODULE OwnModule() {
  static const char anchor = 0;
  return ModuleAround(&anchor);
}

HMODULE Native(ModuleHandle module) {
  return static_cast<HMODULE>(module);
}

std::filesystem::path FileOf(HMODULE module) {
  // The longest path that Windows knows.
  std::wstring file(32768, L'\0');
  file.resize(GetModuleFileNameW(module, file.data(), static_cast<DWORD>(file.size())));
  return file;
}

std::string Utf8(std::wstring_view text) {
  const int length = static_cast<int>(text.size());
  std::string narrow(static_cast<std::size_t>(length) * 3, '\0');
  const int size = WideCharToMultiByte(CP_UTF8, 0, text.data(), length, narrow.data(),
                                       static_cast<int>(narrow.size()), nullptr, nullptr);
  narrow.resize(static_cast<std::size_t>(size));
  return narrow;
}

std::string LastProblem() {
  const DWORD code = GetLastError();
  wchar_t text[256];
  DWORD length = FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, code, 0,
                                text, std::size(text), nullptr);
  while (length > 0 && (text[length - 1] < L' ' || text[length - 1] == L' ' || text[length - 1] == L'.'))
    --length;
  return length > 0 ? Utf8({text, length}) : "error " + std::to_string(code);
}

// Tries `file` in every folder. A file that is there but cannot be loaded is reported in `problems`, as is a
// folder without it, which is less of a problem: only told when nothing worse was met.
HMODULE OpenInFolders(const std::wstring& file, std::span<const std::filesystem::path> folders,
                      std::string& problems) {
  std::string absences;
  for (const std::filesystem::path& folder : folders) {
    const std::filesystem::path candidate = (folder / file).make_preferred();
    std::error_code error;
    if (!std::filesystem::exists(candidate, error)) {
      absences += "not in " + Utf8(folder.native()) + "; ";
      continue;
    }
    // What a member needs may be in its own folder.
    if (HMODULE module = LoadLibraryExW(candidate.c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH)) {
      return module;
    }
    problems += Utf8(candidate.native()) + ": " + LastProblem() + "; ";
  }
  if (problems.empty()) problems = absences;
  return nullptr;
}

}  // namespace

struct CriticalSection::Body {
  CRITICAL_SECTION section;
};

CriticalSection::CriticalSection() noexcept : body_(::new (memory_) Body) {
  static_assert(sizeof(Body) <= sizeof(memory_));
  InitializeCriticalSection(&body_->section);
}
CriticalSection::~CriticalSection() {
  DeleteCriticalSection(&body_->section);
  body_->~Body();
}
void CriticalSection::lock() {
  EnterCriticalSection(&body_->section);
}
void CriticalSection::unlock() {
  LeaveCriticalSection(&body_->section);
}

LoadedModule LoadModule(std::wstring_view name, std::span<const std::filesystem::path> folders) {
  const std::wstring file = std::wstring(name) + L".dll";
  std::vector<std::filesystem::path> places = {FileOf(OwnModule()).parent_path()};
  places.insert(places.end(), folders.begin(), folders.end());

  LoadedModule loaded;
  HMODULE module = OpenInFolders(file, places, loaded.problem);
  // The system's own search would look in the current folder too: only the folders that are safe.
  if (module == nullptr) module = LoadLibraryExW(file.c_str(), nullptr, LOAD_LIBRARY_SEARCH_DEFAULT_DIRS);
  if (module == nullptr) {
    loaded.problem += Utf8(file) + ": " + LastProblem();
    return loaded;
  }
  loaded.problem.clear();
  loaded.handle = module;
  loaded.file = FileOf(module);
  if (module == OwnModule()) FreeLibrary(module);
  return loaded;
}

void* FindFunction(ModuleHandle module, const char* name) {
  return reinterpret_cast<void*>(GetProcAddress(Native(module), name));
}

std::filesystem::path FolderOf(const void* address) {
  const HMODULE module = ModuleAround(address);
  return module == nullptr ? std::filesystem::path() : FileOf(module).parent_path();
}

void UnloadModule(ModuleHandle module) {
  if (module != OwnModule()) FreeLibrary(Native(module));
}

void KeepOwnModule() {
  // Nothing to do: a module that is being unloaded stays until its code has run, and at the end of the
  // process none goes.
}

std::wstring Widen(const char* text) {
  const int size = MultiByteToWideChar(CP_ACP, 0, text, -1, nullptr, 0);
  std::wstring wide(static_cast<std::size_t>(size), L'\0');
  MultiByteToWideChar(CP_ACP, 0, text, -1, wide.data(), size);
  // The terminating zero was counted.
  wide.resize(std::min(static_cast<std::size_t>(size > 0 ? size - 1 : 0), maxWideLength));
  return wide;
}

}  // namespace kv_platform
