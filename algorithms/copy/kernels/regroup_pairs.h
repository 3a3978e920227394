#pragma once

#include <cstdint>

#include "algorithms/packed422/order.h"
#include "algorithms/simd/kernel.h"

namespace kv_img::copy {

/// Moves pixels of a 4:2:2 row by an odd number of columns: from the second pixel of a pair to the first of
/// another. Luma moves along with its pixel; a destination pair takes the chroma of its second pixel's source
/// pair, which begins one pixel after the first one's.
///
/// `source` points to the second pixel of a pair, `destination` to the first. One group is four pixels: 8
/// bytes read at `source`, 8 written at `destination`; the 2 bytes of the pixel after the last group are read
/// too. Any alignment, no overlap.
struct RegroupPairs {
  struct Args {
    std::int32_t groups;
    PackedOrder sourceOrder;
    PackedOrder destinationOrder;
    const std::uint8_t* source;
    std::uint8_t* destination;
  };
  static constexpr const char* name = "copy/RegroupPairs";
  using Streams = StreamList<In<&Args::source, 8, 0, 2>, Out<&Args::destination, 8>>;
  template <class Set>
  static void Run(Args& args) noexcept;
};

}  // namespace kv_img::copy
