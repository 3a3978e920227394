#include "algorithms/box_filter/kernels/running_means.h"
#include "algorithms/box_filter/kernels/small_window_means.h"

namespace kv_img::box_filter::scalar {

void SmallWindowMeans(SmallWindowMeansArgs& args) noexcept {
  const std::uint32_t windows = 8 * static_cast<std::uint32_t>(args.groups);
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

}  // namespace kv_img::box_filter::scalar
