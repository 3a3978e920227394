#pragma once

#include <cstddef>
#include <cstdint>

#include "algorithms/simd/wide_level.h"

namespace kv_img::featurefind {

/// Bytes behind the columns of a row that the kernels of this folder may read, but that never count.
inline constexpr std::ptrdiff_t spareColumns = 72;

/// Adds the absolute differences of a block of bytes and another at several positions side by side to `sums`
/// (which wrap at 2^32): sums[i] is for the block that starts `i` bytes behind `searched`.
///
/// A block is `rows` rows of `columns` bytes, its rows `stride` bytes apart. Of every row of `reference` the
/// `columns` bytes count, of `searched` columns + positions - 1; up to spareColumns bytes behind them may be
/// read too. Nothing is read without rows or columns, and nothing but the sums written. Any alignment. The
/// kernel leaves both pointers behind the last row, at rows * stride, the SIMD state clean, and keeps no
/// state.
struct BlockSadArgs {
  std::int32_t columns;
  std::int32_t rows;
  std::int32_t positions;
  const std::uint8_t* reference;
  std::ptrdiff_t referenceStride;
  const std::uint8_t* searched;
  std::ptrdiff_t searchedStride;
  std::uint32_t* sums;
};

namespace scalar {
void BlockSad(BlockSadArgs& args) noexcept;
}
namespace mmx {
void BlockSad(BlockSadArgs& args) noexcept;
}
namespace wide {
template <WideLevel>
void BlockSad(BlockSadArgs& args) noexcept;
}  // namespace wide

}  // namespace kv_img::featurefind
