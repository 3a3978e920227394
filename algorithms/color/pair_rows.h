#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "algorithms/packed422/order.h"

namespace kv_img::color {

/// How the pairs of a row are stored.
struct PairLayout {
  int pairBytes;  ///< bytes of a pair
  int unitBytes;  ///< bytes that a border repeats: a bitmap's pixel, a packed pair
  int loneBytes;  ///< bytes of a lone last pixel: of packed 4:2:2 its whole pair
};
inline constexpr PairLayout packedPairs = {4, 4, 4};
template <int pixelBytes>
inline constexpr PairLayout bitmapPairs = {2 * pixelBytes, pixelBytes, pixelBytes};

/// Converts the pairs of a row, each once. `convert(groups, source, destination)` calls the kernel.
///
/// Where the kernel reads the neighbours of a pair, both ends of the row are copied to a small buffer in which
/// the first and the last pair are their own neighbours, and converted by one call; so is a lone last pixel,
/// after `complete(pair)` made it a pair.
template <PairLayout in, PairLayout out, class Convert, class Complete>
void ConvertPairs(int width, bool readsNeighbours, const std::uint8_t* source, std::uint8_t* destination,
                  Convert convert, Complete complete) {
  const int pairs = (width + 1) / 2;
  const bool hasLone = width % 2 != 0;
  const int first = readsNeighbours ? 1 : 0;
  const int end = readsNeighbours || hasLone ? pairs - 1 : pairs;
  if (end > first) {
    convert(end - first, source + std::ptrdiff_t{in.pairBytes} * first,
            destination + std::ptrdiff_t{out.pairBytes} * first);
  }
  if (end == pairs) return;

  // The first pair between itself and the second, then the last between the one before and itself.
  std::uint8_t copies[6 * in.pairBytes] = {};
  const auto copy = [&](int place, int pair) {
    std::uint8_t* own = copies + in.pairBytes * place;
    const bool isLast = pair + 1 == pairs;
    const bool isLone = isLast && hasLone;
    const std::uint8_t* from = source + std::ptrdiff_t{in.pairBytes} * pair;
    std::memcpy(own, from, isLone ? in.loneBytes : in.pairBytes);
    if (isLone) complete(own);
    std::memcpy(own - in.unitBytes, pair == 0 ? own : from - in.unitBytes, in.unitBytes);
    std::memcpy(own + in.pairBytes, isLast ? own + in.pairBytes - in.unitBytes : from + in.pairBytes,
                in.unitBytes);
  };
  const bool hasFirst = readsNeighbours && pairs > 1;
  if (hasFirst) copy(1, 0);
  copy(4, pairs - 1);
  std::uint8_t converted[4 * out.pairBytes];
  const int from = hasFirst ? 1 : 4;
  convert(5 - from, copies + in.pairBytes * from, converted);
  if (hasFirst) std::memcpy(destination, converted, out.pairBytes);
  std::memcpy(destination + std::ptrdiff_t{out.pairBytes} * (pairs - 1),
              converted + out.pairBytes * (4 - from), hasLone ? out.loneBytes : out.pairBytes);
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
