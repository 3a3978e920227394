#pragma once

#include <cstdint>

#include "algorithms/simd/kernel.h"

namespace kv_img::arithmetic {

/// The means of two rows of bytes, each the HalvedMean.
///
/// One group is four pixels: 4 bytes read at `first` and at `second`, 4 written at `destination`. Any
/// alignment. `destination` may be `first` or `second`; otherwise no overlap.
struct HalvedSum {
  struct Args {
    std::int32_t groups;
    const std::uint8_t* first;
    const std::uint8_t* second;
    std::uint8_t* destination;
  };
  static constexpr const char* name = "arithmetic/HalvedSum";
  using Streams = StreamList<In<&Args::first, 4>, In<&Args::second, 4>, Out<&Args::destination, 4>>;
  template <class Set>
  static void Run(Args& args) noexcept;
};

}  // namespace kv_img::arithmetic
