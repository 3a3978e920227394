#include "algorithms/arithmetic/kernels/window_means.h"
#include "algorithms/simd/mmx.h"

namespace kv_img::arithmetic::mmx {
namespace {

// Division by an area as a product: with m = floor(2^48 / area) + 1 the excess e = m * area - 2^48 is 1 to
// area, and sum * m / 2^48 = sum / area + sum * e / (area * 2^48). The second term stays below 1 / area, the
// least by which sum / area misses the next whole number, as long as sum * e < 2^48.
constexpr int reciprocalBits = 48;
constexpr std::uint64_t ReciprocalOf(std::uint32_t area) {
  return (std::uint64_t{1} << reciprocalBits) / area + 1;
}
constexpr bool IsExactForEverySumOf(std::uint32_t windowSize) {
  const std::uint32_t area = windowSize * windowSize;
  const std::uint64_t largestSum = std::uint64_t{255} * area;
  const std::uint64_t excess = ReciprocalOf(area) * area - (std::uint64_t{1} << reciprocalBits);
  return largestSum * excess < (std::uint64_t{1} << reciprocalBits) &&
         largestSum <= ~std::uint64_t{0} / ReciprocalOf(area);
}
static_assert([] {
  for (std::uint32_t windowSize = 1; windowSize <= maxWindowSize; ++windowSize) {
    if (!IsExactForEverySumOf(windowSize)) return false;
  }
  return true;
}());

// The high half of a 16-bit product with this is a ninth.
constexpr std::int32_t ninth = 7282;
static_assert([] {
  for (std::int32_t sum = 0; sum <= 9 * 255; ++sum) {
    if ((sum * ninth) >> 16 != sum / 9) return false;
  }
  return true;
}());

__m64 FourSums(const std::uint16_t* sums) {
  return Load64(reinterpret_cast<const std::uint8_t*>(sums));
}

/// Eight bytes: the first four means at even places, the others at odd ones.
__m64 InTurn(__m64 first, __m64 second) {
  return _mm_or_si64(first, _mm_slli_pi16(second, 8));
}

__m64 EightMeansOf3(const std::uint16_t* first, const std::uint16_t* second) {
  const __m64 both = _mm_add_pi16(FourSums(second), FourSums(first + 1));
  const __m64 factor = _mm_set1_pi16(ninth);
  return InTurn(_mm_mulhi_pi16(_mm_add_pi16(FourSums(first), both), factor),
                _mm_mulhi_pi16(_mm_add_pi16(both, FourSums(second + 1)), factor));
}

__m64 EightMeansOf4(const std::uint16_t* first, const std::uint16_t* second) {
  const __m64 three = _mm_add_pi16(_mm_add_pi16(FourSums(second), FourSums(first + 1)), FourSums(second + 1));
  return InTurn(_mm_srli_pi16(_mm_add_pi16(FourSums(first), three), 4),
                _mm_srli_pi16(_mm_add_pi16(three, FourSums(first + 2)), 4));
}

template <__m64 (*EightMeans)(const std::uint16_t*, const std::uint16_t*)>
void MeansInLanes(WindowMeansArgs& args) {
  for (std::int32_t group = 0; group < args.groups; ++group) {
    Store64(args.destination, EightMeans(args.first, args.second));
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
  const std::uint64_t reciprocal = ReciprocalOf(args.windowSize * args.windowSize);
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
    case 3:
      return MeansInLanes<EightMeansOf3>(args);
    case 4:
      return MeansInLanes<EightMeansOf4>(args);
    default:
      return MeansOneByOne(args);
  }
}

}  // namespace kv_img::arithmetic::mmx
