#pragma once

#include <cstdint>
#include <type_traits>

#include "frame/algorithm_list.h"

/// What differs between the members of the family. Each source file of a member is compiled with KV_MEMBER,
/// the name of one of these structs. It is the suffix of the member's implementation classes.
namespace kv_plugin::members {

struct C {
  static constexpr std::uint32_t priority = 1;
  /// Bit 0: a floating-point unit, which every x86-64 processor has.
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

struct SSE2 {
  static constexpr std::uint32_t priority = 5;
  /// Bit 26: SSE2. The member asks the processor for everything newer before it uses it.
  static constexpr std::uint32_t feature = 0x4000000;
  template <class Algorithm>
  static constexpr bool offersMore = std::is_same_v<Algorithm, kv_img::algorithms::AverageFilter> ||
                                     std::is_same_v<Algorithm, kv_img::algorithms::ColorConversion>;
};

}  // namespace kv_plugin::members
