#pragma once

#include <cstdint>

#include "algorithms/copy/kernels/color_matrix.h"
#include "algorithms/packed422/order.h"
#include "algorithms/simd/kernel.h"

namespace kv_img::copy {

/// Converts a packed 4:2:2 row to a bitmap row. Both pixels of a pair take the pair's chroma. Any alignment,
/// no overlap.
struct YuvToRgb {
  struct Args {
    std::int32_t groups;
    PackedOrder order;
    const std::uint8_t* source;
    std::uint8_t* destination;
    YuvToRgbMatrix matrix = {};
  };
};

/// To little-endian words. One group is four pixels: 8 bytes read at `source`, 8 written at `destination`.
struct YuvToDibWords : YuvToRgb {
  using Streams = StreamList<In<&Args::source, 8>, Out<&Args::destination, 8>>;
};
struct Yuv422ToDib15 : YuvToDibWords {
  static constexpr const char* name = "copy/Yuv422ToDib15";
  template <class Set>
  static void Run(Args& args) noexcept;
};

struct Yuv422ToDib16 : YuvToDibWords {
  static constexpr const char* name = "copy/Yuv422ToDib16";
  template <class Set>
  static void Run(Args& args) noexcept;
};

/// To blue, green, red. One group is eight pixels: 16 bytes read at `source`, 24 written at `destination`.
struct Yuv422ToDib24 : YuvToRgb {
  static constexpr const char* name = "copy/Yuv422ToDib24";
  using Streams = StreamList<In<&Args::source, 16>, Out<&Args::destination, 24>>;
  template <class Set>
  static void Run(Args& args) noexcept;
};

}  // namespace kv_img::copy
