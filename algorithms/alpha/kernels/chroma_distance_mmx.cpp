#include "algorithms/alpha/kernels/chroma_distance.h"
#include "algorithms/simd/mmx.h"

namespace kv_img::alpha {
namespace {

// Chroma of two pixel pairs, one sample in each 16-bit lane.
inline __m64 Chroma(const std::uint8_t* row, __m64 shift) {
  return _mm_and_si64(_mm_srl_pi16(Load64(row), shift), _mm_set1_pi16(0x00FF));
}

// s of two pixel pairs, one in each 32-bit lane.
inline __m64 Distance(__m64 first, __m64 second) {
  const __m64 distance = _mm_or_si64(_mm_subs_pu8(first, second), _mm_subs_pu8(second, first));
  return _mm_madd_pi16(distance, _mm_set1_pi16(1));
}

// Alpha of four pairs from s in 16-bit lanes, each in both bytes of its lane.
inline __m64 Alpha(__m64 s) {
  const __m64 five = _mm_set1_pi16(5);
  const __m64 t = _mm_sub_pi16(s, _mm_subs_pu16(s, five));
  const __m64 cube = _mm_mullo_pi16(_mm_mullo_pi16(t, t), t);
  return _mm_xor_si64(_mm_or_si64(cube, _mm_slli_pi16(cube, 8)), _mm_set1_pi8(-1));
}

}  // namespace

template <>
void ChromaDistance::Run<Mmx>(Args& args) noexcept {
  const __m64 shift = _mm_cvtsi32_si64(8 * ChromaByte(args.order));
  std::int32_t group = 0;
  for (; group + 2 <= args.groups; group += 2) {
    const __m64 left = Distance(Chroma(args.first, shift), Chroma(args.second, shift));
    const __m64 right = Distance(Chroma(args.first + 8, shift), Chroma(args.second + 8, shift));
    Store64(args.mask, Alpha(_mm_packs_pi32(left, right)));
    args.first += 16;
    args.second += 16;
    args.mask += 8;
  }
  if (group < args.groups) {
    const __m64 s = Distance(Chroma(args.first, shift), Chroma(args.second, shift));
    Store32(args.mask, Alpha(_mm_packs_pi32(s, s)));
    args.first += 8;
    args.second += 8;
    args.mask += 4;
  }
  _mm_empty();
}

}  // namespace kv_img::alpha
