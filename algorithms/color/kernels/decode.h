#pragma once

#include <cstdint>

#include "algorithms/color/kernels/weights.h"
#include "algorithms/packed422/order.h"
#include "algorithms/simd/kernel.h"

namespace kv_img::color {

/// Converts pairs of packed 4:2:2 to bitmap pixels.
///
/// With y4 = 4 * (Y - black), and cb4 and cr4 four times the pixel's chroma after `upsampling`, less 512:
///   red   = clamp((luma * y4 + crToRed * cr4 + 32768) >> 16)
///   green = clamp((luma * y4 + cbToGreen * cb4 + crToGreen * cr4 + 32768) >> 16)
///   blue  = clamp((luma * y4 + twoCbToBlue * 2 * cb4 + 32768) >> 16)
///
/// One group is one pair: 4 bytes read at `source`, two pixels of three or four bytes written at
/// `destination` (blue, green, red, or the other way round; the fourth byte is 255). The groups are a whole
/// row: its first and last pair are their own neighbours. Any alignment, no overlap. Any weights of magnitudes that sum to less than 2^16 for each of red, green and blue.
struct DecodeArgs {
  std::int32_t groups;
  PackedOrder order;
  bool isRedFirst;
  Upsampling upsampling;
  const std::uint8_t* source;
  std::uint8_t* destination;
  DecodingWeights weights;
};

struct DecodeTo24 {
  using Args = DecodeArgs;
  static constexpr const char* name = "color/DecodeTo24";
  static constexpr bool isWithoutMmx = true;
  using Streams = StreamList<In<&Args::source, 4>, Out<&Args::destination, 6>>;
  template <class Set>
  static void Run(Args& args) noexcept;
};

struct DecodeTo32 {
  using Args = DecodeArgs;
  static constexpr const char* name = "color/DecodeTo32";
  static constexpr bool isWithoutMmx = true;
  using Streams = StreamList<In<&Args::source, 4>, Out<&Args::destination, 8>>;
  template <class Set>
  static void Run(Args& args) noexcept;
};

}  // namespace kv_img::color
