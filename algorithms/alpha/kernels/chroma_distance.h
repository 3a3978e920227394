#pragma once

#include <cstdint>

#include "algorithms/packed422/order.h"
#include "algorithms/simd/kernel.h"

namespace kv_img::alpha {

/// The raw mask of two packed 4:2:2 rows in the same byte order. For every pixel pair s = |U1 - U2| + |V1 -
/// V2|, and both pixels get 255 - min(s, 5) cubed: 255, 254, 247, 228, 191, or 130 from s = 5 on.
///
/// One group is two pairs: 8 bytes read at `first` and at `second`, 4 written at `mask`. Any alignment, no
/// overlap.
struct ChromaDistance {
  struct Args {
    std::int32_t groups;
    const std::uint8_t* first;
    const std::uint8_t* second;
    std::uint8_t* mask;
    PackedOrder order;
  };
  static constexpr const char* name = "alpha/ChromaDistance";
  using Streams = StreamList<In<&Args::first, 8>, In<&Args::second, 8>, Out<&Args::mask, 4>>;
  template <class Set>
  static void Run(Args& args) noexcept;
};

}  // namespace kv_img::alpha
