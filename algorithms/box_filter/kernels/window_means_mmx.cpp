#include "algorithms/box_filter/kernels/narrow_means_mmx.h"
#include "algorithms/box_filter/kernels/window_means.h"

namespace kv_img::box_filter::mmx {
namespace {

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
void MeansInLanes(WindowMeansArgs& args) {
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
void MeansOneByOne(WindowMeansArgs& args) {
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

void WindowMeans(WindowMeansArgs& args) noexcept {
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

}  // namespace kv_img::box_filter::mmx
