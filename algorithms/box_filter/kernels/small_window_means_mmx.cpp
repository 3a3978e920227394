#include <utility>

#include "algorithms/box_filter/kernels/narrow_means_mmx.h"
#include "algorithms/box_filter/kernels/small_window_means.h"

namespace kv_img::box_filter::mmx {
namespace {

/// Sums of eight columns: those at even places, those at odd ones, and both of each pair.
struct ColumnSums {
  __m64 lower;
  __m64 upper;
  __m64 pairs;

  template <class... Words>
  static ColumnSums Of(Words... rows) {
    const __m64 lowerBytes = _mm_set1_pi16(0xFF);
    ColumnSums sums = {_mm_setzero_si64(), _mm_setzero_si64(), {}};
    ((sums.lower = _mm_add_pi16(sums.lower, _mm_and_si64(rows, lowerBytes))), ...);
    ((sums.upper = _mm_add_pi16(sums.upper, _mm_srli_pi16(rows, 8))), ...);
    sums.pairs = _mm_add_pi16(sums.lower, sums.upper);
    return sums;
  }
};

/// Lanes of `current` moved up by `count`, those that `before` ends with behind them.
template <int count>
__m64 MoveUp(__m64 current, __m64 before) {
  return _mm_or_si64(_mm_slli_si64(current, 16 * count), _mm_srli_si64(before, 64 - 16 * count));
}

/// Means of the windows that end at each of eight columns.
template <int windowSize>
__m64 Means(const ColumnSums& current, const ColumnSums& before) {
  if constexpr (windowSize == 1) return MeansInTurn<1>(current.lower, current.upper);
  const __m64 leaving = MoveUp<windowSize / 2>(current.upper, before.upper);
  if constexpr (windowSize == 2) return MeansInTurn<2>(_mm_add_pi16(current.lower, leaving), current.pairs);
  const __m64 pairBefore = MoveUp<1>(current.pairs, before.pairs);
  const __m64 first = _mm_add_pi16(current.lower, pairBefore);
  if constexpr (windowSize == 3) return MeansInTurn<3>(first, _mm_add_pi16(current.pairs, leaving));
  return MeansInTurn<4>(_mm_add_pi16(first, leaving), _mm_add_pi16(current.pairs, pairBefore));
}

template <std::size_t... row>
void Slide(SmallWindowMeansArgs& args, std::index_sequence<row...> /*rows*/) {
  constexpr int windowSize = sizeof...(row);
  constexpr int before = windowSize - 1;
  if (args.groups <= 0) return;
  // A word that ends with the columns before those at which the first windows end.
  ColumnSums last = ColumnSums::Of(_mm_slli_si64(Load64(args.rows[row]), 64 - 8 * before)...);
  for (std::int32_t group = 0; group < args.groups; ++group) {
    const ColumnSums sums = ColumnSums::Of(Load64(args.rows[row] + before)...);
    Store64(args.destination, Means<windowSize>(sums, last));
    last = sums;
    ((args.rows[row] += 8), ...);
    args.destination += 8;
  }
  _mm_empty();
}

template <std::size_t windowSize>
void Slide(SmallWindowMeansArgs& args) {
  Slide(args, std::make_index_sequence<windowSize>());
}

}  // namespace

void SmallWindowMeans(SmallWindowMeansArgs& args) noexcept {
  switch (args.windowSize) {
    case 2:
      return Slide<2>(args);
    case 3:
      return Slide<3>(args);
    case 4:
      return Slide<4>(args);
    default:
      return Slide<1>(args);
  }
}

}  // namespace kv_img::box_filter::mmx
