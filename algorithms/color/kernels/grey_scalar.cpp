#include "algorithms/color/kernels/grey.h"
#include "algorithms/color/kernels/rounding.h"

namespace kv_img::color {

template <>
void GreyOfLuma::Run<Scalar>(Args& args) noexcept {
  const std::uint8_t* luma = args.source + LumaByte(args.order);
  for (std::int32_t pixel = 0; pixel < 2 * args.groups; ++pixel) {
    args.destination[pixel] = Round<14>(args.weight * (luma[2 * pixel] - args.black));
  }
  args.source += 4 * args.groups;
  args.destination += 2 * args.groups;
}

template <>
void LumaOfGrey::Run<Scalar>(Args& args) noexcept {
  const int luma = LumaByte(args.order);
  for (std::int32_t pixel = 0; pixel < 2 * args.groups; ++pixel) {
    args.destination[2 * pixel + luma] = Round<14>(args.weight * args.source[pixel] + args.black * 16384);
    args.destination[2 * pixel + 1 - luma] = 128;
  }
  args.source += 2 * args.groups;
  args.destination += 4 * args.groups;
}

}  // namespace kv_img::color
