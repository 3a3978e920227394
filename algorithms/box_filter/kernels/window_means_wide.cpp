#include <bit>

#include "algorithms/box_filter/kernels/narrow_windows.h"
#include "algorithms/box_filter/kernels/window_means.h"

namespace kv_img::box_filter::wide {
namespace {

// Columns are taken in pairs, or in quads, so that what a register adds up along the row is half, or a
// quarter, of it; the windows between are told by the columns in which they differ.

static_assert(spareSums >= width / 2 + 8);

/// Calls `step(window, destination)` for `width` windows at a time. What is left over is done again with
/// those before it, or, when there are too few, together with windows that nobody asked for.
template <class Step>
KV_INLINE void ForEachStep(std::int32_t windows, std::uint8_t* destination, Step step) {
  alignas(64) std::uint8_t few[width];
  std::uint8_t* means = windows < width ? few : destination;
  const std::int32_t last = windows < width ? 0 : windows - width;
  // One call, for what a step keeps to stay in registers.
  for (std::int32_t window = 0;; window += width) {
    if (window > last) window = last;
    step(window, means + window);
    if (window == last) break;
  }
  if (windows < width) std::memcpy(destination, few, static_cast<std::size_t>(windows));
}

template <int windowSize>
void SlideNarrow(const WindowMeansArgs& args) {
  // Pairs start at columns that make windows start at even ones end at lower columns of pairs.
  constexpr bool isOdd = windowSize % 2 != 0;
  const std::uint16_t* lower = (isOdd ? args.first : args.second - 1) + windowSize / 2;
  const std::uint16_t* upper = (isOdd ? args.second : args.first) + windowSize / 2;
  constexpr int step = width / 2;
  NarrowWindows<windowSize> windows;
  std::int32_t next = -1;
  ForEachStep(8 * args.groups, args.destination, [&](std::int32_t window, std::uint8_t* destination) {
    const std::int32_t pair = window / 2;
    if (window != next) windows.Start(Load(lower + pair - step), Load(upper + pair - step));
    next = window + width;
    Store(destination, windows.Next(Load(lower + pair), Load(upper + pair)));
  });
}

// Wider windows have sums of 32 bits, at most 255^3, and so do the running sums that they are differences of.
// Those wrap; their differences are right all the same.

/// Windows whose running sums are kept at a time.
constexpr std::int32_t windowsAtOnce = 4096;
static_assert(windowsAtOnce % width == 0);

/// Of the lanes up to and with each one.
KV_INLINE Vector RunningSums(Vector sums) {
#if KV_REGISTER_LEVEL >= 2
  const Vector zero = Zero();
  sums = Add32(sums, _mm512_alignr_epi32(sums, zero, 15));
  sums = Add32(sums, _mm512_alignr_epi32(sums, zero, 14));
  sums = Add32(sums, _mm512_alignr_epi32(sums, zero, 12));
  return Add32(sums, _mm512_alignr_epi32(sums, zero, 8));
#elif KV_REGISTER_LEVEL == 1
  sums = Add32(sums, _mm256_slli_si256(sums, 4));
  sums = Add32(sums, _mm256_slli_si256(sums, 8));
  const Vector totals = _mm256_shuffle_epi32(sums, 0xFF);
  return Add32(sums, _mm256_permute2x128_si256(totals, totals, 0x08));
#else
  sums = Add32(sums, _mm_slli_si128(sums, 4));
  return Add32(sums, _mm_slli_si128(sums, 8));
#endif
}
KV_INLINE Vector LastInAllLanes32(Vector a) {
#if KV_REGISTER_LEVEL >= 2
  return _mm512_permutexvar_epi32(Set32(15), a);
#elif KV_REGISTER_LEVEL == 1
  return _mm256_permutevar8x32_epi32(a, Set32(7));
#else
  return _mm_shuffle_epi32(a, 0xFF);
#endif
}

/// Column sums of windows up to this size are no more than a signed lane holds, nor are their differences.
constexpr std::uint32_t mostSigned = 128;
static_assert(255 * mostSigned <= 0x7FFF);

/// Adds the lower, the upper or both halves of 32-bit lanes to sums.
template <bool isSigned>
KV_INLINE Vector AddLower(Vector sums, Vector halves) {
  return isSigned ? MultiplyAddTo32(sums, halves, SetPair16(1, 0)) : Add32(sums, And(halves, Set32(0xFFFF)));
}
template <bool isSigned>
KV_INLINE Vector AddUpper(Vector sums, Vector halves) {
  return isSigned ? MultiplyAddTo32(sums, halves, SetPair16(0, 1)) : Add32(sums, ShiftRight32<16>(halves));
}
template <bool isSigned>
KV_INLINE Vector AddBoth(Vector sums, Vector halves) {
  return isSigned ? MultiplyAddTo32(sums, halves, SetPair16(1, 1))
                  : AddUpper<false>(AddLower<false>(sums, halves), halves);
}
/// Adds the lower or the upper halves of a difference.
template <bool isSigned>
KV_INLINE Vector MoveLower(Vector sums, Vector entering, Vector leaving) {
  return isSigned ? AddLower<true>(sums, Sub16(entering, leaving))
                  : Sub32(AddLower<false>(sums, entering), And(leaving, Set32(0xFFFF)));
}
template <bool isSigned>
KV_INLINE Vector MoveUpper(Vector sums, Vector entering, Vector leaving) {
  return isSigned ? AddUpper<true>(sums, Sub16(entering, leaving))
                  : Sub32(AddUpper<false>(sums, entering), ShiftRight32<16>(leaving));
}

/// The least single-precision number that is not below 1 / area.
constexpr float ReciprocalAbove(std::uint32_t area) {
  const float nearest = 1.0F / static_cast<float>(area);
  return double{nearest} * area >= 1 ? nearest
                                     : std::bit_cast<float>(std::bit_cast<std::uint32_t>(nearest) + 1);
}
// Sums below 2^24 are exact in single precision. A product with a reciprocal that is not too small is not too
// small either; it must miss the next whole number by more than 2^-17, which is what rounding adds below 256.
// The largest sum comes nearest, in windows up to mostMultiplied not near enough. A quotient is rounded to a
// multiple of 2^-16 at most, and misses the next whole number by 1 / area, which is more than the half of
// that.
constexpr std::uint32_t mostMultiplied = 179;
static_assert([] {
  for (std::uint32_t windowSize = mostNarrow + 1; windowSize <= mostMultiplied; ++windowSize) {
    const std::uint32_t area = windowSize * windowSize;
    if (256 - (255.0 * area + area - 1) * ReciprocalAbove(area) < 1.0 / (1 << 17)) return false;
  }
  return true;
}());
static_assert(maxWindowSize * maxWindowSize < 1U << 17);

template <bool multiplies>
class WideMeans {
 public:
  explicit WideMeans(std::uint32_t area)
      : divisor_(KV_SIMD(set1_ps)(multiplies ? ReciprocalAbove(area) : static_cast<float>(area))) {}

