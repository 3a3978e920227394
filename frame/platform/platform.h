#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <span>
#include <string>
#include <string_view>

/// The one door to the operating system. Everything else is standard C++.
namespace kv_platform {

/// A critical section: a lock that one thread holds at a time. Meets the needs of std::lock_guard.
class CriticalSection {
 public:
  CriticalSection() noexcept;
  CriticalSection(const CriticalSection&) = delete;
  CriticalSection& operator=(const CriticalSection&) = delete;
  ~CriticalSection();
  void lock();
  void unlock();

 private:
  struct Body;
  // In the object itself: barriers that live as long as a module are made while it is loaded, when nobody
  // could catch what an allocation throws.
  alignas(std::max_align_t) std::byte memory_[48];
  Body* body_;
};

/// A loaded module; null: none.
using ModuleHandle = void*;

/// What a search for a module came to.
struct LoadedModule {
  ModuleHandle handle = nullptr;
  /// The file that was loaded.
  std::filesystem::path file;
  /// Why nothing was loaded, for people; empty when something was.
  std::string problem;
};

/// Loads the family member `name` (no extension, no path): from the folder of the module that asks, then from
/// `folders`, then by the system's search; never from the current folder unless that is among `folders`. A
/// system's search that would look in a relative folder is skipped.
///
/// Every load needs its UnloadModule. A module that loads itself takes no reference to itself: nothing could
/// ever release it.
LoadedModule LoadModule(std::wstring_view name, std::span<const std::filesystem::path> folders = {});
/// The exported function `name`; null when the module has none.
void* FindFunction(ModuleHandle module, const char* name);
void UnloadModule(ModuleHandle module);

/// The folder of the module that holds this address; empty when the system cannot tell.
std::filesystem::path FolderOf(const void* address);

/// Keeps the module that this code is part of in memory from now on. For code that runs at the end of the
/// process and unloads modules that may hold the last reference to its own.
void KeepOwnModule();

/// What the processor can do, in the bits in which members state what they need. On x86-64 CPUID leaf 1, zeros
/// if the processor has no such leaf. On aarch64 a word of this project: bit 0 floating point, bit 1 Advanced
/// SIMD; the rest is zero.
struct Processor {
  std::uint32_t features;  ///< register EDX
  std::uint32_t model;     ///< these three from register EAX
  std::uint32_t family;
  std::uint32_t type;
};

/// Read once, when the program or module is loaded.
const Processor& ThisProcessor();

/// Leaves the registers that SIMD and floating-point code share ready for floating-point code.
void ClearSimdState();

/// `text`, in the system's code page, as a wide string of at most 256 characters.
std::wstring Widen(const char* text);

}  // namespace kv_platform
