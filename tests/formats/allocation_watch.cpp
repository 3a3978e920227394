#include "tests/formats/allocation_watch.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

std::atomic<std::size_t> largestBlock{0};

}  // namespace

void* operator new(std::size_t size) {
  std::size_t largest = largestBlock;
  while (size > largest && !largestBlock.compare_exchange_weak(largest, size)) {
  }
  void* const block = std::malloc(size == 0 ? 1 : size);
  if (block == nullptr) throw std::bad_alloc();
  return block;
}

void operator delete(void* block) noexcept {
  std::free(block);
}
void operator delete(void* block, std::size_t) noexcept {
  std::free(block);
}

namespace kv_host {

AllocationWatch::AllocationWatch() {
  largestBlock = 0;
}

std::size_t AllocationWatch::LargestBlock() const {
  return largestBlock;
}

}  // namespace kv_host
