#include "algorithms/color/kernels/recode.h"
#include "algorithms/color/kernels/rounding.h"

namespace kv_img::color {
namespace {

/// Four times a chroma sample, moved.
constexpr std::int32_t Move(Shift shift, std::int32_t before, std::int32_t own, std::int32_t next) {
  if (shift == Shift::Right) return 3 * own + next;
  return shift == Shift::Left ? before + 3 * own : 4 * own;
}

}  // namespace

template <>
void Recode::Run<Scalar>(Args& args) noexcept {
  const RecodingWeights& weights = args.weights;
  const int luma = LumaByte(args.order);
  const int cb = 1 - luma;
  const int cr = 3 - luma;
  const int lumaOut = LumaByte(args.destinationOrder);
  const auto lumaOf = [&](int y, std::int32_t u, std::int32_t v) {
    return Round<16>(weights.luma * 4 * (y - weights.blackIn) + weights.cbToLuma * (u - 512) +
                     weights.crToLuma * (v - 512) + weights.blackOut * 65536);
  };
  for (std::int32_t pair = 0; pair < args.groups; ++pair) {
    const std::uint8_t* own = args.source;
    const std::uint8_t* before = pair == 0 ? own : own - 4;
    const std::uint8_t* next = pair + 1 == args.groups ? own : own + 4;
    const PixelChroma u = Upsample(args.upsampling, before[cb], own[cb], next[cb]);
    const PixelChroma v = Upsample(args.upsampling, before[cr], own[cr], next[cr]);
    const std::int32_t movedU = Move(args.shift, before[cb], own[cb], next[cb]) - 512;
    const std::int32_t movedV = Move(args.shift, before[cr], own[cr], next[cr]) - 512;
    std::uint8_t* to = args.destination;
    to[lumaOut] = lumaOf(own[luma], u.left, v.left);
    to[lumaOut + 2] = lumaOf(own[luma + 2], u.right, v.right);
    to[1 - lumaOut] = Round<16>(weights.cbToCb * movedU + weights.crToCb * movedV + 128 * 65536);
    to[3 - lumaOut] = Round<16>(weights.cbToCr * movedU + weights.crToCr * movedV + 128 * 65536);
    args.source += 4;
    args.destination += 4;
  }
}

}  // namespace kv_img::color