  /// A mean in the lowest byte of each lane. The second byte is zero.
  KV_INLINE Vector Of(Vector sums) const {
    const auto exact = KV_SIMD(cvtepi32_ps)(sums);
#if KV_REGISTER_LEVEL >= 2
    // In what is added, one is the lowest bit.
    if constexpr (multiplies) {
      return _mm512_castps_si512(_mm512_fmadd_round_ps(exact, divisor_, _mm512_set1_ps(1 << 23),
                                                       _MM_FROUND_TO_NEG_INF | _MM_FROUND_NO_EXC));
    }
#endif
    if constexpr (multiplies) return KV_SIMD(cvttps_epi32)(KV_SIMD(mul_ps)(exact, divisor_));
    return KV_SIMD(cvttps_epi32)(KV_SIMD(div_ps)(exact, divisor_));
  }

 private:
  decltype(KV_SIMD(setzero_ps)()) divisor_;
};

/// Windows of 4 * n + rest columns.
template <bool isSigned, int rest, class Means>
void SlideWide(const WindowMeansArgs& args, const Means& means) {
  const auto windowSize = static_cast<std::int32_t>(args.windowSize);
  const std::int32_t quads = windowSize / 4;
  alignas(64) std::uint32_t running[1 + (windowsAtOnce + maxWindowSize) / 4 + 64];
  for (std::int32_t done = 0; done < 8 * args.groups; done += windowsAtOnce) {
    const std::int32_t left = 8 * args.groups - done;
    const std::int32_t count = left < windowsAtOnce ? left : windowsAtOnce;
    const std::uint16_t* first = args.first + done / 2;
    const std::uint16_t* second = args.second + done / 2;

    // The sums of the quads before each one.
    running[0] = 0;
    Vector before = Zero();
    for (std::int32_t quad = 0; quad <= (count + windowSize) / 4; quad += width / 4) {
      const Vector four =
          AddBoth<isSigned>(AddBoth<isSigned>(Zero(), Load(first + 2 * quad)), Load(second + 2 * quad));
      before = Add32(before, RunningSums(four));
      Store(running + 1 + quad, before);
      before = LastInAllLanes32(before);
    }

    ForEachStep(count, args.destination + done, [&](std::int32_t window, std::uint8_t* destination) {
      const std::int32_t quad = window / 4;
      const std::uint16_t* leavingFirst = first + 2 * quad;
      const std::uint16_t* leavingSecond = second + 2 * quad;
      const std::uint16_t* behindFirst = leavingFirst + 2 * quads;
      const std::uint16_t* behindSecond = leavingSecond + 2 * quads;
      Vector sums = Sub32(Load(running + quad + quads), Load(running + quad));
      if constexpr (rest == 1) sums = AddLower<isSigned>(sums, Load(behindFirst));
      if constexpr (rest == 2) {
        sums = AddLower<isSigned>(AddLower<isSigned>(sums, Load(behindFirst)), Load(behindSecond));
      }
      if constexpr (rest == 3) {
        sums = AddLower<isSigned>(AddBoth<isSigned>(sums, Load(behindFirst)), Load(behindSecond));
      }
      // The columns that enter the windows at the second, third and fourth column of each quad.
      const Vector entering = Load(rest % 2 == 0 ? behindFirst + rest / 2 : behindSecond + rest / 2);
      const Vector enteringNext = Load(rest % 2 == 0 ? behindSecond + rest / 2 : behindFirst + rest / 2 + 1);
      const Vector leaving = Load(leavingFirst);
      Vector result = means.Of(sums);
      sums = MoveLower<isSigned>(sums, entering, leaving);
      const Vector secondMeans = ShiftLeft32<8>(means.Of(sums));
      sums = MoveLower<isSigned>(sums, enteringNext, Load(leavingSecond));
      const Vector thirdMeans = ShiftLeft32<16>(means.Of(sums));
      sums = MoveUpper<isSigned>(sums, entering, leaving);
      const Vector fourthMeans = ShiftLeft32<24>(means.Of(sums));
      result = And(result, Set32(0xFF));
      Store(destination, Or(Or(result, secondMeans), Or(thirdMeans, fourthMeans)));
    });
  }
}

template <bool isSigned, class Means>
void SlideWide(const WindowMeansArgs& args, const Means& means) {
  switch (args.windowSize % 4) {
    case 0:
      return SlideWide<isSigned, 0>(args, means);
    case 1:
      return SlideWide<isSigned, 1>(args, means);
    case 2:
      return SlideWide<isSigned, 2>(args, means);
    default:
      return SlideWide<isSigned, 3>(args, means);
  }
}

void Slide(const WindowMeansArgs& args) {
  const std::uint32_t area = args.windowSize * args.windowSize;
  switch (args.windowSize) {
    case 1:
      return SlideNarrow<1>(args);
    case 2:
      return SlideNarrow<2>(args);
    case 3:
      return SlideNarrow<3>(args);
    case 4:
      return SlideNarrow<4>(args);
    case 5:
      return SlideNarrow<5>(args);
    case 6:
      return SlideNarrow<6>(args);
    case 7:
      return SlideNarrow<7>(args);
    case 8:
      return SlideNarrow<8>(args);
    case 9:
      return SlideNarrow<9>(args);
    case 10:
      return SlideNarrow<10>(args);
    case 11:
      return SlideNarrow<11>(args);
    case 12:
      return SlideNarrow<12>(args);
    case 13:
      return SlideNarrow<13>(args);
    case 14:
      return SlideNarrow<14>(args);
    case 15:
      return SlideNarrow<15>(args);
    case 16:
      return SlideNarrow<16>(args);
    default:
      break;
  }
  if (args.windowSize <= mostSigned) return SlideWide<true>(args, WideMeans<true>(area));
  if (args.windowSize <= mostMultiplied) return SlideWide<false>(args, WideMeans<true>(area));
  SlideWide<false>(args, WideMeans<false>(area));
}

}  // namespace

template <>
void WindowMeans<level>(WindowMeansArgs& args) noexcept {
  if (args.groups <= 0) return;
  Slide(args);
  args.first += 4 * args.groups;
  args.second += 4 * args.groups;
  args.destination += 8 * args.groups;
}

}  // namespace kv_img::box_filter::wide
