#include "algorithms/copy/kernels/swap_bytes.h"

namespace kv_img::copy::scalar {

void SwapBytes(SwapBytesArgs& args) noexcept {
  for (std::int32_t word = 0; word < 4 * args.groups; ++word) {
    args.destination[0] = args.source[1];
    args.destination[1] = args.source[0];
    args.source += 2;
    args.destination += 2;
  }
}

}  // namespace kv_img::copy::scalar
