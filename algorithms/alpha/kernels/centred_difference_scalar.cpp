#include "algorithms/alpha/kernels/centred_difference.h"

namespace kv_img::alpha {

template <>
void CentredDifference::Run<Scalar>(Args& args) noexcept {
  for (std::int32_t pixel = 0; pixel < 4 * args.groups; ++pixel) {
    const std::int32_t centred = *args.p++ - *args.q++ + 128;
    *args.mask++ = static_cast<std::uint8_t>(centred < 0 ? 0 : centred > 255 ? 255 : centred);
  }
}

}  // namespace kv_img::alpha
