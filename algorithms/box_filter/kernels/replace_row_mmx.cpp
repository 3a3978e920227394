#include "algorithms/box_filter/kernels/replace_row.h"
#include "algorithms/simd/mmx.h"

namespace kv_img::box_filter::mmx {
namespace {

void Add(std::uint16_t* sums, __m64 difference) {
  auto* bytes = reinterpret_cast<std::uint8_t*>(sums);
  Store64(bytes, _mm_add_pi16(Load64(bytes), difference));
}

}  // namespace

void ReplaceRow(ReplaceRowArgs& args) noexcept {
  const __m64 lower = _mm_set1_pi16(0xFF);
  for (std::int32_t group = 0; group < args.groups; ++group) {
    const __m64 entering = Load64(args.entering);
    const __m64 leaving = Load64(args.leaving);
    Add(args.first, _mm_sub_pi16(_mm_and_si64(entering, lower), _mm_and_si64(leaving, lower)));
    Add(args.second, _mm_sub_pi16(_mm_srli_pi16(entering, 8), _mm_srli_pi16(leaving, 8)));
    args.entering += 8;
    args.leaving += 8;
    args.first += 4;
    args.second += 4;
  }
  _mm_empty();
}

}  // namespace kv_img::box_filter::mmx
