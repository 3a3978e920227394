#pragma once

#include <cstdint>

#include "algorithms/color/kernels/weights.h"
#include "algorithms/packed422/order.h"
#include "algorithms/simd/kernel.h"

namespace kv_img::color {

/// Converts packed 4:2:2 to packed 4:2:2 of another matrix, range or chroma position.
///
/// With y4 = 4 * (Y - blackIn), cb4 and cr4 four times the pixel's chroma after `upsampling`, and cb4' and
/// cr4' four times the pair's after `shift`, less 512:
///   Y'  = clamp((luma * y4 + cbToLuma * cb4 + crToLuma * cr4 + 65536 * blackOut + 32768) >> 16)
///   Cb' = clamp((cbToCb * cb4' + crToCb * cr4' + 65536 * 128 + 32768) >> 16)
///   Cr' = clamp((cbToCr * cb4' + crToCr * cr4' + 65536 * 128 + 32768) >> 16)
///
/// One group is one pair: 4 bytes read at `source`, 4 written at `destination`. The groups are a whole row: its
/// first and last pair are their own neighbours. Any alignment, no overlap. Any weights whose magnitudes sum to less than 2^16 for each component.
struct Recode {
  struct Args {
    std::int32_t groups;
    PackedOrder order;
    PackedOrder destinationOrder;
    Upsampling upsampling;
    Shift shift;
    const std::uint8_t* source;
    std::uint8_t* destination;
    RecodingWeights weights;
  };
  static constexpr const char* name = "color/Recode";
  static constexpr bool isWithoutMmx = true;
  using Streams = StreamList<In<&Args::source, 4>, Out<&Args::destination, 4>>;
  template <class Set>
  static void Run(Args& args) noexcept;
};

}  // namespace kv_img::color
