#include "algorithms/arithmetic/kernels/luma_difference.h"
#include "algorithms/packed422/kernels/lanes_mmx.h"

namespace kv_img::arithmetic {
namespace {

// Luma differences of four pixels as 16-bit lanes. All eight bytes are subtracted, then the luma is picked.
template <PackedOrder order>
__m64 DifferenceOfFour(const std::uint8_t* first, const std::uint8_t* second) {
  const __m64 a = Load64(first);
  const __m64 b = Load64(second);
  const __m64 difference = _mm_or_si64(_mm_subs_pu8(a, b), _mm_subs_pu8(b, a));
  return LumaLanes<order>(difference);
}

template <PackedOrder order>
void Difference(LumaDifference::Args& args) {
  LumaDifference::Args at = args;  // no store can reach a local copy, so its pointers stay in registers
  for (std::int32_t step = 0; step < at.groups / 2; ++step) {
    Store64(at.destination, _mm_packs_pu16(DifferenceOfFour<order>(at.first, at.second),
                                           DifferenceOfFour<order>(at.first + 8, at.second + 8)));
    at.first += 16;
    at.second += 16;
    at.destination += 8;
  }
  if (at.groups > 0 && at.groups % 2 != 0) {
    Store32(at.destination, _mm_packs_pu16(DifferenceOfFour<order>(at.first, at.second), _mm_setzero_si64()));
    at.first += 8;
    at.second += 8;
    at.destination += 4;
  }
  args = at;
  _mm_empty();
}

}  // namespace

template <>
void LumaDifference::Run<Mmx>(Args& args) noexcept {
  WithOrder(args.order, [&args]<PackedOrder order>() { Difference<order>(args); });
}

}  // namespace kv_img::arithmetic
