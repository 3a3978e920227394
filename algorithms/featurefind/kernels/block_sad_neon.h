#pragma once

#include "algorithms/featurefind/kernels/block_sad.h"
#include "algorithms/featurefind/kernels/block_sad_columns.h"
#include "algorithms/simd/wide.h"

namespace kv_img::featurefind {
namespace {

constexpr std::int32_t positionsAtOnce = width;
constexpr std::int32_t leastPositions = 2;
/// Positions for which the reference stays in a register.
constexpr std::int32_t positionsInRegisters = 8;
/// Two differences a row fit into a 16-bit lane.
constexpr std::int32_t rowsInLane = 128;
/// Columns after whole registers that are cheaper one by one.
constexpr std::int32_t fewColumns = 4;

/// Adds differences to 16-bit lanes.
KV_INLINE uint16x8_t AddDifferences(uint16x8_t lanes, Vector a, Vector b) {
  const uint8x16_t one = Lanes8(a);
  const uint8x16_t other = Lanes8(b);
  return vabal_high_u8(vabal_u8(lanes, vget_low_u8(one), vget_low_u8(other)), one, other);
}

/// Adds the differences of the columns of a register, or of those that are `counted`, at positionsInRegisters positions.
template <bool areAllCounted>
[[gnu::noinline]] void AddRegister(const BlockSad::Args& args, const std::uint8_t* reference,
                                   const std::uint8_t* searched, Vector counted,
                                   uint32x4_t (&added)[positionsInRegisters]) {
  const auto load = [counted](const std::uint8_t* bytes) {
    return areAllCounted ? Load(bytes) : And(Load(bytes), counted);
  };
  for (std::int32_t rows = args.rows; rows > 0; rows -= rowsInLane) {
    uint16x8_t lanes[positionsInRegisters];
    for (uint16x8_t& lane : lanes) lane = vdupq_n_u16(0);
    for (std::int32_t row = rows < rowsInLane ? rows : rowsInLane; row > 0; --row) {
      const Vector one = load(reference);
      for (std::int32_t position = 0; position < positionsInRegisters; ++position)
        lanes[position] = AddDifferences(lanes[position], one, load(searched + position));
      reference += args.referenceStride;
      searched += args.searchedStride;
    }
    for (std::int32_t position = 0; position < positionsInRegisters; ++position)
      added[position] = vpadalq_u16(added[position], lanes[position]);
  }
}

/// Adds the differences of `columns` at positionsInRegisters positions to the sum of each.
void AddInRegisters(const BlockSad::Args& args, std::int32_t columns, const std::uint8_t* searched,
                    std::uint32_t* sums) {
  uint32x4_t added[positionsInRegisters];
  for (uint32x4_t& sum : added) sum = vdupq_n_u32(0);
  std::int32_t column = 0;
  for (; column + width <= columns; column += width)
    AddRegister<true>(args, args.reference + column, searched + column, Zero(), added);
  if (column < columns)
    AddRegister<false>(args, args.reference + column, searched + column, LowestBytes(columns - column),
                       added);
  for (std::int32_t position = 0; position < positionsInRegisters; ++position)
    sums[position] += vaddvq_u32(added[position]);
}

/// Adds the differences at up to positionsAtOnce positions to the sum of each.
void AddToBlock(const BlockSad::Args& args, const std::uint8_t* searched, std::int32_t positions,
                std::uint32_t* sums) {
  const std::int32_t few = args.columns % width <= fewColumns ? args.columns % width : 0;
  const std::int32_t whole = args.columns - few;
  for (std::int32_t position = 0; position < positions; position += positionsInRegisters)
    AddInRegisters(args, whole, searched + position, sums + position);
  if (few > 0) AddFewColumns(args, whole, searched, sums);
}

}  // namespace
}  // namespace kv_img::featurefind
