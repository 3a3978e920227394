#include "algorithms/alpha/kernels/centred_difference.h"

namespace kv_img::alpha {

template <>
void CentredDifference::Run<Scalar>(Args& args) noexcept {
  for (std::int32_t pixel = 0; pixel < 4 * args.groups; ++pixel) {
    *args.mask++ = Centred(*args.p++, *args.q++);
  }
}

}  // namespace kv_img::alpha
