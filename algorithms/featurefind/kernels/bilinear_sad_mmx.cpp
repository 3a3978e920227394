#include "algorithms/featurefind/kernels/bilinear_sad.h"
#include "algorithms/simd/mmx.h"

namespace kv_img::featurefind {
namespace {

/// Rows whose differences, at most 255 each, fit into signed 16-bit lanes.
constexpr std::int32_t rowsInLanes = 128;

/// A weight in every lane, split so that the product of a byte with either part fits into 16 bits.
struct SplitWeight {
  __m64 high;
  __m64 low;

  explicit SplitWeight(std::uint16_t weight)
      : high(_mm_set1_pi16(static_cast<short>(weight >> 8))),
        low(_mm_set1_pi16(static_cast<short>(weight & 0xFF))) {}
};

/// A weighted sum in 1/256, at most 65280 with the half that rounds it, and what was cut off its terms.
struct WeightedSum {
  __m64 sum = _mm_set1_pi16(128);
  __m64 cut = _mm_setzero_si64();

  void Add(__m64 samples, const SplitWeight& weight) {
    const __m64 fine = _mm_mullo_pi16(samples, weight.low);
    sum = _mm_add_pi16(sum, _mm_mullo_pi16(samples, weight.high));
    sum = _mm_add_pi16(sum, _mm_srli_pi16(fine, 8));
    cut = _mm_add_pi16(cut, _mm_and_si64(fine, _mm_set1_pi16(0x00FF)));
  }
  /// Four terms, each cut to 1/256.
  __m64 Truncated() const { return _mm_srli_pi16(sum, 8); }
  /// The sum of the terms, cut once.
  __m64 Rounded() const { return _mm_srli_pi16(_mm_add_pi16(sum, _mm_srli_pi16(cut, 8)), 8); }
};

/// Four bytes as 16-bit lanes.
__m64 LoadLanes(const std::uint8_t* source) {
  return _mm_unpacklo_pi8(Load32(source), _mm_setzero_si64());
}

struct GroupSum {
  SplitWeight topLeft;
  SplitWeight topRight;
  SplitWeight bottomLeft;
  SplitWeight bottomRight;

  explicit GroupSum(const BilinearWeights& weights)
      : topLeft(weights.topLeft),
        topRight(weights.topRight),
        bottomLeft(weights.bottomLeft),
        bottomRight(weights.bottomRight) {}

  /// Adds one group of every row to two 32-bit sums. `round` takes the sample from a weighted sum, `mask` has
  /// ones in the lanes that count.
  template <class Round>
  __m64 Add(__m64 sums, const BilinearSad::Args& args, std::ptrdiff_t column, Round round, __m64 mask) const {
    const std::uint8_t* reference = args.reference + column;
    const std::uint8_t* searched = args.searched + column;
    __m64 left = LoadLanes(searched);
    __m64 right = LoadLanes(searched + 1);
    for (std::int32_t rows = args.rows; rows > 0; rows -= rowsInLanes) {
      __m64 lanes = _mm_setzero_si64();
      for (std::int32_t row = rows < rowsInLanes ? rows : rowsInLanes; row > 0; --row) {
        WeightedSum sum;
        sum.Add(left, topLeft);
        sum.Add(right, topRight);
        searched += args.searchedStride;
        left = LoadLanes(searched);
        right = LoadLanes(searched + 1);
        sum.Add(left, bottomLeft);
        sum.Add(right, bottomRight);
        const __m64 sample = round(sum);
        const __m64 wanted = LoadLanes(reference);
        reference += args.referenceStride;
        lanes =
            _mm_add_pi16(lanes, _mm_or_si64(_mm_subs_pu16(sample, wanted), _mm_subs_pu16(wanted, sample)));
      }
      sums = _mm_add_pi32(sums, _mm_madd_pi16(_mm_and_si64(lanes, mask), _mm_set1_pi16(1)));
    }
    return sums;
  }
};

}  // namespace

template <>
void BilinearSad::Run<Mmx>(Args& args) noexcept {
  const auto truncated = [](const WeightedSum& sum) { return sum.Truncated(); };
  const auto rounded = [](const WeightedSum& sum) { return sum.Rounded(); };
  const GroupSum group(args.weights);
  const __m64 all = _mm_set1_pi8(-1);
  const std::int32_t whole = args.columns & ~3;
  const std::int32_t rest = args.columns & 3;
  __m64 sums = _mm_setzero_si64();
  if (args.rows > 0) {
    std::int32_t column = 0;
    for (; column < args.truncatedColumns; column += 4) sums = group.Add(sums, args, column, truncated, all);
    for (; column < whole; column += 4) sums = group.Add(sums, args, column, rounded, all);
    if (rest != 0) {
      sums = group.Add(sums, args, column, rounded, _mm_srl_si64(all, _mm_cvtsi32_si64(64 - 16 * rest)));
    }
  }
  args.reference += args.rows * args.referenceStride;
  args.searched += args.rows * args.searchedStride;
  args.sum += static_cast<std::uint32_t>(_mm_cvtsi64_si32(_mm_add_pi32(sums, _mm_srli_si64(sums, 32))));
  _mm_empty();
}

}  // namespace kv_img::featurefind
