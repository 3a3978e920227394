#include "algorithms/featurefind/kernels/luma_bytes.h"

namespace kv_img::featurefind {

template <>
void LumaBytes::Run<Scalar>(Args& args) noexcept {
  const std::uint8_t* from = args.source;
  std::uint8_t* to = args.destination;
  for (std::int32_t pixel = 0; pixel < 8 * args.groups; ++pixel) {
    *to = from[LumaByte(args.order)];
    from += 2;
    to += 1;
  }
  args.source = from;
  args.destination = to;
}

}  // namespace kv_img::featurefind
