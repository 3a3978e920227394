#include "algorithms/box_filter/kernels/box_filter.h"
#include "algorithms/box_filter/kernels/means.h"

namespace kv_img::box_filter {
namespace {

/// Writes the means of windows of windowSize columns each, the first starting at column 0. `sumOf(column)`
/// returns the sum of windowSize pixels.
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

}  // namespace

template <>
void ReplaceRow::Run<Scalar>(Args& args) noexcept {
  for (std::int32_t pair = 0; pair < 4 * args.groups; ++pair) {
    *args.first = static_cast<std::uint16_t>(*args.first + args.entering[0] - args.leaving[0]);
    *args.second = static_cast<std::uint16_t>(*args.second + args.entering[1] - args.leaving[1]);
    args.entering += 2;
    args.leaving += 2;
    ++args.first;
    ++args.second;
  }
}

template <>
void SmallWindowMeans::Run<Scalar>(Args& args) noexcept {
  const auto windows = static_cast<std::uint32_t>(args.groups);
  if (windows == 0) return;
  const auto sumOf = [&args](std::uint32_t column) {
    std::uint32_t sum = 0;
    for (std::uint32_t row = 0; row < args.windowSize; ++row) sum += args.rows[row][column];
    return sum;
  };
  RunningMeans(windows, args.windowSize, sumOf, args.destination);
  for (std::uint32_t row = 0; row < args.windowSize; ++row) args.rows[row] += windows;
  args.destination += windows;
}

template <>
void WindowMeans::Run<Scalar>(Args& args) noexcept {
  const std::uint32_t windows = 8 * static_cast<std::uint32_t>(args.groups);
  if (windows == 0) return;
  const auto sumOf = [&args](std::uint32_t column) -> std::uint32_t {
    return column % 2 == 0 ? args.first[column / 2] : args.second[column / 2];
  };
  RunningMeans(windows, args.windowSize, sumOf, args.destination);
  args.first += windows / 2;
  args.second += windows / 2;
  args.destination += windows;
}

}  // namespace kv_img::box_filter
