#include "algorithms/arithmetic/kernels/replace_row.h"
#include "algorithms/simd/mmx.h"

namespace kv_img::arithmetic::mmx {
namespace {

void Add(std::uint16_t* sums, __m64 difference) {
  auto* bytes = reinterpret_cast<std::uint8_t*>(sums);
  Store64(bytes, _mm_add_pi16(Load64(bytes), difference));
}

}  // namespace

void ReplaceRow(ReplaceRowArgs& args) noexcept {
  const __m64 zero = _mm_setzero_si64();
  for (std::int32_t group = 0; group < args.groups; ++group) {
    const __m64 entering = Load64(args.entering);
    const __m64 leaving = Load64(args.leaving);
    Add(args.sums, _mm_sub_pi16(_mm_unpacklo_pi8(entering, zero), _mm_unpacklo_pi8(leaving, zero)));
    Add(args.sums + 4, _mm_sub_pi16(_mm_unpackhi_pi8(entering, zero), _mm_unpackhi_pi8(leaving, zero)));
    args.entering += 8;
    args.leaving += 8;
    args.sums += 8;
  }
  _mm_empty();
}

}  // namespace kv_img::arithmetic::mmx
