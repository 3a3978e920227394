#pragma once

#include <cstddef>
#include <cstdint>

#include "algorithms/featurefind/kernels/block_sad.h"
#include "algorithms/rounding.h"
#include "algorithms/simd/kernel.h"

namespace kv_img::featurefind {

/// Weights of four neighbouring samples in 1/65536; together at most 65535.
struct BilinearWeights {
  std::uint16_t topLeft;
  std::uint16_t topRight;
  std::uint16_t bottomLeft;
  std::uint16_t bottomRight;
};

/// The sample between four neighbours, 0 to 255, their weighted sum rounded once.
constexpr int InterpolateRounded(std::uint8_t topLeft, std::uint8_t topRight, std::uint8_t bottomLeft,
                                 std::uint8_t bottomRight, const BilinearWeights& weights) {
  const std::uint32_t sum =
      std::uint32_t{topLeft} * weights.topLeft + std::uint32_t{topRight} * weights.topRight +
      std::uint32_t{bottomLeft} * weights.bottomLeft + std::uint32_t{bottomRight} * weights.bottomRight;
  return static_cast<int>((sum + 32768) >> 16);
}

/// The same from terms that were cut to 1/256 one by one: now and then one less.
constexpr int InterpolateTruncated(std::uint8_t topLeft, std::uint8_t topRight, std::uint8_t bottomLeft,
                                   std::uint8_t bottomRight, const BilinearWeights& weights) {
  const std::uint32_t sum =
      WeightedSample(topLeft, weights.topLeft) + WeightedSample(topRight, weights.topRight) +
      WeightedSample(bottomLeft, weights.bottomLeft) + WeightedSample(bottomRight, weights.bottomRight);
  return static_cast<int>(((sum >> 7) + 1) >> 1);
}

// 2/7 to the right, 4/7 down.
static_assert(InterpolateRounded(77, 11, 105, 78, {20061, 8024, 26748, 10699}) == 81);
static_assert(InterpolateTruncated(77, 11, 105, 78, {20061, 8024, 26748, 10699}) == 80);
static_assert(InterpolateTruncated(255, 255, 255, 255, {65535, 0, 0, 0}) == 255);

/// Adds the absolute differences of a block of bytes and an interpolated one to `sum` (which wraps at 2^32).
///
/// A block is `rows` rows of `columns` bytes, `stride` bytes from row to row. The interpolated byte is
/// between a byte of `searched`, its right neighbour and the two below them. The first `truncatedColumns`
/// columns, a multiple of four, take InterpolateTruncated, the others InterpolateRounded.
///
/// `columns` bytes of each of `rows` rows of `reference` count, and one byte more of each of rows + 1 rows of
/// `searched`; up to spareColumns bytes after them may be read too. Without rows or columns nothing is read.
/// Any alignment. Both pointers are advanced by rows * stride.
struct BilinearSad {
  struct Args {
    std::int32_t columns;
    std::int32_t truncatedColumns;
    std::int32_t rows;
    const std::uint8_t* reference;
    std::ptrdiff_t referenceStride;
    const std::uint8_t* searched;
    std::ptrdiff_t searchedStride;
    BilinearWeights weights;
    std::uint32_t sum;
  };
  static constexpr const char* name = "featurefind/BilinearSad";
  template <class Set>
  static void Run(Args& args) noexcept;
};

}  // namespace kv_img::featurefind
