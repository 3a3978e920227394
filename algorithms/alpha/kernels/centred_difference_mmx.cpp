#include "algorithms/alpha/kernels/centred_difference.h"
#include "algorithms/simd/mmx.h"

namespace kv_img::alpha {
namespace {

// Bytes less 128 are signed; their saturated difference plus 128 is the clamped result.
inline __m64 Centred(__m64 p, __m64 q) {
  const __m64 bias = _mm_set1_pi8(-128);
  return _mm_xor_si64(_mm_subs_pi8(_mm_xor_si64(p, bias), _mm_xor_si64(q, bias)), bias);
}

}  // namespace

template <>
void CentredDifference::Run<Mmx>(Args& args) noexcept {
  std::int32_t group = 0;
  for (; group + 2 <= args.groups; group += 2) {
    Store64(args.mask, Centred(Load64(args.p), Load64(args.q)));
    args.p += 8;
    args.q += 8;
    args.mask += 8;
  }
  if (group < args.groups) {
    Store32(args.mask, Centred(Load32(args.p), Load32(args.q)));
    args.p += 4;
    args.q += 4;
    args.mask += 4;
  }
  _mm_empty();
}

}  // namespace kv_img::alpha
