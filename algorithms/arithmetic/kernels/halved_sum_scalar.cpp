#include "algorithms/arithmetic/kernels/halved_sum.h"
#include "algorithms/rounding.h"

namespace kv_img::arithmetic {

template <>
void HalvedSum::Run<Scalar>(Args& args) noexcept {
  const std::int32_t pixels = 4 * args.groups;
  for (std::int32_t pixel = 0; pixel < pixels; ++pixel)
    args.destination[pixel] = HalvedMean(args.first[pixel], args.second[pixel]);
  args.first += pixels;
  args.second += pixels;
  args.destination += pixels;
}

}  // namespace kv_img::arithmetic
