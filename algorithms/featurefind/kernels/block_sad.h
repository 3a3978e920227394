#pragma once

#include <cstddef>
#include <cstdint>

#include "algorithms/simd/kernel.h"

namespace kv_img::featurefind {

/// Bytes after the columns of a row that the kernels of this folder may read, but that never count.
inline constexpr std::ptrdiff_t spareColumns = 72;

/// Stores the sums of the absolute differences of a block of bytes and another at several positions in `sums`, or adds
/// them to it (which wraps at 2^32). There are `positionRows` rows of `positions` of them: sums[row * positions + i] is
/// for the block that starts `row` rows and `i` bytes after `searched`.
///
/// A block is `rows` rows of `columns` bytes, `stride` bytes from row to row. Of every row of `reference` the
/// `columns` bytes count, of `searched`, which has rows + positionRows - 1, columns + positions - 1; up to spareColumns
/// bytes after them may be read too. Nothing is read without rows or columns, and nothing but the sums is written. Any
/// alignment. Both pointers are advanced by rows * stride.
struct BlockSad {
  struct Args {
    std::int32_t columns;
    std::int32_t rows;
    std::int32_t positions;
    std::int32_t positionRows;
    const std::uint8_t* reference;
    std::ptrdiff_t referenceStride;
    const std::uint8_t* searched;
    std::ptrdiff_t searchedStride;
    std::uint32_t* sums;
    bool addsToSums;
  };
  static constexpr const char* name = "featurefind/BlockSad";
  template <class Set>
  static void Run(Args& args) noexcept;
};

}  // namespace kv_img::featurefind
