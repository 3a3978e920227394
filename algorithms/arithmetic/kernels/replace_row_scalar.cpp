#include "algorithms/arithmetic/kernels/replace_row.h"

namespace kv_img::arithmetic::scalar {

void ReplaceRow(ReplaceRowArgs& args) noexcept {
  const std::int32_t columns = 8 * args.groups;
  for (std::int32_t column = 0; column < columns; ++column) {
    args.sums[column] =
        static_cast<std::uint16_t>(args.sums[column] + args.entering[column] - args.leaving[column]);
  }
  args.entering += columns;
  args.leaving += columns;
  args.sums += columns;
}

}  // namespace kv_img::arithmetic::scalar
