#include <windows.h>

#include <initializer_list>
#include <new>

#include "tests/kernel_check/guarded_pages.h"

namespace kv_check {

GuardedPages::GuardedPages(std::size_t bytes) {
  SYSTEM_INFO system;
  GetSystemInfo(&system);
  const std::size_t page = page_ = system.dwPageSize;
  const std::size_t usable = (bytes + page - 1) / page * page;
  mapped_ = usable + 2 * page;
  void* memory = VirtualAlloc(nullptr, mapped_, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE);
  if (memory == nullptr) throw std::bad_alloc();
  begin_ = static_cast<std::uint8_t*>(memory) + page;
  end_ = begin_ + usable;
  DWORD before = 0;
  for (void* guard : {memory, static_cast<void*>(end_)}) {
    if (VirtualProtect(guard, page, PAGE_NOACCESS, &before) == 0) throw std::bad_alloc();
  }
}

GuardedPages::~GuardedPages() {
  VirtualFree(end_ + page_ - mapped_, 0, MEM_RELEASE);
}

}  // namespace kv_check
