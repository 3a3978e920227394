#include "algorithms/box_filter/kernels/replace_row.h"

namespace kv_img::box_filter::scalar {

void ReplaceRow(ReplaceRowArgs& args) noexcept {
  for (std::int32_t pair = 0; pair < 4 * args.groups; ++pair) {
    *args.first = static_cast<std::uint16_t>(*args.first + args.entering[0] - args.leaving[0]);
    *args.second = static_cast<std::uint16_t>(*args.second + args.entering[1] - args.leaving[1]);
    args.entering += 2;
    args.leaving += 2;
    ++args.first;
    ++args.second;
  }
}

}  // namespace kv_img::box_filter::scalar
