#pragma once

#include <cstdint>

#include "algorithms/rounding.h"
#include "algorithms/simd/kernel.h"

namespace kv_img::alpha {

/// p - q around 128, limited to 0 to 255.
constexpr std::uint8_t Centred(std::uint8_t p, std::uint8_t q) {
  return ClampToByte(p - q + 128);
}
static_assert(Centred(9, 9) == 128 && Centred(127, 0) == 255 && Centred(0, 128) == 0 && Centred(0, 200) == 0);

/// Centred differences of two 8-bit rows.
///
/// One group is four pixels: 4 bytes read at `p` and at `q`, 4 written at `mask`. Any alignment. `mask` may
/// be `p` or `q`; otherwise no overlap.
struct CentredDifference {
  struct Args {
    std::int32_t groups;
    const std::uint8_t* p;
    const std::uint8_t* q;
    std::uint8_t* mask;
  };
  static constexpr const char* name = "alpha/CentredDifference";
  using Streams = StreamList<In<&Args::p, 4>, In<&Args::q, 4>, Out<&Args::mask, 4>>;
  template <class Set>
  static void Run(Args& args) noexcept;
};

}  // namespace kv_img::alpha
