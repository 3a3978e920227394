#pragma once

#include <cstdint>

#include "algorithms/simd/wide_level.h"

namespace kv_img::scanning {

/// A row of a horizontal pan: every output sample is blended from two rows and two neighbours of the source.
///
/// The weights are 15-bit, each at most 0x8000, together at most 0x8000. With p the source pixel that output
/// pixel k starts from (p = k, counted from `upper` and `lower`):
/// - luma is PanBlend of the pixels p and p + 1 of both rows;
/// - chroma of the plain kernels is the mean of pixel p of both rows, rounded down;
/// - chroma of the `Shifted` kernels, for source and destination columns of unlike parity, is PanBlend of the
///   pixels p - 1 and p + 1, the nearest ones with the same kind of chroma.
///
/// One group is four pixels, 8 bytes of either row and of the destination; two bytes behind the last group
/// are read too, and by the `Shifted` kernels two before the first. Nothing is read or written when there is
/// no group, and nothing but the groups is written. Any alignment; the rows may be the same, the destination
/// overlaps neither. The kernel leaves all pointers behind the groups, the SIMD state clean, and keeps no
/// state.
struct PanRowArgs {
  std::int32_t groups;
  const std::uint8_t* upper;
  const std::uint8_t* lower;
  std::uint8_t* destination;
  std::uint16_t leftWeight;
  std::uint16_t rightWeight;
};

/// Upper half of the 32-bit product of a sample, as the upper byte of a word, and a weight.
constexpr std::uint32_t PanProduct(std::uint8_t sample, std::uint16_t weight) {
  return (static_cast<std::uint32_t>(sample) << 8) * weight >> 16;
}
/// Each of the four products loses its fraction.
constexpr std::uint8_t PanBlend(std::uint8_t upperLeft, std::uint8_t lowerLeft, std::uint8_t upperRight,
                                std::uint8_t lowerRight, std::uint16_t leftWeight,
                                std::uint16_t rightWeight) {
  return static_cast<std::uint8_t>((PanProduct(upperLeft, leftWeight) + PanProduct(lowerLeft, leftWeight) +
                                    PanProduct(upperRight, rightWeight) +
                                    PanProduct(lowerRight, rightWeight)) >>
                                   8);
}
static_assert(PanBlend(255, 255, 0, 0, 0x8000, 0) == 255 && PanBlend(10, 13, 99, 99, 0x8000, 0) == 11);
static_assert(PanBlend(255, 255, 255, 255, 0x3FFF, 0x4000) == 254);

// One kernel per byte order and chroma alignment.
namespace scalar {
void PanChromaFirst(PanRowArgs& args) noexcept;
void PanChromaFirstShifted(PanRowArgs& args) noexcept;
void PanLumaFirst(PanRowArgs& args) noexcept;
void PanLumaFirstShifted(PanRowArgs& args) noexcept;
}  // namespace scalar
namespace mmx {
void PanChromaFirst(PanRowArgs& args) noexcept;
void PanChromaFirstShifted(PanRowArgs& args) noexcept;
void PanLumaFirst(PanRowArgs& args) noexcept;
void PanLumaFirstShifted(PanRowArgs& args) noexcept;
}  // namespace mmx
namespace wide {
template <WideLevel>
void PanChromaFirst(PanRowArgs& args) noexcept;
template <WideLevel>
void PanChromaFirstShifted(PanRowArgs& args) noexcept;
template <WideLevel>
void PanLumaFirst(PanRowArgs& args) noexcept;
template <WideLevel>
void PanLumaFirstShifted(PanRowArgs& args) noexcept;
}  // namespace wide

}  // namespace kv_img::scanning
