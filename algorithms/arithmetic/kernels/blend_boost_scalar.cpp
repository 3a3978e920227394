#include "algorithms/arithmetic/kernels/blend_boost.h"

namespace kv_img::arithmetic {

template <>
void BlendBoost::Run<Scalar>(Args& args) noexcept {
  const int luma = LumaByte(args.order);
  const int chroma = ChromaByte(args.order);
  Args row = args;
  for (std::int32_t pair = 0; pair < 2 * args.groups; ++pair) {
    const std::uint8_t first = BoostedWeight(row.mask[0], row.a[luma], row.b[luma]);
    const std::uint8_t second = BoostedWeight(row.mask[1], row.a[luma + 2], row.b[luma + 2]);
    row.destination[luma] = BlendOf(row.a[luma], row.b[luma], first);
    row.destination[luma + 2] = BlendOf(row.a[luma + 2], row.b[luma + 2], second);
    row.destination[chroma] = BlendOf(row.a[chroma], row.b[chroma], first);
    row.destination[chroma + 2] = BlendOf(row.a[chroma + 2], row.b[chroma + 2], first);
    row.b += 4;
    row.a += 4;
    row.mask += 2;
    row.destination += 4;
  }
  args = row;
}

}  // namespace kv_img::arithmetic
