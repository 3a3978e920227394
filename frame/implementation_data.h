#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace kv_img {

/// Members of the family, found or not.
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
  std::vector<Interface*> perLibrary = std::vector<Interface*>(familySize);
};

}  // namespace kv_img
