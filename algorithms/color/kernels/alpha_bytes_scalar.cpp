#include "algorithms/color/kernels/alpha_bytes.h"

namespace kv_img::color {

template <>
void TakeAlpha::Run<Scalar>(Args& args) noexcept {
  for (std::int32_t pixel = 0; pixel < 4 * args.groups; ++pixel) {
    args.destination[pixel] = args.source[4 * pixel + 3];
  }
  args.source += 16 * args.groups;
  args.destination += 4 * args.groups;
}

template <>
void PutAlpha::Run<Scalar>(Args& args) noexcept {
  for (std::int32_t pixel = 0; pixel < 4 * args.groups; ++pixel) {
    args.destination[4 * pixel + 3] = args.source[pixel];
  }
  args.source += 4 * args.groups;
  args.destination += 16 * args.groups;
}

}  // namespace kv_img::color
