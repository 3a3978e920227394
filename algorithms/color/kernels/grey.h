#pragma once

#include <cstdint>

#include "algorithms/packed422/order.h"
#include "algorithms/simd/kernel.h"

namespace kv_img::color {

/// Grey pixels of the luma of packed 4:2:2: clamp((weight * (Y - black) + 8192) >> 14).
///
/// One group is one pair: 4 bytes read at `source`, 2 written at `destination`. Any alignment, no overlap.
/// Weights 0 to 32767.
struct GreyOfLuma {
  struct Args {
    std::int32_t groups;
    PackedOrder order;
    std::int16_t weight;
    std::int16_t black;
    const std::uint8_t* source;
    std::uint8_t* destination;
  };
  static constexpr const char* name = "color/GreyOfLuma";
  static constexpr bool isWithoutMmx = true;
  using Streams = StreamList<In<&Args::source, 4>, Out<&Args::destination, 2>>;
  template <class Set>
  static void Run(Args& args) noexcept;
};

/// Packed 4:2:2 of grey pixels: Y = clamp((weight * grey + 16384 * black + 8192) >> 14), Cb = Cr = 128.
///
/// One group is one pair: 2 bytes read at `source`, 4 written at `destination`. Any alignment, no overlap.
/// Weights 0 to 32767.
struct LumaOfGrey {
  struct Args {
    std::int32_t groups;
    PackedOrder order;
    std::int16_t weight;
    std::int16_t black;
    const std::uint8_t* source;
    std::uint8_t* destination;
  };
  static constexpr const char* name = "color/LumaOfGrey";
  static constexpr bool isWithoutMmx = true;
  using Streams = StreamList<In<&Args::source, 2>, Out<&Args::destination, 4>>;
  template <class Set>
  static void Run(Args& args) noexcept;
};

}  // namespace kv_img::color
