#pragma once

#include <cstdint>
#include <type_traits>

#include "frame/algorithm_list.h"

/// What differs between the members of the family. Each source file of a member is compiled with KV_MEMBER,
/// the name of one of these structs. It is the suffix of the member's implementation classes.
namespace kv_plugin::members {

struct C {
  static constexpr std::uint32_t priority = 1;
  /// Bit 0: a floating-point unit, which every processor has that runs the family.
  static constexpr std::uint32_t feature = 0x1;
  /// Whether the member has the rows of an algorithm that only some members offer.
  template <class Algorithm>
  static constexpr bool offersMore = true;
};

struct MMX {
  static constexpr std::uint32_t priority = 3;
  /// Bit 23: MMX.
  static constexpr std::uint32_t feature = 0x800000;
  template <class Algorithm>
  static constexpr bool offersMore = false;
};

/// The rows that the members with the wide kernels offer beyond the common ones.
template <class Algorithm>
inline constexpr bool isOfferedByWideMembers = std::is_same_v<Algorithm, kv_img::algorithms::AverageFilter> ||
                                               std::is_same_v<Algorithm, kv_img::algorithms::ColorConversion>;

struct SSE2 {
  static constexpr std::uint32_t priority = 5;
  /// Bit 26: SSE2. The member asks the processor for everything newer before it uses it.
  static constexpr std::uint32_t feature = 0x4000000;
  template <class Algorithm>
  static constexpr bool offersMore = isOfferedByWideMembers<Algorithm>;
};

/// On aarch64, in place of MMX and SSE2.
struct NEON {
  static constexpr std::uint32_t priority = SSE2::priority;
  /// Bit 1: Advanced SIMD.
  static constexpr std::uint32_t feature = 0x2;
  template <class Algorithm>
  static constexpr bool offersMore = isOfferedByWideMembers<Algorithm>;
};

}  // namespace kv_plugin::members
