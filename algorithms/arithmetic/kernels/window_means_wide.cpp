#include "algorithms/arithmetic/kernels/window_means.h"
#include "algorithms/simd/wide.h"

namespace kv_img::arithmetic::wide {
namespace {

// A window's sum is the difference of two running sums along the row, whatever its size. Running sums wrap;
// their differences are right as long as a window's sum fits into the lane.

/// Windows whose running sums are kept at a time, in the nearest cache.
constexpr std::int32_t windowsAtOnce = 1024;
static_assert(windowsAtOnce % width == 0);

template <class Lane>
KV_INLINE Vector Add(Vector a, Vector b) {
  return sizeof(Lane) == 4 ? Add32(a, b) : Add16(a, b);
}

/// A register of running sums: of the lanes up to and with each one, and in every lane the sum of all.
struct Running {
  Vector sums;
  Vector all;
};

#if KV_WIDE_LEVEL >= 2

/// Lanes moved up by `words` of 32 bits, zeros behind them.
template <int words>
KV_INLINE Vector MoveUp(Vector a) {
  return _mm512_alignr_epi32(a, Zero(), 16 - words);
}

template <class Lane>
KV_INLINE Running RunningSums(Vector sums) {
  if constexpr (sizeof(Lane) == 2) {
    sums = Add16(sums, _mm512_bslli_epi128(sums, 2));
    sums = Add16(sums, _mm512_bslli_epi128(sums, 4));
    sums = Add16(sums, _mm512_bslli_epi128(sums, 8));
    const Vector totals = _mm512_shuffle_epi8(sums, Set16(0x0F0E));
    const Vector one = MoveUp<4>(totals);
    const Vector two = Add16(one, MoveUp<4>(one));
    sums = Add16(sums, Add16(two, MoveUp<8>(one)));
    return {sums, _mm512_permutexvar_epi16(Set16(31), sums)};
  } else {
    sums = Add32(sums, MoveUp<1>(sums));
    sums = Add32(sums, MoveUp<2>(sums));
    sums = Add32(sums, MoveUp<4>(sums));
    sums = Add32(sums, MoveUp<8>(sums));
    return {sums, _mm512_permutexvar_epi32(Set32(15), sums)};
  }
}

#else

template <int bytes>
KV_INLINE Vector MoveUp(Vector a) {
#if KV_WIDE_LEVEL == 1
  return _mm256_slli_si256(a, bytes);
#else
  return _mm_slli_si128(a, bytes);
#endif
}

/// The last lane of each sixteen bytes in all of their lanes.
template <class Lane>
KV_INLINE Vector SpreadLast(Vector sums) {
  if constexpr (sizeof(Lane) == 4) {
    return KV_SIMD(shuffle_epi32)(sums, 0xFF);
  } else {
#if KV_WIDE_LEVEL == 1
    return _mm256_shuffle_epi8(sums, Set16(0x0F0E));
#else
    const Vector upper = _mm_shufflehi_epi16(sums, 0xFF);
    return _mm_unpackhi_epi64(upper, upper);
#endif
  }
}

template <class Lane>
KV_INLINE Running RunningSums(Vector sums) {
  if constexpr (sizeof(Lane) == 2) sums = Add16(sums, MoveUp<2>(sums));
  sums = Add<Lane>(sums, MoveUp<4>(sums));
  sums = Add<Lane>(sums, MoveUp<8>(sums));
  const Vector totals = SpreadLast<Lane>(sums);
#if KV_WIDE_LEVEL == 1
  const Vector before = _mm256_permute2x128_si256(totals, totals, 0x08);
  const Vector upTo = Add<Lane>(totals, before);
  return {Add<Lane>(sums, before), _mm256_permute2x128_si256(upTo, upTo, 0x11)};
#else
  return {sums, totals};
#endif
}

#endif

/// Calls `next` with registers of columns, the last of them completed with zeros.
template <class Next>
KV_INLINE void ForEachRegister(const std::uint16_t* columns, std::int32_t count, Next next) {
  constexpr int step = width / 2;
  for (; count >= step; count -= step) {
    next(Load(columns));
    columns += step;
  }
  if (count > 0) {
    alignas(64) std::uint16_t rest[step] = {};
    std::memcpy(rest, columns, sizeof *columns * static_cast<std::size_t>(count));
    next(Load(rest));
  }
}

KV_INLINE Vector EvenColumns(Vector columns) {
  return And(columns, Set32(0xFFFF));
}
KV_INLINE Vector OddColumns(Vector columns) {
  return ShiftRight32<16>(columns);
}

/// Writes the running sums of columns, or with 32-bit lanes of pairs of columns, behind a zero; a register
/// more may be written.
template <class Lane>
KV_INLINE void SumUp(const std::uint16_t* columns, std::int32_t count, Lane* running) {
  *running++ = 0;
  Vector before = Zero();
  ForEachRegister(columns, count, [&](Vector some) {
    if constexpr (sizeof(Lane) == 4) some = Add32(EvenColumns(some), OddColumns(some));
    const Running sums = RunningSums<Lane>(some);
    Store(running, Add<Lane>(before, sums.sums));
    before = Add<Lane>(before, sums.all);
    running += width / static_cast<int>(sizeof(Lane));
  });
}

// Division of 16-bit sums by an area as a product: with m = ceil(2^t / area) and the excess e = m * area -
// 2^t, sum * m / 2^t is sum / area + sum * e / (area * 2^t). The second term stays below 1 / area, the least
// by which sum / area misses the next whole number, as long as sum * e < 2^t.
struct Reciprocal {
  std::uint32_t factor;
  int shift;  // behind the upper 16 bits of the product
  bool isExact;
};
constexpr Reciprocal ReciprocalOf(std::uint32_t area) {
  for (int shift = 0; shift <= 8; ++shift) {
    const std::uint32_t power = std::uint32_t{1} << (16 + shift);
    const std::uint32_t factor = (power + area - 1) / area;
    const std::uint64_t excess = std::uint64_t{factor} * area - power;
    if (factor <= 0xFFFF && 255 * area <= 0xFFFF && excess * (255 * area) < power) {
      return {factor, shift, true};
    }
  }
  return {0, 0, false};
}
static_assert(ReciprocalOf(9).isExact && ReciprocalOf(25).isExact && ReciprocalOf(81).isExact &&
              ReciprocalOf(225).isExact && ReciprocalOf(256).isExact && !ReciprocalOf(196).isExact &&
              !ReciprocalOf(289).isExact);

template <bool shifts>
class Means16 {
 public:
  using Lane = std::uint16_t;

