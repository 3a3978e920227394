#pragma once

#include <cstddef>
#include <cstdint>

namespace kv_img::featurefind {

/// Adds the absolute differences of two blocks of bytes to `sum` (which wraps at 2^32).
///
/// A block is `rows` rows of `columns` bytes, its rows `stride` bytes apart. A group is eight columns: rows
/// are read in whole groups, exactly (columns + 7) / 8 * 8 bytes of each, but bytes behind the last column do
/// not count. Any alignment. The kernel leaves both pointers behind the last row, at rows * stride, the SIMD
/// state clean, and keeps no state.
struct BlockSadArgs {
  std::int32_t columns;
  std::int32_t rows;
  const std::uint8_t* reference;
  std::ptrdiff_t referenceStride;
  const std::uint8_t* searched;
  std::ptrdiff_t searchedStride;
  std::uint32_t sum;
};

namespace scalar {
void BlockSad(BlockSadArgs& args) noexcept;
}
namespace mmx {
void BlockSad(BlockSadArgs& args) noexcept;
}

}  // namespace kv_img::featurefind
