#include "algorithms/arithmetic/kernels/halved_sum.h"
#include "algorithms/simd/mmx.h"

namespace kv_img::arithmetic {
namespace {

// The shift drags a bit of each byte into its neighbour; the mask drops it.
__m64 Halved(__m64 bytes) {
  return _mm_and_si64(_mm_srli_si64(bytes, 1), _mm_set1_pi8(0x7F));
}

__m64 HalvedSumOfWord(__m64 first, __m64 second) {
  return _mm_add_pi8(Halved(first), Halved(second));
}

}  // namespace

template <>
void HalvedSum::Run<Mmx>(Args& args) noexcept {
  for (std::int32_t step = 0; step < args.groups / 2; ++step) {
    Store64(args.destination, HalvedSumOfWord(Load64(args.first), Load64(args.second)));
    args.first += 8;
    args.second += 8;
    args.destination += 8;
  }
  if (args.groups > 0 && args.groups % 2 != 0) {
    Store32(args.destination, HalvedSumOfWord(Load32(args.first), Load32(args.second)));
    args.first += 4;
    args.second += 4;
    args.destination += 4;
  }
  _mm_empty();
}

}  // namespace kv_img::arithmetic
