#include "algorithms/arithmetic/kernels/window_means.h"

namespace kv_img::arithmetic::scalar {

void WindowMeans(WindowMeansArgs& args) noexcept {
  if (args.groups <= 0) return;
  const std::int32_t windows = 8 * args.groups;
  const std::uint32_t area = args.windowSize * args.windowSize;
  const std::uint16_t* entering = args.columns + args.windowSize - 1;
  std::uint32_t sum = 0;
  for (const std::uint16_t* column = args.columns; column < entering; ++column) sum += *column;
  for (std::int32_t window = 0; window < windows; ++window) {
    sum += entering[window];
    args.destination[window] = MeanOf(sum, area);
    sum -= args.columns[window];
  }
  args.columns += windows;
  args.destination += windows;
}

}  // namespace kv_img::arithmetic::scalar
