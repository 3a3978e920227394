#include "algorithms/scanning/kernels/pan_row.h"

namespace kv_img::scanning {
namespace {

constexpr int pixel = 2;

template <PackedOrder order, bool isShifted>
void Pan(RowPan::Args& args) noexcept {
  constexpr int lumaAt = LumaByte(order);
  constexpr int chromaAt = ChromaByte(order);
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
      to[chromaAt] = MeanDown(upper[chromaAt], lower[chromaAt]);
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

template <>
void PanChromaFirst::Run<Scalar>(Args& args) noexcept {
  Pan<PackedOrder::ChromaFirst, false>(args);
}

template <>
void PanChromaFirstShifted::Run<Scalar>(Args& args) noexcept {
  Pan<PackedOrder::ChromaFirst, true>(args);
}

template <>
void PanLumaFirst::Run<Scalar>(Args& args) noexcept {
  Pan<PackedOrder::LumaFirst, false>(args);
}

template <>
void PanLumaFirstShifted::Run<Scalar>(Args& args) noexcept {
  Pan<PackedOrder::LumaFirst, true>(args);
}

}  // namespace kv_img::scanning
