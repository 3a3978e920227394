#pragma once

#include <cstdint>

#include "algorithms/simd/wide_level.h"

namespace kv_img::box_filter {

/// Moves the column sums of a window down by one row: each sum gains the pixel of the row that enters the
/// window and loses that of the row that leaves it.
///
/// One group is eight columns: 8 bytes read at `entering` and at `leaving`, 8 bytes (four sums) read and
/// written at `first`, the sums of every second column from the first on, and at `second`, those of the
/// columns between. Sums are at their natural alignment, rows at any; no overlap; touches exactly these
/// bytes. Sums wrap at 16 bits. The kernel leaves the pointers behind what it consumed, the SIMD state clean,
/// and keeps no state.
struct ReplaceRowArgs {
  std::int32_t groups;
  const std::uint8_t* entering;
  const std::uint8_t* leaving;
  std::uint16_t* first;
  std::uint16_t* second;
};

namespace scalar {
void ReplaceRow(ReplaceRowArgs& args) noexcept;
}
namespace mmx {
void ReplaceRow(ReplaceRowArgs& args) noexcept;
}
namespace wide {
template <WideLevel>
void ReplaceRow(ReplaceRowArgs& args) noexcept;
}  // namespace wide

}  // namespace kv_img::box_filter
