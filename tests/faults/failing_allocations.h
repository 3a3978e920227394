#pragma once

// Allocations of this program, its libraries and members, counted and made to fail.
namespace kv_test {

/// Allocations of the process that are not released.
long LiveAllocations();

/// While this object lives, the allocation number `number` (0: the next one) and all after it throw
/// std::bad_alloc, in the thread that made the object and in others.
class FailingAllocations {
 public:
  explicit FailingAllocations(long number);
  FailingAllocations(const FailingAllocations&) = delete;
  FailingAllocations& operator=(const FailingAllocations&) = delete;
  ~FailingAllocations();

  /// Whether an allocation has failed.
  bool HaveFailed() const;
};

/// As above, but only the one allocation fails: what reports the error has memory.
class FailingAllocation {
 public:
  explicit FailingAllocation(long number);
  FailingAllocation(const FailingAllocation&) = delete;
  FailingAllocation& operator=(const FailingAllocation&) = delete;
  ~FailingAllocation();

  bool HasFailed() const;
};

}  // namespace kv_test
