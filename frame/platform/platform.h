#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

/// The one door to the operating system. Everything else is standard C++.
namespace kv_platform {

/// A critical section: a lock that one thread holds at a time. Meets the needs of std::lock_guard.
class CriticalSection {
 public:
  CriticalSection();
  CriticalSection(const CriticalSection&) = delete;
  CriticalSection& operator=(const CriticalSection&) = delete;
  ~CriticalSection();
  void lock();
  void unlock();

 private:
  struct Body;
  std::unique_ptr<Body> body_;
};

/// A loaded module; null: none.
using ModuleHandle = void*;

/// Loads the family member `name` (no extension, no path): from the folder of the module that asks, then by
/// the system's search, never from the current folder. Null when there is none.
ModuleHandle LoadModule(std::wstring_view name);
/// The exported function `name`; null when the module has none.
void* FindFunction(ModuleHandle module, const char* name);
void UnloadModule(ModuleHandle module);

/// EDX of CPUID leaf 1; 0 where the processor has no such leaf.
std::uint32_t ProcessorFeatures();

/// `text`, in the system's code page, as a wide string of at most 256 characters.
std::wstring Widen(const char* text);

}  // namespace kv_platform
