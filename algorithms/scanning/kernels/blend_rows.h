#pragma once

#include <cstdint>

#include "algorithms/packed422/order.h"
#include "algorithms/rounding.h"
#include "algorithms/simd/kernel.h"

namespace kv_img::scanning {

/// A sample at `fraction` of the way from an upper row to the lower one.
constexpr std::uint8_t BlendRows(std::uint8_t upper, std::uint8_t lower, float fraction) {
  return RoundHalfUp(static_cast<float>(upper) * (1.0F - fraction) + static_cast<float>(lower) * fraction);
}
static_assert(BlendRows(10, 20, 0.25F) == 13 && BlendRows(255, 255, 0.3F) == 255);

/// The same of two neighbours in either row.
constexpr std::uint8_t BlendRows(std::uint8_t upper, std::uint8_t upperNext, std::uint8_t lower,
                                 std::uint8_t lowerNext, float fraction) {
  return RoundHalfUp(static_cast<float>(upper) * (1.0F - fraction) * 0.5F +
                     static_cast<float>(upperNext) * (1.0F - fraction) * 0.5F +
                     static_cast<float>(lower) * fraction * 0.5F +
                     static_cast<float>(lowerNext) * fraction * 0.5F);
}
static_assert(BlendRows(10, 20, 30, 41, 0.5F) == 25);

/// A row of a vertical pan, between equal layouts: every output sample is at `fraction`, 0 to 1, of the way
/// from the upper to the lower source row. All steps are of single precision, in the order written above.
///
/// One group is four pixels, 8 bytes of either row and of the destination. Any alignment; the rows may be the
/// same, the destination overlaps neither.
struct RowBlend {
  struct Args {
    std::int32_t groups;
    const std::uint8_t* upper;
    const std::uint8_t* lower;
    std::uint8_t* destination;
    float fraction;
  };
};

/// For source and destination columns of equal parity: every byte is taken from those at its place.
struct BlendAligned : RowBlend {
  static constexpr const char* name = "scanning/BlendAligned";
  using Streams = StreamList<In<&Args::upper, 8>, In<&Args::lower, 8>, Out<&Args::destination, 8>>;
  template <class Set>
  static void Run(Args& args) noexcept;
};

/// For columns of unequal parity: luma is taken from its place, chroma from the neighbours of that pixel in
/// both rows, for they have its kind of chroma. The pixels before the first one and after the last one are
/// read too.
struct ShiftedRowBlend : RowBlend {
  using Streams =
      StreamList<In<&Args::upper, 8, 2, 2>, In<&Args::lower, 8, 2, 2>, Out<&Args::destination, 8>>;
};
struct BlendLumaFirstShifted : ShiftedRowBlend {
  static constexpr const char* name = "scanning/BlendLumaFirstShifted";
  template <class Set>
  static void Run(Args& args) noexcept;
};
struct BlendChromaFirstShifted : ShiftedRowBlend {
  static constexpr const char* name = "scanning/BlendChromaFirstShifted";
  template <class Set>
  static void Run(Args& args) noexcept;
};

}  // namespace kv_img::scanning
