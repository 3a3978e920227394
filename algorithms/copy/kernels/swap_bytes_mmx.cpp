#include "algorithms/copy/kernels/swap_bytes.h"
#include "algorithms/simd/mmx.h"

namespace kv_img::copy::mmx {

void SwapBytes(SwapBytesArgs& args) noexcept {
  for (std::int32_t group = 0; group < args.groups; ++group) {
    const __m64 words = Load64(args.source);
    Store64(args.destination, _mm_or_si64(_mm_slli_pi16(words, 8), _mm_srli_pi16(words, 8)));
    args.source += 8;
    args.destination += 8;
  }
  _mm_empty();
}

}  // namespace kv_img::copy::mmx
