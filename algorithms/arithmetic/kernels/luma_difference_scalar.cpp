#include "algorithms/arithmetic/kernels/luma_difference.h"

namespace kv_img::arithmetic {

template <>
void LumaDifference::Run<Scalar>(Args& args) noexcept {
  const std::int32_t pixels = 4 * args.groups;
  for (std::int32_t pixel = 0; pixel < pixels; ++pixel) {
    const std::int32_t luma = 2 * pixel + LumaByte(args.order);
    args.destination[pixel] = AbsoluteDifferenceOf(args.first[luma], args.second[luma]);
  }
  args.first += 2 * pixels;
  args.second += 2 * pixels;
  args.destination += pixels;
}

}  // namespace kv_img::arithmetic
