#pragma once

#include <cstdint>

#include "algorithms/simd/kernel.h"

namespace kv_img::arithmetic {

/// The mean of whole groups: both bytes are halved before they are added, so two odd bytes lose one.
constexpr std::uint8_t HalvedSumOf(std::uint8_t a, std::uint8_t b) {
  return static_cast<std::uint8_t>((a >> 1) + (b >> 1));
}
static_assert(HalvedSumOf(3, 5) == 3 && HalvedSumOf(3, 4) == 3 && HalvedSumOf(255, 255) == 254);

/// The mean of the pixels behind the last whole group, in full precision.
constexpr std::uint8_t FullMeanOf(std::uint8_t a, std::uint8_t b) {
  return static_cast<std::uint8_t>((a + b) >> 1);
}
static_assert(FullMeanOf(3, 5) == 4 && FullMeanOf(3, 4) == 3 && FullMeanOf(255, 255) == 255);

/// The means of two rows of bytes, as HalvedSumOf gives them.
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
