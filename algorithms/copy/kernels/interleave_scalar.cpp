#include "algorithms/copy/kernels/interleave.h"

namespace kv_img::copy {

template <>
void InterleaveLumaFirst::Run<Scalar>(Args& args) noexcept {
  for (std::int32_t pair = 0; pair < 4 * args.groups; ++pair) {
    args.destination[0] = args.luma[0];
    args.destination[1] = *args.cb++;
    args.destination[2] = args.luma[1];
    args.destination[3] = *args.cr++;
    args.luma += 2;
    args.destination += 4;
  }
}

template <>
void InterleaveChromaFirst::Run<Scalar>(Args& args) noexcept {
  for (std::int32_t pair = 0; pair < 4 * args.groups; ++pair) {
    args.destination[0] = *args.cb++;
    args.destination[1] = args.luma[0];
    args.destination[2] = *args.cr++;
    args.destination[3] = args.luma[1];
    args.luma += 2;
    args.destination += 4;
  }
}

}  // namespace kv_img::copy