  explicit Means16(const Reciprocal& reciprocal)
      : factor_(Set16(static_cast<std::int16_t>(reciprocal.factor))),
        shift_(_mm_cvtsi32_si128(reciprocal.shift)) {}

  /// Means of half a register of windows in 16-bit lanes, from where the running sums of the first window
  /// start.
  KV_INLINE Vector Of(const Lane* running, const std::uint16_t* /*columns*/, std::int32_t windowSize) const {
    return Divide(Sub16(Load(running + windowSize), Load(running)));
  }
  KV_INLINE Vector Divide(Vector sums) const {
    const Vector quotients = MultiplyHighU16(sums, factor_);
    return shifts ? KV_SIMD(srl_epi16)(quotients, shift_) : quotients;
  }

 private:
  Vector factor_;
  __m128i shift_;
};

// Sums below 2^24 are exact in single precision. Up to mostMultiplied the error of a product with the
// reciprocal, at most 2^-23 of a mean below 256, stays below the half of 1 / area by which sum + 1/2 misses
// whole numbers, whether sum + 1/2 is multiplied or half the reciprocal added to the product before it is
// rounded. Beyond, a quotient is rounded to a multiple of 2^-16 at most, and misses the next whole number by
// 1 / area, which is more than the half of that.
constexpr std::uint32_t mostMultiplied = 127;
static_assert(2 * 256 * mostMultiplied * mostMultiplied < 1U << 23);
static_assert(maxWindowSize * maxWindowSize < 1U << 17);

template <bool multiplies>
class Means32 {
 public:
  using Lane = std::uint32_t;

  explicit Means32(std::uint32_t area)
      : divisor_(KV_SIMD(set1_ps)(multiplies ? 1.0F / static_cast<float>(area) : static_cast<float>(area))) {}

  /// Windows that start at even columns start with a pair and those at odd ones with half of one. They end
  /// alike when their size is even, the other way round when it is odd.
  KV_INLINE Vector Of(const Lane* running, const std::uint16_t* columns, std::int32_t windowSize) const {
    const std::int32_t pairs = windowSize / 2;
    const bool isOdd = windowSize % 2 != 0;
    const Vector last = EvenColumns(Load(columns + 2 * pairs));
    Vector even = Sub32(Load(running + pairs), Load(running));
    Vector odd = Add32(Sub32(Load(running + pairs + isOdd), Load(running + 1)), OddColumns(Load(columns)));
    isOdd ? even = Add32(even, last) : odd = Add32(odd, last);
    return Or(Divide(even), ShiftLeft32<16>(Divide(odd)));
  }

