#pragma once

#include <cstdint>

#include "algorithms/packed422/order.h"
#include "algorithms/simd/wide_level.h"

namespace kv_img::featurefind {

/// Gathers the luma of a 4:2:2 row, one byte per pixel.
///
/// One group is eight pixels: 16 bytes read at `source`, 8 written at `destination`. Any alignment, no
/// overlap; touches exactly groups * 16 and groups * 8 bytes. The kernel leaves both pointers behind what it
/// consumed, the SIMD state clean, and keeps no state.
struct LumaBytesArgs {
  std::int32_t groups;
  const std::uint8_t* source;
  std::uint8_t* destination;
  PackedOrder order;
};

namespace scalar {
void LumaBytes(LumaBytesArgs& args) noexcept;
}
namespace mmx {
void LumaBytes(LumaBytesArgs& args) noexcept;
}
namespace wide {
template <WideLevel>
void LumaBytes(LumaBytesArgs& args) noexcept;
}  // namespace wide

}  // namespace kv_img::featurefind
