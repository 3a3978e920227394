#include "algorithms/copy/kernels/swap_bytes.h"
#include "algorithms/simd/mmx.h"

namespace kv_img::copy {

template <>
void SwapBytes::Run<Mmx>(Args& args) noexcept {
  const std::uint8_t* from = args.source;
  std::uint8_t* to = args.destination;
  for (std::int32_t group = 0; group < args.groups; ++group) {
    const __m64 words = Load64(from);
    Store64(to, _mm_or_si64(_mm_slli_pi16(words, 8), _mm_srli_pi16(words, 8)));
    from += 8;
    to += 8;
  }
  args.source = from;
  args.destination = to;
  _mm_empty();
}

}  // namespace kv_img::copy
