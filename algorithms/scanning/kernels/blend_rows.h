#pragma once

#include <cstdint>

#include "algorithms/simd/wide_level.h"

namespace kv_img::scanning {

/// A sample at `fraction` of the way from an upper row to the lower one.
constexpr std::uint8_t BlendRows(std::uint8_t upper, std::uint8_t lower, float fraction) {
  return static_cast<std::uint8_t>(static_cast<int>(static_cast<float>(upper) * (1.0F - fraction) +
                                                    static_cast<float>(lower) * fraction + 0.5F));
}
static_assert(BlendRows(10, 20, 0.25F) == 13 && BlendRows(255, 255, 0.3F) == 255);

/// The same of two neighbours in either row.
constexpr std::uint8_t BlendRows(std::uint8_t upper, std::uint8_t upperNext, std::uint8_t lower,
                                 std::uint8_t lowerNext, float fraction) {
  return static_cast<std::uint8_t>(static_cast<int>(static_cast<float>(upper) * (1.0F - fraction) * 0.5F +
                                                    static_cast<float>(upperNext) * (1.0F - fraction) * 0.5F +
                                                    static_cast<float>(lower) * fraction * 0.5F +
                                                    static_cast<float>(lowerNext) * fraction * 0.5F + 0.5F));
}
static_assert(BlendRows(10, 20, 30, 41, 0.5F) == 25);

/// A row of a vertical pan, between equal layouts: every output sample lies at `fraction`, 0 to 1, of the way
/// from the upper to the lower source row. All steps are of single precision, in the order written above.
///
/// `BlendAlike` takes every byte from those at its place. The others, one per byte order, are for source and
/// destination columns of unlike parity: luma is taken from its place, chroma from the neighbours of that
/// pixel in both rows, for they have its kind of chroma.
///
/// One group is four pixels, 8 bytes of either row and of the destination. For unlike columns the pixels
/// before the first and behind the last one are read too. Nothing is read or written when there is no group.
/// Any alignment; the rows may be the same, the destination overlaps neither. The kernel leaves all pointers
/// behind the groups, the SIMD state clean, and keeps no state.
struct BlendRowsArgs {
  std::int32_t groups;
  const std::uint8_t* upper;
  const std::uint8_t* lower;
  std::uint8_t* destination;
  float fraction;
};

namespace scalar {
void BlendAlike(BlendRowsArgs& args) noexcept;
void BlendLumaFirst(BlendRowsArgs& args) noexcept;
void BlendChromaFirst(BlendRowsArgs& args) noexcept;
}  // namespace scalar
namespace mmx {
void BlendAlike(BlendRowsArgs& args) noexcept;
void BlendLumaFirst(BlendRowsArgs& args) noexcept;
void BlendChromaFirst(BlendRowsArgs& args) noexcept;
}  // namespace mmx
namespace wide {
template <WideLevel>
void BlendAlike(BlendRowsArgs& args) noexcept;
template <WideLevel>
void BlendLumaFirst(BlendRowsArgs& args) noexcept;
template <WideLevel>
void BlendChromaFirst(BlendRowsArgs& args) noexcept;
}  // namespace wide

}  // namespace kv_img::scanning
