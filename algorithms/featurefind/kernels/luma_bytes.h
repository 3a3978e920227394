#pragma once

#include <cstdint>

#include "algorithms/packed422/order.h"
#include "algorithms/simd/kernel.h"

namespace kv_img::featurefind {

/// Gathers the luma of a 4:2:2 row, one byte per pixel.
///
/// One group is eight pixels: 16 bytes read at `source`, 8 written at `destination`. Any alignment, no
/// overlap.
struct LumaBytes {
  struct Args {
    std::int32_t groups;
    const std::uint8_t* source;
    std::uint8_t* destination;
    PackedOrder order;
  };
  static constexpr const char* name = "featurefind/LumaBytes";
  using Streams = StreamList<In<&Args::source, 16>, Out<&Args::destination, 8>>;
  template <class Set>
  static void Run(Args& args) noexcept;
};

}  // namespace kv_img::featurefind
