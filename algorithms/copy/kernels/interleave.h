#pragma once

#include <cstdint>

#include "algorithms/packed422/order.h"
#include "algorithms/simd/kernel.h"

namespace kv_img::copy {

/// Interleaves a luma row and two chroma rows into a packed 4:2:2 row.
///
/// One group is eight pixels: 8 bytes read at `luma`, 4 at `cb`, 4 at `cr`, 16 written at `destination`. Any
/// alignment, no overlap of destination and sources.
struct Interleave {
  struct Args {
    std::int32_t groups;
    const std::uint8_t* luma;
    const std::uint8_t* cb;
    const std::uint8_t* cr;
    std::uint8_t* destination;
  };
  using Streams =
      StreamList<In<&Args::luma, 8>, In<&Args::cb, 4>, In<&Args::cr, 4>, Out<&Args::destination, 16>>;
};

/// Y0 Cb0 Y1 Cr0 Y2 Cb1 …
struct InterleaveLumaFirst : Interleave {
  static constexpr const char* name = "copy/InterleaveLumaFirst";
  template <class Set>
  static void Run(Args& args) noexcept;
};

/// Cb0 Y0 Cr0 Y1 Cb1 Y2 …
struct InterleaveChromaFirst : Interleave {
  static constexpr const char* name = "copy/InterleaveChromaFirst";
  template <class Set>
  static void Run(Args& args) noexcept;
};

}  // namespace kv_img::copy
