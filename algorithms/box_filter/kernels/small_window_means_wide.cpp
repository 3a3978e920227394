#include <utility>

#include "algorithms/box_filter/kernels/narrow_windows.h"
#include "algorithms/box_filter/kernels/small_window_means.h"

namespace kv_img::box_filter::wide {
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

/// Loaded once: g++ would load for each use, across two cache lines.
KV_INLINE Vector LoadOnce(const std::uint8_t* pixels) {
  Vector vector = Load(pixels);
  asm("" : "+v"(vector));
  return vector;
}

/// A register that ends with `count` bytes; eight are read, and those before them may be anything.
template <int count>
KV_INLINE Vector EndingWith(const std::uint8_t* bytes) {
  std::uint64_t eight = 0;
  std::memcpy(&eight, bytes, sizeof eight);
  return Set64(count == 0 ? 0 : eight << (64 - 8 * count) % 64);
}

template <std::size_t... row>
void Slide(SmallWindowMeansArgs& args, std::index_sequence<row...> /*rows*/) {
  constexpr int windowSize = sizeof...(row);
  constexpr int before = windowSize - 1;
  if (args.groups <= 0) return;
  NarrowWindows<windowSize> windows;
  windows.Start(LowerSums(EndingWith<before>(args.rows[row])...),
                UpperSums(EndingWith<before>(args.rows[row])...));
  const auto next = [&](auto... pixels) { return windows.Next(LowerSums(pixels...), UpperSums(pixels...)); };
  // When what is left over is worked on together with windows before it, the first of those come out wrong,
  // for the columns of the last step do not precede them; no more than the first seven, which are not kept.
  static_assert(before < 8);
  WalkPlaces<width / 8>(
      args.groups,
      [&](std::uint8_t* destination, const auto*... pixels) {
        Store(destination, next(LoadOnce(pixels + before)...));
      },
      Writing<8>{args.destination}, Reading<8, 0, before>{args.rows[row]}...);
}

template <std::size_t windowSize>
void Slide(SmallWindowMeansArgs& args) {
  Slide(args, std::make_index_sequence<windowSize>());
}

}  // namespace

template <>
void SmallWindowMeans<level>(SmallWindowMeansArgs& args) noexcept {
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

}  // namespace kv_img::box_filter::wide
