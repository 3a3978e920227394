#pragma once

#include <cstdint>

#include "algorithms/simd/kernel.h"

// Rows between bitmaps: the same colours in another form. One group is one pixel. Any alignment, no overlap.
namespace kv_img::color {

/// Pixels of three or four bytes into those of three or four. `isSwapped`: the first and the third byte change places.
/// The fourth byte is kept, or 255 where there was none or `isOpaque` says so.
struct RearrangeArgs {
  std::int32_t groups;
  bool isSwapped;
  bool isOpaque;
  const std::uint8_t* source;
  std::uint8_t* destination;
};

template <int bytesIn, int bytesOut>
struct Rearrange {
  using Args = RearrangeArgs;
  static constexpr bool isWithoutMmx = true;
  using Streams = StreamList<In<&Args::source, bytesIn>, Out<&Args::destination, bytesOut>>;
};
struct Rearrange24To24 : Rearrange<3, 3> {
  static constexpr const char* name = "color/Rearrange24To24";
  template <class Set>
  static void Run(Args& args) noexcept;
};
struct Rearrange24To32 : Rearrange<3, 4> {
  static constexpr const char* name = "color/Rearrange24To32";
  template <class Set>
  static void Run(Args& args) noexcept;
};
struct Rearrange32To24 : Rearrange<4, 3> {
  static constexpr const char* name = "color/Rearrange32To24";
  template <class Set>
  static void Run(Args& args) noexcept;
};
struct Rearrange32To32 : Rearrange<4, 4> {
  static constexpr const char* name = "color/Rearrange32To32";
  template <class Set>
  static void Run(Args& args) noexcept;
};

/// Weights of the bytes of a pixel, in units of 1/65536. Their sum is one; `first` and `third` are below a half.
struct GreyWeights {
  std::uint16_t first;
  std::uint16_t second;
  std::uint16_t third;
};

/// (weights · bytes + 32768) >> 16 of pixels of three or four bytes; a fourth does not count.
struct GreyOfBitmapArgs {
  std::int32_t groups;
  GreyWeights weights;
  const std::uint8_t* source;
  std::uint8_t* destination;
};
struct GreyOf24 {
  using Args = GreyOfBitmapArgs;
  static constexpr const char* name = "color/GreyOf24";
  static constexpr bool isWithoutMmx = true;
  using Streams = StreamList<In<&Args::source, 3>, Out<&Args::destination, 1>>;
  template <class Set>
  static void Run(Args& args) noexcept;
};
struct GreyOf32 {
  using Args = GreyOfBitmapArgs;
  static constexpr const char* name = "color/GreyOf32";
  static constexpr bool isWithoutMmx = true;
  using Streams = StreamList<In<&Args::source, 4>, Out<&Args::destination, 1>>;
  template <class Set>
  static void Run(Args& args) noexcept;
};

/// Grey as three equal bytes, and a fourth of 255.
struct BitmapOfGreyArgs {
  std::int32_t groups;
  const std::uint8_t* source;
  std::uint8_t* destination;
};
struct GreyTo24 {
  using Args = BitmapOfGreyArgs;
  static constexpr const char* name = "color/GreyTo24";
  static constexpr bool isWithoutMmx = true;
  using Streams = StreamList<In<&Args::source, 1>, Out<&Args::destination, 3>>;
  template <class Set>
  static void Run(Args& args) noexcept;
};
struct GreyTo32 {
  using Args = BitmapOfGreyArgs;
  static constexpr const char* name = "color/GreyTo32";
  static constexpr bool isWithoutMmx = true;
  using Streams = StreamList<In<&Args::source, 1>, Out<&Args::destination, 4>>;
  template <class Set>
  static void Run(Args& args) noexcept;
};

/// Words of five bits of blue, the lowest, five or six of green and five of red, little-endian.
struct WordsArgs {
  std::int32_t groups;
  bool isSixGreen;
  const std::uint8_t* source;
  std::uint8_t* destination;
};
/// Into blue, green, red, 255; the upper bits of a colour are repeated below.
struct WordsTo32 {
  using Args = WordsArgs;
  static constexpr const char* name = "color/WordsTo32";
  static constexpr bool isWithoutMmx = true;
  using Streams = StreamList<In<&Args::source, 2>, Out<&Args::destination, 4>>;
  template <class Set>
  static void Run(Args& args) noexcept;
};
/// From blue, green, red and a byte that does not count; the lower bits are dropped, bit 15 of 15 is 0.
struct WordsFrom32 {
  using Args = WordsArgs;
  static constexpr const char* name = "color/WordsFrom32";
  static constexpr bool isWithoutMmx = true;
  using Streams = StreamList<In<&Args::source, 4>, Out<&Args::destination, 2>>;
  template <class Set>
  static void Run(Args& args) noexcept;
};

}  // namespace kv_img::color
