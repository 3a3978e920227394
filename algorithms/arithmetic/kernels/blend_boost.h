#pragma once

#include <cstdint>

#include "algorithms/packed422/order.h"
#include "algorithms/rounding.h"
#include "algorithms/simd/kernel.h"

namespace kv_img::arithmetic {

/// The weight of `b`, 0 to 127: the mask, raised where `a` is brighter than `b` and lowered where it is
/// darker.
constexpr std::uint8_t BoostedWeight(std::uint8_t mask, std::uint8_t lumaA, std::uint8_t lumaB) {
  return static_cast<std::uint8_t>(ClampToByte(mask + lumaA - lumaB) >> 1);
}
static_assert(BoostedWeight(255, 9, 9) == 127 && BoostedWeight(10, 0, 11) == 0 &&
              BoostedWeight(200, 200, 0) == 127 && BoostedWeight(0, 7, 0) == 3);

/// From `a` towards `b` by weight / 128, rounded toward minus infinity; never beyond either.
constexpr std::uint8_t BlendOf(std::uint8_t a, std::uint8_t b, std::uint8_t weight) {
  return static_cast<std::uint8_t>(a + (((b - a) * weight) >> 7));
}
static_assert(BlendOf(0, 255, 127) == 253 && BlendOf(1, 0, 1) == 0 && BlendOf(255, 0, 127) == 1 &&
              BlendOf(17, 200, 0) == 17);

/// Blends two packed 4:2:2 rows in the same byte order under a mask.
///
/// One group is four pixels: 8 bytes read at `b` and at `a`, 4 at `mask`, 8 written at `destination`. A luma
/// byte has the weight of its pixel, both chroma bytes of a pair have that of the pair's first pixel; pairs
/// count from the first pixel of the row. Any alignment. `destination` may be `a` or `b`; otherwise no
/// overlap.
struct BlendBoost {
  struct Args {
    std::int32_t groups;
    const std::uint8_t* b;
    const std::uint8_t* a;
    const std::uint8_t* mask;
    std::uint8_t* destination;
    PackedOrder order;
  };
  static constexpr const char* name = "arithmetic/BlendBoost";
  using Streams =
      StreamList<In<&Args::b, 8>, In<&Args::a, 8>, In<&Args::mask, 4>, Out<&Args::destination, 8>>;
  template <class Set>
  static void Run(Args& args) noexcept;
};

}  // namespace kv_img::arithmetic
