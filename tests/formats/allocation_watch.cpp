#include "tests/formats/allocation_watch.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

std::atomic<std::size_t> largestBlock{0};

void Note(std::size_t size) {
  std::size_t largest = largestBlock;
  while (size > largest && !largestBlock.compare_exchange_weak(largest, size)) {
  }
}

void* Checked(void* block) {
  if (block == nullptr) throw std::bad_alloc();
  return block;
}

}  // namespace

void* operator new(std::size_t size) {
  Note(size);
  return Checked(std::malloc(size == 0 ? 1 : size));
}
// Sanitizers have an operator of their own for each kind.
void* operator new[](std::size_t size) {
  return operator new(size);
}
#if !defined(_WIN32)
// Images.
void* operator new(std::size_t size, std::align_val_t alignment) {
  Note(size);
  const auto bytes = static_cast<std::size_t>(alignment);
  return Checked(std::aligned_alloc(bytes, (size + bytes) / bytes * bytes));
}
void* operator new[](std::size_t size, std::align_val_t alignment) {
  return operator new(size, alignment);
}
void operator delete(void* block, std::align_val_t) noexcept {
  std::free(block);
}
void operator delete[](void* block, std::align_val_t) noexcept {
  std::free(block);
}
void operator delete(void* block, std::size_t, std::align_val_t) noexcept {
  std::free(block);
}
void operator delete[](void* block, std::size_t, std::align_val_t) noexcept {
  std::free(block);
}
#endif

void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  Note(size);
  return std::malloc(size == 0 ? 1 : size);
}
void* operator new[](std::size_t size, const std::nothrow_t& nothrow) noexcept {
  return operator new(size, nothrow);
}

void operator delete(void* block) noexcept {
  std::free(block);
}
void operator delete(void* block, std::size_t) noexcept {
  std::free(block);
}
void operator delete[](void* block) noexcept {
  std::free(block);
}
void operator delete[](void* block, std::size_t) noexcept {
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
