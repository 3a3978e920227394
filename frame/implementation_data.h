#pragma once

#include <cstddef>
#include <cstdint>
#include <new>
#include <vector>

#include "frame/interfaces/algorithm_interface.h"

namespace kv_img {

/// Members of the family, found or not, on the architecture that has most.
inline constexpr std::size_t familySize = 4;

/// What the algorithm manager found for one algorithm and one combination of pixel classes: long-lived,
/// typically a static. `Algorithm` is a forwarding class, which names its interface class `Interface`.
///
/// Filled by AlgorithmManager::LoadImplementation, under the manager's lock; once `current` is set it never
/// changes again, so a thread that has called LoadImplementation may read it without a lock. The objects
/// pointed at belong to the members.
template <class Algorithm>
class ImplementationData {
 public:
  using Interface = typename Algorithm::Interface;

  ImplementationData() = default;
  ImplementationData(const ImplementationData&) = delete;
  ImplementationData& operator=(const ImplementationData&) = delete;
  virtual ~ImplementationData() = default;

  /// Position of the member that supplied `current` in the manager's list of usable members.
  std::int32_t selectedIndex = 0;
  /// Successful look-ups.
  std::int32_t useCount = 0;
  /// The chosen implementation; null until found.
  Interface* current = nullptr;
  /// What each usable member answered; null where it had nothing or was not asked.
  std::vector<Interface*> perLibrary = EmptySlots();

 private:
  /// Holders are made while a module is loaded, when nobody could catch an exception: without memory the
  /// slots are made by the look-up.
  static std::vector<Interface*> EmptySlots() noexcept {
    try {
      return std::vector<Interface*>(familySize);
    } catch (const std::bad_alloc&) {
      return {};
    }
  }
};

/// A reference to an ImplementationData of any algorithm: what the one look-up that serves them all needs.
class UntypedImplementationData {
 public:
  template <class Algorithm>
  explicit UntypedImplementationData(ImplementationData<Algorithm>& data)
      : data_(&data), isFilled_(IsFilled<Algorithm>), store_(Store<Algorithm>), useCount_(data.useCount) {}

  bool IsFilled() const { return isFilled_(data_); }
  bool WasEverFilled() const { return useCount_ != 0; }
  /// Keeps the answer of usable member `member`; null: it has nothing.
  void Store(std::size_t member, AlgorithmInterface* answer) const { store_(data_, member, answer); }

 private:
  template <class Algorithm>
  static bool IsFilled(const void* data) {
    return static_cast<const ImplementationData<Algorithm>*>(data)->current != nullptr;
  }
  template <class Algorithm>
  static void Store(void* untyped, std::size_t member, AlgorithmInterface* answer) {
    auto& data = *static_cast<ImplementationData<Algorithm>*>(untyped);
    if (data.perLibrary.size() <= member) data.perLibrary.resize(member + 1);
    data.perLibrary[member] = static_cast<typename Algorithm::Interface*>(answer);
    if (answer == nullptr) return;
    if (data.useCount == 0) {
      data.selectedIndex = static_cast<std::int32_t>(member);
      data.current = data.perLibrary[member];
    }
    ++data.useCount;
  }

  void* data_;
  bool (*isFilled_)(const void*);
  void (*store_)(void*, std::size_t, AlgorithmInterface*);
  const std::int32_t& useCount_;
};

}  // namespace kv_img
