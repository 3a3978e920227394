#pragma once

#include <cstdint>

#include "algorithms/packed422/order.h"
#include "algorithms/simd/wide_level.h"

namespace kv_img::alpha {

/// The raw mask of two packed 4:2:2 rows in the same byte order. For every pixel pair s = |U1 - U2| + |V1 -
/// V2|, and both pixels get 255 - min(s, 5) cubed: 255, 254, 247, 228, 191, or 130 from s = 5 on.
///
/// One group is two pairs: 8 bytes read at `first` and at `second`, 4 written at `mask`.
/// Any alignment, no overlap; touches exactly groups * 8 bytes of each row and groups * 4 of the mask. The
/// kernel leaves the pointers behind what it consumed, the SIMD state clean, and keeps no state.
struct ChromaDistanceArgs {
  std::int32_t groups;
  const std::uint8_t* first;
  const std::uint8_t* second;
  std::uint8_t* mask;
  PackedOrder order;
};

namespace scalar {
void ChromaDistance(ChromaDistanceArgs& args) noexcept;
}
namespace mmx {
void ChromaDistance(ChromaDistanceArgs& args) noexcept;
}
namespace wide {
template <WideLevel>
void ChromaDistance(ChromaDistanceArgs& args) noexcept;
}  // namespace wide

}  // namespace kv_img::alpha
