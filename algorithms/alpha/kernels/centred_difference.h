#pragma once

#include <cstdint>

#include "algorithms/simd/wide_level.h"

namespace kv_img::alpha {

/// clamp(p - q + 128, 0, 255) of every pixel of two 8-bit rows.
///
/// One group is four pixels: 4 bytes read at `p` and at `q`, 4 written at `mask`. Any alignment, no overlap;
/// touches exactly groups * 4 bytes of each. The kernel leaves the pointers behind what it consumed, the SIMD
/// state clean, and keeps no state.
struct CentredDifferenceArgs {
  std::int32_t groups;
  const std::uint8_t* p;
  const std::uint8_t* q;
  std::uint8_t* mask;
};

namespace scalar {
void CentredDifference(CentredDifferenceArgs& args) noexcept;
}
namespace mmx {
void CentredDifference(CentredDifferenceArgs& args) noexcept;
}
namespace wide {
template <WideLevel>
void CentredDifference(CentredDifferenceArgs& args) noexcept;
}  // namespace wide

}  // namespace kv_img::alpha
