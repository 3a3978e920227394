#pragma once

#include <cstdint>

#include "algorithms/simd/kernel.h"

namespace kv_img::copy {

/// Exchanges the two bytes of every 16-bit word of a 4:2:2 row (luma-first becomes chroma-first and back).
///
/// One group is four pixels: 8 bytes read at `source`, 8 written at `destination`. Any alignment, no overlap.
struct SwapBytes {
  struct Args {
    std::int32_t groups;
    const std::uint8_t* source;
    std::uint8_t* destination;
  };
  static constexpr const char* name = "copy/SwapBytes";
  using Streams = StreamList<In<&Args::source, 8>, Out<&Args::destination, 8>>;
  template <class Set>
  static void Run(Args& args) noexcept;
};

}  // namespace kv_img::copy
