#pragma once

#include "algorithms/featurefind/kernels/block_sad.h"
#include "algorithms/simd/wide.h"

namespace kv_img::featurefind {
namespace {

// The reference stays in a register for several positions.
constexpr std::int32_t positionsAtOnce = KV_NEON ? 8 : 4;
constexpr std::int32_t leastPositions = 2;
/// Two differences a row fit into a 16-bit lane.
constexpr std::int32_t rowsInLane = 128;

/// Adds differences to lanes of 16 bits, or of 64 where the processor adds up eight of them at once.
KV_INLINE Vector AddDifferences(Vector lanes, Vector a, Vector b) {
#if KV_NEON
  const uint8x16_t one = Lanes8(a);
  const uint8x16_t other = Lanes8(b);
  return From(vabal_high_u8(vabal_u8(Lanes16(lanes), vget_low_u8(one), vget_low_u8(other)), one, other));
#else
  return Add32(lanes, SumDifferences(a, b));
#endif
}
KV_INLINE Vector AddTo32(Vector sums, Vector lanes) {
#if KV_NEON
  return From(vpadalq_u16(Lanes32(sums), Lanes16(lanes)));
#else
  return Add32(sums, lanes);
#endif
}

/// Adds the differences of the columns of a register, or of those that are `counted`, at positionsAtOnce positions.
template <bool areAllCounted>
[[gnu::noinline]] void AddColumns(const BlockSad::Args& args, const std::uint8_t* reference,
                                  const std::uint8_t* searched, Vector counted,
                                  Vector (&added)[positionsAtOnce]) {
  const auto load = [counted](const std::uint8_t* bytes) {
    return areAllCounted ? Load(bytes) : And(Load(bytes), counted);
  };
  for (std::int32_t rows = args.rows; rows > 0; rows -= rowsInLane) {
    Vector lanes[positionsAtOnce];
    for (Vector& lane : lanes) lane = Zero();
    for (std::int32_t row = rows < rowsInLane ? rows : rowsInLane; row > 0; --row) {
      const Vector one = load(reference);
      for (std::int32_t position = 0; position < positionsAtOnce; ++position)
        lanes[position] = AddDifferences(lanes[position], one, load(searched + position));
      reference += args.referenceStride;
      searched += args.searchedStride;
    }
    for (std::int32_t position = 0; position < positionsAtOnce; ++position)
      added[position] = AddTo32(added[position], lanes[position]);
  }
}

/// Adds the differences at up to positionsAtOnce positions to the sum of each.
void AddPositions(const BlockSad::Args& args, const std::uint8_t* searched, std::int32_t positions,
                  std::uint32_t* sums) {
  Vector added[positionsAtOnce];
  for (Vector& sum : added) sum = Zero();
  std::int32_t column = 0;
  for (; column + width <= args.columns; column += width)
    AddColumns<true>(args, args.reference + column, searched + column, Zero(), added);
  if (column < args.columns) {
    AddColumns<false>(args, args.reference + column, searched + column, LowestBytes(args.columns - column),
                      added);
  }
  for (std::int32_t position = 0; position < positions; ++position)
    sums[position] = SumOf32(added[position]) + (args.addsToSums ? sums[position] : 0);
}

/// Columns after whole registers that are cheaper one by one, each at a register of positions at once.
constexpr std::int32_t fewColumns = 4;

/// Adds the differences of a few columns from `first` on to the sums.
void AddFewColumns(const BlockSad::Args& args, std::int32_t first) {
  const std::int32_t columns = args.columns - first;
  const std::int32_t rowsInLane = 256 / columns;
  for (std::int32_t position = 0; position < args.positions; position += width) {
    const std::uint8_t* a = args.reference + first;
    const std::uint8_t* b = args.searched + first + position;
    for (std::int32_t rows = args.rows; rows > 0; rows -= rowsInLane) {
      Vector even = Zero();
      Vector odd = Zero();
      for (std::int32_t row = rows < rowsInLane ? rows : rowsInLane; row > 0; --row) {
        for (std::int32_t column = 0; column < columns; ++column) {
          const Vector differences = AbsoluteDifferenceU8(Load(b + column), Set8(a[column]));
          even = Add16(even, LowerBytes16(differences));
          odd = Add16(odd, UpperBytes16(differences));
        }
        a += args.referenceStride;
        b += args.searchedStride;
      }
      std::uint16_t lanes[2][width / 2];
      Store(lanes[0], even);
      Store(lanes[1], odd);
      const std::int32_t left = args.positions - position;
      for (std::int32_t i = 0; i < width && i < left; ++i) args.sums[position + i] += lanes[i % 2][i / 2];
    }
  }
}

}  // namespace
}  // namespace kv_img::featurefind
