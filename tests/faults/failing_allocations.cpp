#include "tests/faults/failing_allocations.h"

#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <limits>
#include <new>

namespace {

constexpr long never = std::numeric_limits<long>::max();

std::atomic<long> live = 0;
std::atomic<long> untilFailure = never;
std::atomic<bool> failsOnlyOnce = false;
std::atomic<bool> hasFailed = false;

bool MustFail() noexcept {
  if (untilFailure.load(std::memory_order_relaxed) == never) return false;
  const long left = untilFailure.fetch_sub(1);
  if (left > 0 || (left < 0 && failsOnlyOnce)) return false;
  hasFailed = true;
  return true;
}

void Arm(long number, bool onlyOnce) {
  hasFailed = false;
  failsOnlyOnce = onlyOnce;
  untilFailure = number;
}

void* Allocate(std::size_t size, std::size_t alignment) noexcept {
  if (MustFail()) return nullptr;
  void* memory = alignment <= alignof(std::max_align_t)
                     ? std::malloc(size == 0 ? 1 : size)
                     : std::aligned_alloc(alignment, (size + alignment - 1) / alignment * alignment);
  if (memory != nullptr) ++live;
  return memory;
}

void* AllocateOrThrow(std::size_t size, std::size_t alignment = 1) {
  void* memory = Allocate(size, alignment);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}

void Release(void* memory) noexcept {
  if (memory != nullptr) --live;
  std::free(memory);
}

}  // namespace

void* operator new(std::size_t size) {
  return AllocateOrThrow(size);
}
void* operator new[](std::size_t size) {
  return AllocateOrThrow(size);
}
void* operator new(std::size_t size, std::align_val_t alignment) {
  return AllocateOrThrow(size, static_cast<std::size_t>(alignment));
}
void* operator new[](std::size_t size, std::align_val_t alignment) {
  return AllocateOrThrow(size, static_cast<std::size_t>(alignment));
}
void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
  return Allocate(size, 1);
}
void* operator new[](std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
  return Allocate(size, 1);
}
void operator delete(void* memory) noexcept {
  Release(memory);
}
void operator delete[](void* memory) noexcept {
  Release(memory);
}
void operator delete(void* memory, std::size_t /*size*/) noexcept {
  Release(memory);
}
void operator delete[](void* memory, std::size_t /*size*/) noexcept {
  Release(memory);
}
void operator delete(void* memory, std::align_val_t /*alignment*/) noexcept {
  Release(memory);
}
void operator delete[](void* memory, std::align_val_t /*alignment*/) noexcept {
  Release(memory);
}
void operator delete(void* memory, std::size_t /*size*/, std::align_val_t /*alignment*/) noexcept {
  Release(memory);
}
void operator delete[](void* memory, std::size_t /*size*/, std::align_val_t /*alignment*/) noexcept {
  Release(memory);
}

namespace kv_test {

long LiveAllocations() {
  return live;
}

FailingAllocations::FailingAllocations(long number) {
  Arm(number, false);
}
FailingAllocations::~FailingAllocations() {
  untilFailure = never;
}
bool FailingAllocations::HaveFailed() const {
  return hasFailed;
}

FailingAllocation::FailingAllocation(long number) {
  Arm(number, true);
}
FailingAllocation::~FailingAllocation() {
  untilFailure = never;
}
bool FailingAllocation::HasFailed() const {
  return hasFailed;
}

}  // namespace kv_test
