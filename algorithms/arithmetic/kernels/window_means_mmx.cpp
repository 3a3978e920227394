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

__m64 FourColumns(const std::uint16_t* columns) {
  return Load64(reinterpret_cast<const std::uint8_t*>(columns));
}

__m64 FourMeansOf3(const std::uint16_t* columns) {
  const __m64 sums =
      _mm_add_pi16(_mm_add_pi16(FourColumns(columns), FourColumns(columns + 1)), FourColumns(columns + 2));
  return _mm_mulhi_pi16(sums, _mm_set1_pi16(ninth));
}

__m64 FourMeansOf4(const std::uint16_t* columns) {
  const __m64 sums = _mm_add_pi16(_mm_add_pi16(FourColumns(columns), FourColumns(columns + 1)),
                                  _mm_add_pi16(FourColumns(columns + 2), FourColumns(columns + 3)));
  return _mm_srli_pi16(sums, 4);
}

template <__m64 (*FourMeans)(const std::uint16_t*)>
void MeansInLanes(WindowMeansArgs& args) {
  for (std::int32_t group = 0; group < args.groups; ++group) {
    Store64(args.destination, _mm_packs_pu16(FourMeans(args.columns), FourMeans(args.columns + 4)));
    args.columns += 8;
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
  const std::uint16_t* entering = args.columns + args.windowSize - 1;
  const std::uint16_t* leaving = args.columns;
  std::uint8_t* destination = args.destination;
  std::uint32_t sum = 0;
  for (const std::uint16_t* column = leaving; column < entering; ++column) sum += *column;
  for (std::int32_t group = args.groups; group > 0; --group) {
    for (int window = 0; window < 8; ++window) {
      const std::uint32_t newest = entering[window];
      destination[window] = static_cast<std::uint8_t>((sum + newest) * reciprocal >> reciprocalBits);
      sum += newest - leaving[window];
    }
    entering += 8;
    leaving += 8;
    destination += 8;
  }
  args.columns = leaving;
  args.destination = destination;
}

}  // namespace

void WindowMeans(WindowMeansArgs& args) noexcept {
  switch (args.windowSize) {
    case 3:
      return MeansInLanes<FourMeansOf3>(args);
    case 4:
      return MeansInLanes<FourMeansOf4>(args);
    default:
      return MeansOneByOne(args);
  }
}

}  // namespace kv_img::arithmetic::mmx
