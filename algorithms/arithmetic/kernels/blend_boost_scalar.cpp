#include "algorithms/arithmetic/kernels/blend_boost.h"

namespace kv_img::arithmetic {

template <>
void BlendBoost::Run<Scalar>(Args& args) noexcept {
  const int luma = LumaByte(args.order);
  const int chroma = ChromaByte(args.order);
  for (std::int32_t pair = 0; pair < 2 * args.groups; ++pair) {
    const std::uint8_t first = BoostedWeight(args.mask[0], args.a[luma], args.b[luma]);
    const std::uint8_t second = BoostedWeight(args.mask[1], args.a[luma + 2], args.b[luma + 2]);
    args.destination[luma] = BlendOf(args.a[luma], args.b[luma], first);
    args.destination[luma + 2] = BlendOf(args.a[luma + 2], args.b[luma + 2], second);
    args.destination[chroma] = BlendOf(args.a[chroma], args.b[chroma], first);
    args.destination[chroma + 2] = BlendOf(args.a[chroma + 2], args.b[chroma + 2], first);
    args.b += 4;
    args.a += 4;
    args.mask += 2;
    args.destination += 4;
  }
}

}  // namespace kv_img::arithmetic
