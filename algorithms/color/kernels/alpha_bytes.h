#pragma once

#include <cstdint>

#include "algorithms/simd/kernel.h"

namespace kv_img::color {

/// Alpha of 32-bit pixels to a row of its own. One group is four pixels: 16 bytes read at `source`, 4 written
/// at `destination`. Any alignment, no overlap.
struct TakeAlpha {
  struct Args {
    std::int32_t groups;
    const std::uint8_t* source;
    std::uint8_t* destination;
  };
  static constexpr const char* name = "color/TakeAlpha";
  static constexpr bool isWithoutMmx = true;
  using Streams = StreamList<In<&Args::source, 16>, Out<&Args::destination, 4>>;
  template <class Set>
  static void Run(Args& args) noexcept;
};

/// A row of alpha into 32-bit pixels, whose other bytes stay. One group is four pixels: 4 bytes read at
/// `source`, 16 changed at `destination`. Any alignment, no overlap.
struct PutAlpha {
  struct Args {
    std::int32_t groups;
    const std::uint8_t* source;
    std::uint8_t* destination;
  };
  static constexpr const char* name = "color/PutAlpha";
  static constexpr bool isWithoutMmx = true;
  using Streams = StreamList<In<&Args::source, 4>, InOut<&Args::destination, 16>>;
  template <class Set>
  static void Run(Args& args) noexcept;
};

}  // namespace kv_img::color
