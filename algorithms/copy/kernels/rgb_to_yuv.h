#pragma once

#include <cstdint>

#include "algorithms/copy/kernels/color_matrix.h"
#include "algorithms/packed422/order.h"
#include "algorithms/simd/kernel.h"

namespace kv_img::copy {

/// Converts a bitmap row (blue, green, red, and of 32 bits a fourth byte) to a packed 4:2:2 row. Any
/// alignment, no overlap.
struct RgbToYuv {
  struct Args {
    std::int32_t groups;
    PackedOrder order;
    const std::uint8_t* source;
    std::uint8_t* destination;
    RgbToYuvMatrix matrix = {};
  };
};

/// One group is eight pixels: 24 bytes read at `source`, 16 written at `destination`.
struct Dib24ToYuv422 : RgbToYuv {
  static constexpr const char* name = "copy/Dib24ToYuv422";
  using Streams = StreamList<In<&Args::source, 24>, Out<&Args::destination, 16>>;
  template <class Set>
  static void Run(Args& args) noexcept;
};

/// One group is four pixels: 16 bytes read at `source`, 8 written at `destination`. The fourth byte of a
/// pixel has no effect.
struct Dib32ToYuv422 : RgbToYuv {
  static constexpr const char* name = "copy/Dib32ToYuv422";
  using Streams = StreamList<In<&Args::source, 16>, Out<&Args::destination, 8>>;
  template <class Set>
  static void Run(Args& args) noexcept;
};

/// Dib32ToYuv422 that also copies the fourth byte of every pixel: 4 more bytes written per group, at `alpha`.
struct Dib32ToYuva422 {
  struct Args : RgbToYuv::Args {
    std::uint8_t* alpha;
  };
  static constexpr const char* name = "copy/Dib32ToYuva422";
  using Streams = StreamList<In<&Args::source, 16>, Out<&Args::destination, 8>, Out<&Args::alpha, 4>>;
  template <class Set>
  static void Run(Args& args) noexcept;
};

}  // namespace kv_img::copy
