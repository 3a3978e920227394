#include "algorithms/scanning/kernels/pan_row.h"

namespace kv_img::scanning::scalar {
namespace {

constexpr int pixel = 2;

template <int lumaAt, bool isShifted>
void Pan(PanRowArgs& args) noexcept {
  constexpr int chromaAt = 1 - lumaAt;
  const std::uint8_t* upper = args.upper;
  const std::uint8_t* lower = args.lower;
  std::uint8_t* to = args.destination;
  const auto blend = [&upper, &lower, leftWeight = args.leftWeight, rightWeight = args.rightWeight](
                         int left, int right) {
    return PanBlend(upper[left], lower[left], upper[right], lower[right], leftWeight, rightWeight);
  };
  for (std::int32_t k = 0; k < 4 * args.groups; ++k) {
    to[lumaAt] = blend(lumaAt, lumaAt + pixel);
    if constexpr (isShifted) {
      to[chromaAt] = blend(chromaAt - pixel, chromaAt + pixel);
    } else {
      to[chromaAt] = static_cast<std::uint8_t>((upper[chromaAt] + lower[chromaAt]) >> 1);
    }
    upper += pixel;
    lower += pixel;
    to += pixel;
  }
  args.upper = upper;
  args.lower = lower;
  args.destination = to;
}

}  // namespace

void PanChromaFirst(PanRowArgs& args) noexcept {
  Pan<1, false>(args);
}

void PanChromaFirstShifted(PanRowArgs& args) noexcept {
  Pan<1, true>(args);
}

void PanLumaFirst(PanRowArgs& args) noexcept {
  Pan<0, false>(args);
}

void PanLumaFirstShifted(PanRowArgs& args) noexcept {
  Pan<0, true>(args);
}

}  // namespace kv_img::scanning::scalar
