#include "algorithms/copy/kernels/regroup_pairs.h"
#include "algorithms/simd/mmx.h"

namespace kv_img::copy {

template <>
void RegroupPairs::Run<Mmx>(Args& args) noexcept {
  const bool isLumaFirst = args.sourceOrder == PackedOrder::LumaFirst;
  const __m64 lumaMask = _mm_set1_pi16(static_cast<short>(isLumaFirst ? 0x00FF : 0xFF00));
  // Shifts by 8 either way exchange the bytes of a word; by 0 and 16 they keep them.
  const bool isSwapped = args.sourceOrder != args.destinationOrder;
  const __m64 left = _mm_cvtsi32_si64(isSwapped ? 8 : 0);
  const __m64 right = _mm_cvtsi32_si64(isSwapped ? 8 : 16);

  const std::uint8_t* from = args.source;
  std::uint8_t* to = args.destination;
  for (std::int32_t group = 0; group < args.groups; ++group) {
    const __m64 luma = _mm_and_si64(lumaMask, Load64(from));
    const __m64 chroma = _mm_andnot_si64(lumaMask, Load64(from + 2));
    const __m64 words = _mm_or_si64(luma, chroma);
    Store64(to, _mm_or_si64(_mm_sll_pi16(words, left), _mm_srl_pi16(words, right)));
    from += 8;
    to += 8;
  }
  args.source = from;
  args.destination = to;
  _mm_empty();
}

}  // namespace kv_img::copy
