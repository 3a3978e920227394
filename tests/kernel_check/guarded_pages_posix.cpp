#include <sys/mman.h>
#include <unistd.h>

#include <new>

#include "tests/kernel_check/guarded_pages.h"

namespace kv_check {

GuardedPages::GuardedPages(std::size_t bytes) {
  const std::size_t page = page_ = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
  const std::size_t usable = (bytes + page - 1) / page * page;
  mapped_ = usable + 2 * page;
  void* memory = mmap(nullptr, mapped_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (memory == MAP_FAILED) throw std::bad_alloc();
  begin_ = static_cast<std::uint8_t*>(memory) + page;
  end_ = begin_ + usable;
  if (mprotect(memory, page, PROT_NONE) != 0 || mprotect(end_, page, PROT_NONE) != 0) throw std::bad_alloc();
}

GuardedPages::~GuardedPages() {
  munmap(end_ + page_ - mapped_, mapped_);
}

}  // namespace kv_check
