#include "algorithms/arithmetic/kernels/small_window_means.h"
#include "algorithms/arithmetic/kernels/window_means.h"

namespace kv_img::arithmetic::scalar {

void SmallWindowMeans(SmallWindowMeansArgs& args) noexcept {
  const std::uint32_t area = args.windowSize * args.windowSize;
  const auto column = [&args](std::uint32_t at) {
    std::uint32_t sum = 0;
    for (std::uint32_t row = 0; row < args.windowSize; ++row) sum += args.rows[row][at];
    return sum;
  };
  const std::uint32_t windows = 8 * static_cast<std::uint32_t>(args.groups);
  if (windows == 0) return;
  std::uint32_t sum = 0;
  for (std::uint32_t at = 0; at + 1 < args.windowSize; ++at) sum += column(at);
  for (std::uint32_t window = 0; window < windows; ++window) {
    sum += column(window + args.windowSize - 1);
    args.destination[window] = MeanOf(sum, area);
    sum -= column(window);
  }
  for (std::uint32_t row = 0; row < args.windowSize; ++row) args.rows[row] += windows;
  args.destination += windows;
}

}  // namespace kv_img::arithmetic::scalar
