#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "algorithms/packed422/samples.h"

namespace kv_img {

/// Calls `luma(column)` for every column of the run, and `chroma(column)` once for every pair that has a
/// column in it, with the first such column: an odd first column and an even last one count for the chroma of
/// their pair.
template <class LumaWork, class ChromaWork>
void ForEachSample(int left, int right, LumaWork luma, ChromaWork chroma) {
  for (int column = left; column <= right; ++column) {
    luma(column);
    chroma(column);
    if (column % 2 == 0 && column < right) luma(++column);
  }
}

/// Splits a run of columns into its whole pairs and the rest: calls `pairs(begin, end)` for the columns of
/// whole pairs, if there are any, and `pixels(first, last)` for columns without a whole pair, possibly none.
template <class PixelWork, class PairWork>
void SplitRun(int left, int right, PixelWork pixels, PairWork pairs) {
  const int begin = (left + 1) & ~1;
  const int end = (right + 1) & ~1;
  if (begin >= end) {
    pixels(left, right);
    return;
  }
  pixels(left, begin - 1);
  pairs(begin, end);
  pixels(end, right);
}

/// Copies the samples of a run of columns from one row to another, component by component, so that the byte
/// order becomes the destination's. Writes whole pairs; of a lone pixel at either end its luma and the chroma
/// of its pair. The rows must not overlap.
inline void CopyRun(const std::uint8_t* from, const PackedSamples& fromSamples, std::uint8_t* to,
                    const PackedSamples& toSamples, int left, int right) {
  const auto copySamples = [&](int first, int last) {
    ForEachSample(
        first, last, [&](int x) { to[toSamples.Luma(x)] = from[fromSamples.Luma(x)]; },
        [&](int x) {
          to[toSamples.Cb(x)] = from[fromSamples.Cb(x)];
          to[toSamples.Cr(x)] = from[fromSamples.Cr(x)];
        });
  };
  if (fromSamples != toSamples) {
    copySamples(left, right);
    return;
  }
  SplitRun(left, right, copySamples, [&](int begin, int end) {
    const std::ptrdiff_t start = PixelOffset(begin);
    std::memcpy(to + start, from + start, static_cast<std::size_t>(PixelOffset(end) - start));
  });
}

}  // namespace kv_img
