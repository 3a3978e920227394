#pragma once

#include <cstddef>

#include "algorithms/scanning/kernels/blend_rows.h"

// Plain loops that compilers vectorise: for the scalar set, and for the set of 64-bit words, which have no
// single precision. Each set compiles a copy of its own, as a member is built from its own kernels alone.

namespace kv_img::scanning {
namespace {

constexpr std::ptrdiff_t nextPixel = 2;

/// Calls `fill(upper, lower, out, bytes)`: a plain loop that compilers vectorise.
template <class Fill>
void FillBytes(RowBlend::Args& args, Fill fill) {
  const std::ptrdiff_t bytes = 8 * std::ptrdiff_t{args.groups};
  fill(args.upper, args.lower, args.destination, bytes);
  args.upper += bytes;
  args.lower += bytes;
  args.destination += bytes;
}

template <PackedOrder order>
void BlendShifted(RowBlend::Args& args) {
  constexpr std::ptrdiff_t lumaAt = LumaByte(order);
  constexpr std::ptrdiff_t chromaAt = ChromaByte(order);
  constexpr std::ptrdiff_t before = chromaAt - nextPixel;
  constexpr std::ptrdiff_t after = chromaAt + nextPixel;
  FillBytes(args, [fraction = args.fraction](const std::uint8_t* upper, const std::uint8_t* lower,
                                             std::uint8_t* out, std::ptrdiff_t bytes) {
    for (std::ptrdiff_t i = 0; i < bytes; i += nextPixel) {
      out[i + lumaAt] = BlendRows(upper[i + lumaAt], lower[i + lumaAt], fraction);
      out[i + chromaAt] =
          BlendRows(upper[i + before], upper[i + after], lower[i + before], lower[i + after], fraction);
    }
  });
}

/// Every byte from those at its place.
void BlendInPlace(RowBlend::Args& args) {
  FillBytes(args, [fraction = args.fraction](const std::uint8_t* upper, const std::uint8_t* lower,
                                             std::uint8_t* out, std::ptrdiff_t bytes) {
    for (std::ptrdiff_t i = 0; i < bytes; ++i) out[i] = BlendRows(upper[i], lower[i], fraction);
  });
}

}  // namespace
}  // namespace kv_img::scanning
