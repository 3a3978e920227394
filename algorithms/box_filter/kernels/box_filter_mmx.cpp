#include <utility>

#include "algorithms/box_filter/kernels/box_filter.h"
#include "algorithms/box_filter/kernels/means.h"
#include "algorithms/simd/mmx.h"

namespace kv_img::box_filter {
namespace {

void Add(std::uint16_t* sums, __m64 difference) {
  auto* bytes = reinterpret_cast<std::uint8_t*>(sums);
  Store64(bytes, _mm_add_pi16(Load64(bytes), difference));
}

/// The upper half of unsigned products. 64-bit registers have that of signed ones, which is smaller by either
/// factor where the other one is above 0x7FFF.
template <std::uint32_t factor, std::uint32_t largest>
__m64 MultiplyHigh(__m64 sums) {
  const __m64 factors = _mm_set1_pi16(static_cast<std::int16_t>(factor));
  __m64 product = _mm_mulhi_pi16(sums, factors);
  if constexpr (factor > 0x7FFF) product = _mm_add_pi16(product, sums);
  if constexpr (largest > 0x7FFF) {
    product = _mm_add_pi16(product, _mm_and_si64(_mm_srai_pi16(sums, 15), factors));
  }
  return product;
}

/// Means of four windows of windowSize columns, up to mostNarrow.
template <int windowSize>
__m64 Divide(__m64 sums) {
  // Areas of even windows are divided by 4 first, and so are the sums.
  constexpr int evenShift = windowSize % 2 == 0 ? 2 : 0;
  constexpr std::uint32_t area = windowSize * windowSize >> evenShift;
  if constexpr (evenShift != 0) sums = _mm_srli_pi16(sums, evenShift);
  if constexpr (area == 1) {
    return sums;
  } else {
    constexpr Reciprocal reciprocal = ReciprocalOf(area);
    static_assert(reciprocal.factor != 0);
    return _mm_srli_pi16(MultiplyHigh<reciprocal.factor, 255 * area>(sums), reciprocal.shift);
  }
}

/// Eight means: those of the first sums at even places, of the second at odd ones.
template <int windowSize>
__m64 MeansInTurn(__m64 first, __m64 second) {
  return _mm_or_si64(Divide<windowSize>(first), _mm_slli_pi16(Divide<windowSize>(second), 8));
}

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

/// Lanes of `current` moved up by `count`; the last lanes of `before` fill the gap.
template <int count>
__m64 MoveUp(__m64 current, __m64 before) {
  return _mm_or_si64(_mm_slli_si64(current, 16 * count), _mm_srli_si64(before, 64 - 16 * count));
}

/// Means of the windows ending at each of eight columns.
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

/// Writes the means of groups of eight windows; the first window starts at column `first` of the rows.
template <std::size_t... row>
[[gnu::noinline]] void SlideInEights(std::int32_t groups, const std::uint8_t* const* firstRow,
                                     std::ptrdiff_t first, std::uint8_t* destination,
                                     std::index_sequence<row...> /*rows*/) {
  constexpr int windowSize = sizeof...(row);
  constexpr int before = windowSize - 1;
  const std::uint8_t* rows[] = {firstRow[row] + first...};
  // A word that ends with the columns before those at which the first windows end.
  ColumnSums last = ColumnSums::Of(_mm_slli_si64(Load64(rows[row]), 64 - 8 * before)...);
  for (std::int32_t group = 0; group < groups; ++group) {
    const ColumnSums sums = ColumnSums::Of(Load64(rows[row] + before)...);
    Store64(destination, Means<windowSize>(sums, last));
    last = sums;
    ((rows[row] += 8), ...);
    destination += 8;
  }
}

template <std::size_t... row>
void Slide(SmallWindowMeans::Args& args, std::index_sequence<row...> rows) {
  constexpr int before = static_cast<int>(sizeof...(row)) - 1;
  const std::int32_t windows = args.groups;
  if (windows <= 0) return;
  if (windows < 8) {
    std::uint8_t few[sizeof...(row)][before + 8] = {};
    std::uint8_t means[8];
    const int columns = before + windows;
    (std::memcpy(few[row], args.rows[row], static_cast<std::size_t>(columns)), ...);
    const std::uint8_t* const fewRows[] = {few[row]...};
    SlideInEights(1, fewRows, 0, means, rows);
    std::memcpy(args.destination, means, static_cast<std::size_t>(windows));
  } else {
    SlideInEights(windows / 8, args.rows, 0, args.destination, rows);
    // The last step overlaps the one before it.
    if (windows % 8 != 0) SlideInEights(1, args.rows, windows - 8, args.destination + windows - 8, rows);
  }
  ((args.rows[row] += windows), ...);
  args.destination += windows;
  _mm_empty();
}

template <std::size_t windowSize>
void Slide(SmallWindowMeans::Args& args) {
  Slide(args, std::make_index_sequence<windowSize>());
}

// Division by an area as a product: with m = floor(2^48 / area) + 1 the excess e = m * area - 2^48 is 1 to
// area, and sum * m / 2^48 = sum / area + sum * e / (area * 2^48). The second term stays below 1 / area, the
// least by which sum / area misses the next whole number, as long as sum * e < 2^48.
constexpr int reciprocalBits = 48;
constexpr std::uint64_t WideReciprocalOf(std::uint32_t area) {
  return (std::uint64_t{1} << reciprocalBits) / area + 1;
}
constexpr bool IsExactForEverySumOf(std::uint32_t windowSize) {
  const std::uint32_t area = windowSize * windowSize;
  const std::uint64_t largestSum = std::uint64_t{255} * area;
  const std::uint64_t excess = WideReciprocalOf(area) * area - (std::uint64_t{1} << reciprocalBits);
  return largestSum * excess < (std::uint64_t{1} << reciprocalBits) &&
         largestSum <= ~std::uint64_t{0} / WideReciprocalOf(area);
}
static_assert([] {
  for (std::uint32_t windowSize = 1; windowSize <= maxWindowSize; ++windowSize) {
    if (!IsExactForEverySumOf(windowSize)) return false;
  }
  return true;
}());

__m64 FourSums(const std::uint16_t* sums) {
  return Load64(reinterpret_cast<const std::uint8_t*>(sums));
}

/// Windows whose sums fit 16 bits.
template <int windowSize>
void MeansInLanes(WindowMeans::Args& args) {
  constexpr int pairs = windowSize / 2;
  constexpr bool isOdd = windowSize % 2 != 0;
  for (std::int32_t group = 0; group < args.groups; ++group) {
    // Windows at even and at odd places share all columns but the first of the one and the last of the other.
    __m64 shared = _mm_setzero_si64();
    for (int pair = 0; pair < pairs; ++pair) shared = _mm_add_pi16(shared, FourSums(args.second + pair));
    for (int pair = 1; pair < pairs + isOdd; ++pair)
      shared = _mm_add_pi16(shared, FourSums(args.first + pair));
    const __m64 last = FourSums(isOdd ? args.second + pairs : args.first + pairs);
    Store64(args.destination,
            MeansInTurn<windowSize>(_mm_add_pi16(shared, FourSums(args.first)), _mm_add_pi16(shared, last)));
    args.first += 4;
    args.second += 4;
    args.destination += 8;
  }
  _mm_empty();
}

// The sum of a wide window needs 24 bits and its division 48, so lanes of 16 bits would take more steps than
// they save: 64-bit registers take one column at a time. The sum is carried without the column that enters,
// so that one addition is all that a window waits for.
void MeansOneByOne(WindowMeans::Args& args) {
  if (args.groups <= 0) return;
  const std::uint64_t reciprocal = WideReciprocalOf(args.windowSize * args.windowSize);
  const std::uint32_t pairs = args.windowSize / 2;
  const bool isOdd = args.windowSize % 2 != 0;
  const std::uint16_t* entering = isOdd ? args.first + pairs : args.second + pairs - 1;
  const std::uint16_t* enteringNext = isOdd ? args.second + pairs : args.first + pairs;
  std::uint32_t sum = isOdd && pairs > 0 ? args.second[pairs - 1] : 0;
  for (std::uint32_t pair = 0; pair < pairs; ++pair) sum += args.first[pair];
  for (std::uint32_t pair = 0; pair + 1 < pairs; ++pair) sum += args.second[pair];
  std::uint8_t* destination = args.destination;
  const auto next = [&](std::uint32_t newest, std::uint32_t leaving) {
    *destination++ = static_cast<std::uint8_t>((sum + newest) * reciprocal >> reciprocalBits);
    sum += newest - leaving;
  };
  const std::int32_t windowPairs = 4 * args.groups;
  for (std::int32_t pair = 0; pair < windowPairs; ++pair) {
    next(entering[pair], args.first[pair]);
    next(enteringNext[pair], args.second[pair]);
  }
  args.first += windowPairs;
  args.second += windowPairs;
  args.destination = destination;
}

}  // namespace

template <>
void ReplaceRow::Run<Mmx>(Args& args) noexcept {
  const __m64 lower = _mm_set1_pi16(0xFF);
  for (std::int32_t group = 0; group < args.groups; ++group) {
    const __m64 entering = Load64(args.entering);
    const __m64 leaving = Load64(args.leaving);
    Add(args.first, _mm_sub_pi16(_mm_and_si64(entering, lower), _mm_and_si64(leaving, lower)));
    Add(args.second, _mm_sub_pi16(_mm_srli_pi16(entering, 8), _mm_srli_pi16(leaving, 8)));
    args.entering += 8;
    args.leaving += 8;
    args.first += 4;
    args.second += 4;
  }
  _mm_empty();
}

template <>
void SmallWindowMeans::Run<Mmx>(Args& args) noexcept {
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

template <>
void WindowMeans::Run<Mmx>(Args& args) noexcept {
  switch (args.windowSize) {
    case 1:
      return MeansInLanes<1>(args);
    case 2:
      return MeansInLanes<2>(args);
    case 3:
      return MeansInLanes<3>(args);
    case 4:
      return MeansInLanes<4>(args);
    case 5:
      return MeansInLanes<5>(args);
    case 6:
      return MeansInLanes<6>(args);
    case 7:
      return MeansInLanes<7>(args);
    case 8:
      return MeansInLanes<8>(args);
    case 9:
      return MeansInLanes<9>(args);
    case 10:
      return MeansInLanes<10>(args);
    case 11:
      return MeansInLanes<11>(args);
    case 12:
      return MeansInLanes<12>(args);
    case 13:
      return MeansInLanes<13>(args);
    case 14:
      return MeansInLanes<14>(args);
    case 15:
      return MeansInLanes<15>(args);
    case 16:
      return MeansInLanes<16>(args);
    default:
      return MeansOneByOne(args);
  }
}

}  // namespace kv_img::box_filter
