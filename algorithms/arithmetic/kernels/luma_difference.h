#pragma once

#include <cstdint>

#include "algorithms/packed422/order.h"
#include "algorithms/simd/kernel.h"

namespace kv_img::arithmetic {

/// Absolute differences of the luma of two packed 4:2:2 rows in the same byte order.
///
/// One group is four pixels: 8 bytes read at `first` and at `second`, 4 written at `destination`. The chroma
/// never influences the result. Any alignment, no overlap.
struct LumaDifference {
  struct Args {
    std::int32_t groups;
    const std::uint8_t* first;
    const std::uint8_t* second;
    std::uint8_t* destination;
    PackedOrder order;
  };
  static constexpr const char* name = "arithmetic/LumaDifference";
  using Streams = StreamList<In<&Args::first, 8>, In<&Args::second, 8>, Out<&Args::destination, 4>>;
  template <class Set>
  static void Run(Args& args) noexcept;
};

}  // namespace kv_img::arithmetic
