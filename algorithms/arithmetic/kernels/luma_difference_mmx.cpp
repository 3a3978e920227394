#include "algorithms/arithmetic/kernels/luma_difference.h"
#include "algorithms/simd/mmx.h"

namespace kv_img::arithmetic {
namespace {

// Luma differences of four pixels as 16-bit lanes. All eight bytes are subtracted, then the luma is picked.
template <PackedOrder order>
__m64 DifferenceOfFour(const std::uint8_t* first, const std::uint8_t* second) {
  const __m64 a = Load64(first);
  const __m64 b = Load64(second);
  const __m64 difference = _mm_or_si64(_mm_subs_pu8(a, b), _mm_subs_pu8(b, a));
  if constexpr (order == PackedOrder::ChromaFirst) return _mm_srli_pi16(difference, 8);
  return _mm_and_si64(difference, _mm_set1_pi16(0x00FF));
}

template <PackedOrder order>
void Difference(LumaDifference::Args& args) {
  for (std::int32_t step = 0; step < args.groups / 2; ++step) {
    Store64(args.destination, _mm_packs_pu16(DifferenceOfFour<order>(args.first, args.second),
                                             DifferenceOfFour<order>(args.first + 8, args.second + 8)));
    args.first += 16;
    args.second += 16;
    args.destination += 8;
  }
  if (args.groups > 0 && args.groups % 2 != 0) {
    Store32(args.destination,
            _mm_packs_pu16(DifferenceOfFour<order>(args.first, args.second), _mm_setzero_si64()));
    args.first += 8;
    args.second += 8;
    args.destination += 4;
  }
}

}  // namespace

template <>
void LumaDifference::Run<Mmx>(Args& args) noexcept {
  if (args.order == PackedOrder::ChromaFirst) {
    Difference<PackedOrder::ChromaFirst>(args);
  } else {
    Difference<PackedOrder::LumaFirst>(args);
  }
  _mm_empty();
}

}  // namespace kv_img::arithmetic
