#pragma once

#include <cstdint>

#include "algorithms/packed422/order.h"
#include "algorithms/simd/wide_level.h"

namespace kv_img::copy {

/// Moves pixels of a 4:2:2 row by an odd number of columns: from the second pixel of a pair to the first of
/// another. Luma moves along with its pixel; a destination pair takes the chroma of its second pixel's source
/// pair, which begins one pixel behind the first one's.
///
/// `source` points to the second pixel of a pair, `destination` to the first. One group is four pixels: 8
/// bytes read at `source`, 8 written at `destination`; behind the last group the kernel also reads the 2
/// bytes of the next pixel. Any alignment, no overlap; touches exactly these bytes. The kernel leaves both
/// pointers 8 bytes a group further on, the SIMD state clean, and keeps no state.
struct RegroupPairsArgs {
  std::int32_t groups;
  PackedOrder sourceOrder;
  PackedOrder destinationOrder;
  const std::uint8_t* source;
  std::uint8_t* destination;
};

namespace scalar {
void RegroupPairs(RegroupPairsArgs& args) noexcept;
}
namespace mmx {
void RegroupPairs(RegroupPairsArgs& args) noexcept;
}
namespace wide {
template <WideLevel>
void RegroupPairs(RegroupPairsArgs& args) noexcept;
}  // namespace wide

}  // namespace kv_img::copy
