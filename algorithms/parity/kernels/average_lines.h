#pragma once

#include <cstdint>

#include "algorithms/simd/kernel.h"

namespace kv_img::parity {

/// The HalvedMean of two lines of a 4:2:2 image, byte by byte.
///
/// One group is four pixels: 8 bytes read at `upper` and at `lower`, 8 written at `destination`. Any
/// alignment; the lines may be the same, the destination overlaps neither.
struct LineAverage {
  struct Args {
    std::int32_t groups;
    const std::uint8_t* upper;
    const std::uint8_t* lower;
    std::uint8_t* destination;
  };
  using Streams = StreamList<In<&Args::upper, 8>, In<&Args::lower, 8>, Out<&Args::destination, 8>>;
};

struct AverageLines : LineAverage {
  static constexpr const char* name = "parity/AverageLines";
  template <class Set>
  static void Run(Args& args) noexcept;
};

/// Also exchanges the two bytes of every 16-bit word.
struct AverageLinesSwapped : LineAverage {
  static constexpr const char* name = "parity/AverageLinesSwapped";
  template <class Set>
  static void Run(Args& args) noexcept;
};

}  // namespace kv_img::parity
