#include "algorithms/copy/kernels/swap_bytes.h"

namespace kv_img::copy {

template <>
void SwapBytes::Run<Scalar>(Args& args) noexcept {
  const std::uint8_t* from = args.source;
  std::uint8_t* to = args.destination;
  for (std::int32_t word = 0; word < 4 * args.groups; ++word) {
    to[0] = from[1];
    to[1] = from[0];
    from += 2;
    to += 2;
  }
  args.source = from;
  args.destination = to;
}

}  // namespace kv_img::copy
