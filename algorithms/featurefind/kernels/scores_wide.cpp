#include <limits>

#include "algorithms/featurefind/kernels/scores.h"
#include "algorithms/simd/wide.h"

namespace kv_img::featurefind {
namespace {

constexpr std::int32_t leastAtOnce = width / 4;
constexpr std::int32_t meansAtOnce = width / 8;

KV_INLINE Vector Min32(Vector a, Vector b) {
#if KV_WIDE_LEVEL >= 1
  return KV_SIMD(min_epi32)(a, b);
#else
  const Vector isGreater = _mm_cmpgt_epi32(a, b);
  return _mm_or_si128(_mm_and_si128(isGreater, b), _mm_andnot_si128(isGreater, a));
#endif
}

KV_INLINE std::int32_t Least(const std::uint32_t* sums, std::int32_t count) {
  std::int32_t least = std::numeric_limits<std::int32_t>::max();
  const auto add = [&least](std::uint32_t sum) {
    if (static_cast<std::int32_t>(sum) < least) least = static_cast<std::int32_t>(sum);
  };
  if (count < leastAtOnce) {
    for (std::int32_t i = 0; i < count; ++i) add(sums[i]);
    return least;
  }
  // The last register of sums overlaps the one before it.
  Vector lanes = Load(sums + count - leastAtOnce);
  for (std::int32_t i = 0; i < count - leastAtOnce; i += leastAtOnce) lanes = Min32(lanes, Load(sums + i));
#if KV_WIDE_LEVEL >= 2
  return _mm512_reduce_min_epi32(lanes);
#else
  std::uint32_t lane[leastAtOnce];
  Store(lane, lanes);
  for (const std::uint32_t sum : lane) add(sum);
  return least;
#endif
}

/// A register of means.
KV_INLINE void StoreMeans(double* means, const std::uint32_t* sums, double samples) {
#if KV_WIDE_LEVEL >= 2
  const __m256i some = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(sums));
  _mm512_storeu_pd(means, _mm512_div_pd(_mm512_cvtepu32_pd(some), _mm512_set1_pd(samples)));
#elif KV_WIDE_LEVEL == 1
  // The bits of 2^52 and a sum are those of the double 2^52 + sum.
  const __m256i some = _mm256_cvtepu32_epi64(Load128(sums));
  const __m256d raised = _mm256_castsi256_pd(_mm256_or_si256(some, _mm256_set1_epi64x(0x433LL << 52)));
  _mm256_storeu_pd(means,
                   _mm256_div_pd(_mm256_sub_pd(raised, _mm256_set1_pd(0x1p52)), _mm256_set1_pd(samples)));
#else
  const __m128i some =
      _mm_unpacklo_epi32(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(sums)), _mm_setzero_si128());
  const __m128d raised = _mm_castsi128_pd(_mm_or_si128(some, _mm_set1_epi64x(0x433LL << 52)));
  _mm_storeu_pd(means, _mm_div_pd(_mm_sub_pd(raised, _mm_set1_pd(0x1p52)), _mm_set1_pd(samples)));
#endif
}

}  // namespace

template <>
void Scores::Run<Wide<level>>(Args& args) noexcept {
  args.least = Least(args.sums, args.count);
  if (args.means == nullptr) return;
  if (args.count < meansAtOnce) {
    for (std::int32_t i = 0; i < args.count; ++i)
      args.means[i] = static_cast<double>(args.sums[i]) / args.samples;
    return;
  }
  for (std::int32_t i = 0; i < args.count - meansAtOnce; i += meansAtOnce)
    StoreMeans(args.means + i, args.sums + i, args.samples);
  const std::int32_t last = args.count - meansAtOnce;
  StoreMeans(args.means + last, args.sums + last, args.samples);
}

}  // namespace kv_img::featurefind
