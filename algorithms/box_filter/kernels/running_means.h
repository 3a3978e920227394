#pragma once

#include "algorithms/box_filter/kernels/window_means.h"

namespace kv_img::box_filter::scalar {

/// Writes the means of `windows` windows of windowSize columns each, the first from column 0 on;
/// `sumOf(column)` tells the sum of a column of as many rows.
template <class SumOf>
void RunningMeans(std::uint32_t windows, std::uint32_t windowSize, SumOf sumOf, std::uint8_t* destination) {
  std::uint32_t sum = 0;
  for (std::uint32_t column = 0; column + 1 < windowSize; ++column) sum += sumOf(column);
  for (std::uint32_t window = 0; window < windows; ++window) {
    sum += sumOf(window + windowSize - 1);
    destination[window] = MeanOf(sum, windowSize * windowSize);
    sum -= sumOf(window);
  }
}

}  // namespace kv_img::box_filter::scalar
