#include "run/difference_stats.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace kv_run {
namespace {

/// So few that the sum of their squares fits 32 bits.
constexpr std::size_t blockSamples = 4096;

template <std::size_t step>
DifferenceStats MeasureBlock(const std::uint8_t* a, const std::uint8_t* b, std::size_t count,
                             int threshold) noexcept {
  std::uint32_t sum = 0;
  std::uint32_t squares = 0;
  std::uint32_t above = 0;
  int maximum = 0;
  for (std::size_t i = 0; i < count; ++i) {
    const int left = a[step * i];
    const int right = b[step * i];
    const int difference = left > right ? left - right : right - left;
    sum += static_cast<std::uint32_t>(difference);
    squares += static_cast<std::uint32_t>(difference * difference);
    above += difference > threshold ? 1U : 0U;
    maximum = std::max(maximum, difference);
  }
  return {.samples = count, .sum = sum, .squares = squares, .above = above, .maximum = maximum};
}

}  // namespace

double DifferenceStats::Mean() const {
  return samples == 0 ? 0 : static_cast<double>(sum) / static_cast<double>(samples);
}

double DifferenceStats::Psnr() const {
  if (squares == 0) return std::numeric_limits<double>::infinity();
  return 10 * std::log10(255.0 * 255.0 * static_cast<double>(samples) / static_cast<double>(squares));
}

double DifferenceStats::Share() const {
  return samples == 0 ? 0 : static_cast<double>(above) / static_cast<double>(samples);
}

DifferenceStats& DifferenceStats::operator+=(const DifferenceStats& other) {
  samples += other.samples;
  sum += other.sum;
  squares += other.squares;
  above += other.above;
  maximum = std::max(maximum, other.maximum);
  return *this;
}

DifferenceStats Measure(const std::uint8_t* a, const std::uint8_t* b, std::size_t count, std::size_t step,
                        int threshold) noexcept {
  DifferenceStats stats;
  const auto measure = step == 1 ? MeasureBlock<1> : MeasureBlock<2>;
  for (std::size_t done = 0; done < count; done += blockSamples) {
    const std::size_t block = std::min(blockSamples, count - done);
    stats += measure(a + step * done, b + step * done, block, threshold);
  }
  return stats;
}

}  // namespace kv_run
