#include "algorithms/arithmetic/kernels/luma_difference.h"
#include "algorithms/rounding.h"

namespace kv_img::arithmetic {

template <>
void LumaDifference::Run<Scalar>(Args& args) noexcept {
  const std::int32_t pixels = 4 * args.groups;
  const std::uint8_t* first = args.first + LumaByte(args.order);
  const std::uint8_t* second = args.second + LumaByte(args.order);
  for (std::int32_t pixel = 0; pixel < pixels; ++pixel) {
    args.destination[pixel] =
        static_cast<std::uint8_t>(AbsoluteDifferenceOf(first[2 * pixel], second[2 * pixel]));
  }
  args.first += 2 * pixels;
  args.second += 2 * pixels;
  args.destination += pixels;
}

}  // namespace kv_img::arithmetic
