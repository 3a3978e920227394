#pragma once

#include <cstdint>

#include "algorithms/color/kernels/weights.h"
#include "algorithms/packed422/order.h"
#include "algorithms/simd/kernel.h"

namespace kv_img::color {

/// Converts bitmap pixels to pairs of packed 4:2:2.
///
/// With sums of the weights times red, green and blue, those of chroma over four times the filtered colours:
///   Y  = clamp((sum + 32768 * black + 16384) >> 15)
///   Cb = clamp((sum + 131072 * 128 + 65536) >> 17), Cr likewise
///
/// One group is one pair: two pixels of three or four bytes read at `source` (blue, green, red, or the other
/// way round; the fourth byte does not count), 4 bytes written at `destination`. The groups are a whole row,
/// before whose first pixel is that pixel again. Any alignment, no overlap. Any weights whose magnitudes sum to less than 2^15 for
/// each component.
struct EncodeArgs {
  std::int32_t groups;
  PackedOrder order;
  bool isRedFirst;
  Downsampling downsampling;
  const std::uint8_t* source;
  std::uint8_t* destination;
  EncodingWeights weights;
};

struct EncodeFrom24 {
  using Args = EncodeArgs;
  static constexpr const char* name = "color/EncodeFrom24";
  static constexpr bool isWithoutMmx = true;
  using Streams = StreamList<In<&Args::source, 6>, Out<&Args::destination, 4>>;
  template <class Set>
  static void Run(Args& args) noexcept;
};

struct EncodeFrom32 {
  using Args = EncodeArgs;
  static constexpr const char* name = "color/EncodeFrom32";
  static constexpr bool isWithoutMmx = true;
  using Streams = StreamList<In<&Args::source, 8>, Out<&Args::destination, 4>>;
  template <class Set>
  static void Run(Args& args) noexcept;
};

}  // namespace kv_img::color
