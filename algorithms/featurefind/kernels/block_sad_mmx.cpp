#include "algorithms/featurefind/kernels/block_sad.h"
#include "algorithms/simd/mmx.h"

namespace kv_img::featurefind {
namespace {

/// Adds up eight columns of bytes in 16-bit lanes, up to 64 rows: each word as a whole, wrapping, and its
/// upper byte alone; what the upper bytes do not account for is the sum of the lower ones.
struct ColumnSums {
  static constexpr std::int32_t mostRows = 64;

  __m64 words = _mm_setzero_si64();
  __m64 upper = _mm_setzero_si64();

  void Add(__m64 bytes) {
    words = _mm_add_pi16(words, bytes);
    upper = _mm_add_pi16(upper, _mm_srli_pi16(bytes, 8));
  }
  /// The sums of pairs of columns, at most 64 * 2 * 255, added in pairs to two 32-bit sums.
  __m64 AddTo(__m64 sums) const {
    const __m64 lower = _mm_sub_pi16(words, _mm_slli_pi16(upper, 8));
    return _mm_add_pi32(sums, _mm_madd_pi16(_mm_add_pi16(lower, upper), _mm_set1_pi16(1)));
  }
};

__m64 AbsoluteDifferences(const std::uint8_t* reference, const std::uint8_t* searched) {
  const __m64 a = Load64(reference);
  const __m64 b = Load64(searched);
  return _mm_or_si64(_mm_subs_pu8(a, b), _mm_subs_pu8(b, a));
}

/// Adds one group of every row to two 32-bit sums; `count` leaves of its differences those that count.
template <class Count>
__m64 AddGroup(__m64 sums, const BlockSad::Args& args, const std::uint8_t* searched, std::ptrdiff_t column,
               Count count) {
  const std::uint8_t* reference = args.reference + column;
  searched += column;
  for (std::int32_t left = args.rows; left > 0; left -= ColumnSums::mostRows) {
    const std::int32_t rows = left < ColumnSums::mostRows ? left : ColumnSums::mostRows;
    ColumnSums columns;
    if (rows % 2 != 0) {
      columns.Add(count(AbsoluteDifferences(reference, searched)));
      reference += args.referenceStride;
      searched += args.searchedStride;
    }
    for (std::int32_t pair = rows / 2; pair > 0; --pair) {
      columns.Add(count(AbsoluteDifferences(reference, searched)));
      columns.Add(
          count(AbsoluteDifferences(reference + args.referenceStride, searched + args.searchedStride)));
      reference += 2 * args.referenceStride;
      searched += 2 * args.searchedStride;
    }
    sums = columns.AddTo(sums);
  }
  return sums;
}

std::uint32_t SumAt(const BlockSad::Args& args, const std::uint8_t* searched) {
  const std::int32_t whole = args.columns & ~7;
  const std::int32_t rest = args.columns & 7;
  __m64 sums = _mm_setzero_si64();
  for (std::int32_t column = 0; column < whole; column += 8) {
    sums = AddGroup(sums, args, searched, column, [](__m64 differences) { return differences; });
  }
  if (rest != 0) {
    const __m64 mask = _mm_srl_si64(_mm_set1_pi8(-1), _mm_cvtsi32_si64(64 - 8 * rest));
    sums = AddGroup(sums, args, searched, whole,
                    [mask](__m64 differences) { return _mm_and_si64(differences, mask); });
  }
  return static_cast<std::uint32_t>(_mm_cvtsi64_si32(_mm_add_pi32(sums, _mm_srli_si64(sums, 32))));
}

}  // namespace

template <>
void BlockSad::Run<Mmx>(Args& args) noexcept {
  std::uint32_t* sum = args.sums;
  for (std::int32_t row = 0; row < args.positionRows; ++row) {
    for (std::int32_t position = 0; position < args.positions; ++position, ++sum)
      *sum = (args.addsToSums ? *sum : 0) + SumAt(args, args.searched + row * args.searchedStride + position);
  }
  args.reference += args.rows * args.referenceStride;
  args.searched += args.rows * args.searchedStride;
  _mm_empty();
}

}  // namespace kv_img::featurefind
