#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "algorithms/packed422/order.h"

namespace kv_img::color {

/// How the pairs of a row are stored.
struct PairLayout {
  int pairBytes;  ///< bytes of a pair
  int loneBytes;  ///< bytes of a lone last pixel: of packed 4:2:2 its whole pair
};
inline constexpr PairLayout packedPairs = {4, 4};
template <int pixelBytes>
inline constexpr PairLayout bitmapPairs = {2 * pixelBytes, pixelBytes};

/// Converts the pairs of a row. `convert(groups, source, destination)` calls the kernel for whole pairs.
///
/// A lone last pixel becomes a pair by `complete(pair)` in a copy of the last pairs. The last two of a row are
/// written again from there: what the one before the lone pixel takes from its neighbour is right there alone.
template <PairLayout in, PairLayout out, class Convert, class Complete>
void ConvertPairs(int width, const std::uint8_t* source, std::uint8_t* destination, Convert convert,
                  Complete complete) {
  const int whole = width / 2;
  if (whole > 0) convert(whole, source, destination);
  if (width % 2 == 0) return;

  // The pairs of the copy, and those that are written.
  const int count = std::min(whole, 2) + 1;
  const int written = std::min(whole, 1) + 1;
  std::uint8_t copies[3 * in.pairBytes];
  const int lone = in.pairBytes * (count - 1);
  std::memcpy(copies, source + std::ptrdiff_t{in.pairBytes} * (whole + 1 - count),
              static_cast<std::size_t>(lone + in.loneBytes));
  complete(copies + lone);
  std::uint8_t converted[3 * out.pairBytes];
  convert(count, copies, converted);
  std::memcpy(destination + std::ptrdiff_t{out.pairBytes} * (whole + 1 - written),
              converted + out.pairBytes * (count - written),
              static_cast<std::size_t>(out.pairBytes * (written - 1) + out.loneBytes));
}

/// Makes a pair of a lone pixel by repeating it.
template <int pixelBytes>
struct RepeatPixel {
  void operator()(std::uint8_t* pair) const { std::memcpy(pair + pixelBytes, pair, pixelBytes); }
};
/// Of a pair of packed 4:2:2 the spare luma.
struct RepeatLuma {
  PackedOrder order;
  void operator()(std::uint8_t* pair) const {
    std::uint8_t* luma = pair + LumaByte(order);
    luma[2] = luma[0];
  }
};

}  // namespace kv_img::color