 private:
  KV_INLINE Vector Divide(Vector sums) const {
    const auto exact = KV_SIMD(cvtepi32_ps)(sums);
#if KV_WIDE_LEVEL >= 2
    if constexpr (multiplies) return _mm512_cvttps_epi32(_mm512_fmadd_ps(exact, divisor_, half_));
#endif
    if constexpr (multiplies) {
      const auto half = KV_SIMD(set1_ps)(0.5F);
      return KV_SIMD(cvttps_epi32)(KV_SIMD(mul_ps)(KV_SIMD(add_ps)(exact, half), divisor_));
    } else {
      return KV_SIMD(cvttps_epi32)(KV_SIMD(div_ps)(exact, divisor_));
    }
  }

  decltype(KV_SIMD(setzero_ps)()) divisor_;
#if KV_WIDE_LEVEL >= 2
  __m512 half_ = _mm512_mul_ps(divisor_, _mm512_set1_ps(0.5F));
#endif
};

template <class Means>
void SlideWindows(WindowMeansArgs& args, const Means& means) {
  using Lane = typename Means::Lane;
  // Lanes of running sums per column.
  constexpr int columnsPerLane = sizeof(Lane) == 4 ? 2 : 1;
  const auto windowSize = static_cast<std::int32_t>(args.windowSize);
  alignas(64) Lane running[windowsAtOnce + maxWindowSize + 2 * 64];
  for (std::int32_t left = 8 * args.groups; left > 0; left -= windowsAtOnce) {
    const std::int32_t count = left < windowsAtOnce ? left : windowsAtOnce;
    const std::int32_t columnCount = count + windowSize - 1;
    SumUp(args.columns, columnCount, running);
    const auto meansOf = [&](const std::uint16_t* columns, std::int32_t window) {
      const auto half = [&](int offset) {
        return means.Of(running + (window + offset) / columnsPerLane, columns + offset, windowSize);
      };
      return Narrow16To8(half(0), half(width / 2));
    };
    std::int32_t window = 0;
    // Windows at odd columns look at one column more.
    for (; window + width + 1 <= count; window += width) {
      Store(args.destination + window, meansOf(args.columns + window, window));
    }
    for (; window < count; window += width) {
      const std::int32_t rest = count - window < width ? count - window : width;
      alignas(64) std::uint16_t columns[2 * width + maxWindowSize + 1] = {};
      std::memcpy(columns, args.columns + window,
                  sizeof *columns * static_cast<std::size_t>(rest + windowSize - 1));
      alignas(64) std::uint8_t bytes[width];
      Store(bytes, meansOf(columns, window));
      std::memcpy(args.destination + window, bytes, static_cast<std::size_t>(rest));
    }
    args.columns += count;
    args.destination += count;
  }
}

/// Sums of few columns, without running sums.
template <int windowSize>
void AddColumns(WindowMeansArgs& args) {
  constexpr Reciprocal reciprocal = ReciprocalOf(windowSize * windowSize);
  const Means16<reciprocal.shift != 0> means(reciprocal);
  const auto* bytes = reinterpret_cast<const std::uint8_t*>(args.columns);
  Walk<width / 8>(
      args.groups,
      [&means](const std::uint8_t* columns, std::uint8_t* destination) {
        const auto half = [&](int offset) {
          Vector sums = Load(columns + 2 * offset);
          for (int next = 1; next < windowSize; ++next)
            sums = Add16(sums, Load(columns + 2 * (offset + next)));
          return means.Divide(sums);
        };
        Store(destination, Narrow16To8(half(0), half(width / 2)));
      },
      In<16, 0, 2 * (windowSize - 1)>{bytes}, Out<8>{args.destination});
  args.columns = reinterpret_cast<const std::uint16_t*>(bytes);
}

}  // namespace

template <>
void WindowMeans<level>(WindowMeansArgs& args) noexcept {
  if (args.groups <= 0) return;
  // Up to seven columns are sooner added than taken from running sums.
  switch (args.windowSize) {
    case 3:
      return AddColumns<3>(args);
    case 4:
      return AddColumns<4>(args);
    case 5:
      return AddColumns<5>(args);
    case 6:
      return AddColumns<6>(args);
    case 7:
      return AddColumns<7>(args);
    default:
      break;
  }
  const std::uint32_t area = args.windowSize * args.windowSize;
  const Reciprocal reciprocal = ReciprocalOf(area);
  if (reciprocal.isExact && reciprocal.shift == 0) {
    SlideWindows(args, Means16<false>(reciprocal));
  } else if (reciprocal.isExact) {
    SlideWindows(args, Means16<true>(reciprocal));
  } else if (args.windowSize <= mostMultiplied) {
    SlideWindows(args, Means32<true>(area));
  } else {
    SlideWindows(args, Means32<false>(area));
  }
}

}  // namespace kv_img::arithmetic::wide
