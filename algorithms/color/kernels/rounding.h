#pragma once

#include <cstdint>

#include "algorithms/color/kernels/weights.h"
#include "algorithms/rounding.h"

// The integer rule of colour conversion, a component at a time, for the plain kernels.
namespace kv_img::color {
namespace {

/// A sum of `fractionBits` bits of fraction, halves rounded up, clamped.
template <int fractionBits>
constexpr std::uint8_t Round(std::int32_t sum) {
  return ClampToByte((sum + (1 << (fractionBits - 1))) >> fractionBits);
}
static_assert(Round<2>(5) == 1 && Round<2>(6) == 2 && Round<2>(-3) == 0 && Round<2>(1022) == 255);

/// Four times a chroma sample at the left and right pixel of its pair.
struct PixelChroma {
  std::int32_t left;
  std::int32_t right;
};
[[maybe_unused]] constexpr PixelChroma Upsample(Upsampling upsampling, std::int32_t before, std::int32_t own,
                                                std::int32_t next) {
  if (upsampling == Upsampling::Left) return {4 * own, 2 * (own + next)};
  if (upsampling == Upsampling::Centre) return {before + 3 * own, 3 * own + next};
  return {4 * own, 4 * own};
}

}  // namespace
}  // namespace kv_img::color
