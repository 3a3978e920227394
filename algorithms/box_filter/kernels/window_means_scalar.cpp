#include "algorithms/box_filter/kernels/running_means.h"

namespace kv_img::box_filter::scalar {

void WindowMeans(WindowMeansArgs& args) noexcept {
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

}  // namespace kv_img::box_filter::scalar
