#include "algorithms/featurefind/kernels/luma_bytes.h"
#include "algorithms/simd/mmx.h"

namespace kv_img::featurefind {

template <>
void LumaBytes::Run<Mmx>(Args& args) noexcept {
  const std::uint8_t* from = args.source;
  std::uint8_t* to = args.destination;
  const __m64 shift = _mm_cvtsi32_si64(8 * LumaByte(args.order));
  const __m64 lowBytes = _mm_set1_pi16(0x00FF);
  for (std::int32_t group = 0; group < args.groups; ++group) {
    const __m64 first = _mm_and_si64(_mm_srl_pi16(Load64(from), shift), lowBytes);
    const __m64 second = _mm_and_si64(_mm_srl_pi16(Load64(from + 8), shift), lowBytes);
    Store64(to, _mm_packs_pu16(first, second));
    from += 16;
    to += 8;
  }
  args.source = from;
  args.destination = to;
  _mm_empty();
}

}  // namespace kv_img::featurefind
