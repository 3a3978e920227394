#include <utility>

#include "algorithms/box_filter/kernels/box_filter.h"
#include "algorithms/box_filter/kernels/narrow_windows.h"
#include "algorithms/box_filter/kernels/wide_windows.h"
#include "algorithms/simd/wide.h"

namespace kv_img::box_filter {
namespace {

template <class... Vectors>
KV_INLINE Vector SumOf16(Vector first, Vectors... others) {
  ((first = Add16(first, others)), ...);
  return first;
}
template <class... Vectors>
KV_INLINE Vector LowerSums(Vectors... pixels) {
  return SumOf16(LowerBytes16(pixels)...);
}
template <class... Vectors>
KV_INLINE Vector UpperSums(Vectors... pixels) {
  return SumOf16(UpperBytes16(pixels)...);
}

/// Loaded once: g++ would reload it for every use, across two cache lines.
KV_INLINE Vector LoadOnce(const std::uint8_t* pixels) {
  Vector vector = Load(pixels);
  KeepInRegister(vector);
  return vector;
}

/// A register whose last bytes are the `count` given; those before them are undefined.
template <int count>
KV_INLINE Vector EndingWith(const std::uint8_t* bytes) {
  std::uint64_t last = 0;
  std::memcpy(&last, bytes, count);
  return Set64(count == 0 ? 0 : last << (64 - 8 * count) % 64);
}

template <std::size_t... row>
void Slide(SmallWindowMeans::Args& args, std::index_sequence<row...> /*rows*/) {
  constexpr int windowSize = sizeof...(row);
  constexpr int before = windowSize - 1;
  if (args.groups <= 0) return;
  const std::uint8_t* rows[] = {args.rows[row]...};
  NarrowWindows<windowSize> windows;
  // Inlined wherever they are called: the sums of the windows before stay in registers.
  const auto start = [&](std::int32_t window) __attribute__((always_inline)) {
    windows.Start(LowerSums(EndingWith<before>(rows[row] + window)...),
                  UpperSums(EndingWith<before>(rows[row] + window)...));
  };
  const auto next = [&](auto... pixels) __attribute__((always_inline)) {
    return windows.Next(LowerSums(pixels...), UpperSums(pixels...));
  };
#if KV_REGISTER_LEVEL >= 2
  // What is left of a row goes on from the windows before it. The sum of an even window gains the column after it, here
  // a zero, and loses it again.
  start(0);
  std::int32_t window = 0;
  for (; window <= args.groups - width; window += width)
    Store(args.destination + window, next(LoadOnce(rows[row] + window + before)...));
  if (window < args.groups) {
    const __mmask64 wanted = ~__mmask64{0} >> (width - (args.groups - window));
    _mm512_mask_storeu_epi8(args.destination + window, wanted,
                            next(_mm512_maskz_loadu_epi8(wanted, rows[row] + window + before)...));
  }
#else
  // Rows too short for a step are copied to where a step may read on. Zeros follow them, for the sum of an even
  // window gains the column after it and loses it again.
  std::uint8_t few[windowSize][before + width];
  if (args.groups < width) {
    std::memset(few, 0, sizeof few);
    ((CopyFew<before + width>(few[row], rows[row], before + args.groups), rows[row] = few[row]), ...);
  }
  ForEachStep(args.groups, args.destination, start, [&](std::int32_t window, std::uint8_t* destination) {
    Store(destination, next(LoadOnce(rows[row] + window + before)...));
  });
#endif
  ((args.rows[row] += args.groups), ...);
  args.destination += args.groups;
}

template <std::size_t windowSize>
void Slide(SmallWindowMeans::Args& args) {
  Slide(args, std::make_index_sequence<windowSize>());
}

// Columns are taken in pairs, or in quads, so that what a register adds up along the row is half, or a
// quarter, of it; the windows between follow from the columns in which they differ.

static_assert(spareSums >= width / 2 + 8);

template <int windowSize>
void SlideNarrow(const WindowMeans::Args& args) {
  // Pairs start at columns that make windows start at even ones end at lower columns of pairs.
  constexpr bool isOdd = windowSize % 2 != 0;
  const std::uint16_t* lower = (isOdd ? args.first : args.second - 1) + windowSize / 2;
  const std::uint16_t* upper = (isOdd ? args.second : args.first) + windowSize / 2;
  constexpr int step = width / 2;
  NarrowWindows<windowSize> windows;
  ForEachStep(
      8 * args.groups, args.destination,
      [&](std::int32_t window) {
        windows.Start(Load(lower + window / 2 - step), Load(upper + window / 2 - step));
      },
      [&](std::int32_t window, std::uint8_t* destination) {
        Store(destination, windows.Next(Load(lower + window / 2), Load(upper + window / 2)));
      });
}

void Slide(const WindowMeans::Args& args) {
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
void ReplaceRow::Run<Wide<level>>(Args& args) noexcept {
  Walk<Streams, width / 8>(args, [](const std::uint8_t* enteringBytes, const std::uint8_t* leavingBytes,
                                    std::uint16_t* first, std::uint16_t* second) {
    const Vector entering = Load(enteringBytes);
    const Vector leaving = Load(leavingBytes);
    Store(first, Add16(Load(first), Sub16(LowerBytes16(entering), LowerBytes16(leaving))));
    Store(second, Add16(Load(second), Sub16(UpperBytes16(entering), UpperBytes16(leaving))));
  });
}

template <>
void SmallWindowMeans::Run<Wide<level>>(Args& args) noexcept {
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
void WindowMeans::Run<Wide<level>>(Args& args) noexcept {
  if (args.groups <= 0) return;
  Slide(args);
  args.first += 4 * args.groups;
  args.second += 4 * args.groups;
  args.destination += 8 * args.groups;
}

}  // namespace kv_img::box_filter
