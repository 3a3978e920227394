#pragma once

#include <cstdint>

#include "algorithms/packed422/order.h"
#include "algorithms/rounding.h"
#include "algorithms/simd/kernel.h"

namespace kv_img::scanning {

/// Each of the four products loses its fraction.
constexpr std::uint8_t PanBlend(std::uint8_t upperLeft, std::uint8_t lowerLeft, std::uint8_t upperRight,
                                std::uint8_t lowerRight, std::uint16_t leftWeight,
                                std::uint16_t rightWeight) {
  return static_cast<std::uint8_t>(
      (WeightedSample(upperLeft, leftWeight) + WeightedSample(lowerLeft, leftWeight) +
       WeightedSample(upperRight, rightWeight) + WeightedSample(lowerRight, rightWeight)) >>
      8);
}
static_assert(PanBlend(255, 255, 0, 0, 0x8000, 0) == 255 && PanBlend(10, 13, 99, 99, 0x8000, 0) == 11);
static_assert(PanBlend(255, 255, 255, 255, 0x3FFF, 0x4000) == 254);

/// A row of a horizontal pan: every output sample is blended from two rows and two neighbours of the source.
///
/// The weights are 15-bit, each at most 0x8000, together at most 0x8000. With p the source pixel that output
/// pixel k starts from (p = k, counted from `upper` and `lower`), luma is PanBlend of the pixels p and p + 1
/// of both rows.
///
/// One group is four pixels, 8 bytes of either row and of the destination; the pixel after the last group is
/// read too. Any alignment; the rows may be the same, the destination overlaps neither.
struct RowPan {
  struct Args {
    std::int32_t groups;
    const std::uint8_t* upper;
    const std::uint8_t* lower;
    std::uint8_t* destination;
    std::uint16_t leftWeight;
    std::uint16_t rightWeight;
  };
};

/// For source and destination columns of equal parity: chroma is the mean of pixel p of both rows, rounded
/// down.
struct AlignedRowPan : RowPan {
  using Streams =
      StreamList<In<&Args::upper, 8, 0, 2>, In<&Args::lower, 8, 0, 2>, Out<&Args::destination, 8>>;
};
struct PanChromaFirst : AlignedRowPan {
  static constexpr const char* name = "scanning/PanChromaFirst";
  template <class Set>
  static void Run(Args& args) noexcept;
};
struct PanLumaFirst : AlignedRowPan {
  static constexpr const char* name = "scanning/PanLumaFirst";
  template <class Set>
  static void Run(Args& args) noexcept;
};

/// For columns of unequal parity: chroma is PanBlend of the pixels p - 1 and p + 1, the nearest ones with the
/// same kind of chroma. The pixel before the first group is read too.
struct ShiftedRowPan : RowPan {
  using Streams =
      StreamList<In<&Args::upper, 8, 2, 2>, In<&Args::lower, 8, 2, 2>, Out<&Args::destination, 8>>;
};
struct PanChromaFirstShifted : ShiftedRowPan {
  static constexpr const char* name = "scanning/PanChromaFirstShifted";
  template <class Set>
  static void Run(Args& args) noexcept;
};
struct PanLumaFirstShifted : ShiftedRowPan {
  static constexpr const char* name = "scanning/PanLumaFirstShifted";
  template <class Set>
  static void Run(Args& args) noexcept;
};

}  // namespace kv_img::scanning
