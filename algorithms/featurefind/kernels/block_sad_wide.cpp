#include "algorithms/featurefind/kernels/block_sad.h"
#include "algorithms/simd/wide.h"
#if KV_NEON
#include "algorithms/featurefind/kernels/block_sad_neon.h"
#elif KV_WIDE_LEVEL <= 1
#include "algorithms/featurefind/kernels/block_sad_eights.h"
#else
#include "algorithms/featurefind/kernels/block_sad_fours.h"
#endif

namespace kv_img::featurefind {
namespace {

/// One position, eight differences to a 64-bit sum.
std::uint32_t SumAt(const BlockSad::Args& args, const std::uint8_t* searched) {
#if KV_WIDE_LEVEL >= 2
  if (args.columns > 0 && args.columns <= width / 2) return SumOfNarrow(args, searched);
#endif
  Vector sums = Zero();
  for (std::int32_t column = 0; column < args.columns; column += width) {
    const Vector counted = LowestBytes(args.columns - column);
    const std::uint8_t* a = args.reference + column;
    const std::uint8_t* b = searched + column;
    for (std::int32_t row = 0; row < args.rows; ++row) {
      sums = Add32(sums, SumDifferences(And(Load(a), counted), And(Load(b), counted)));
      a += args.referenceStride;
      b += args.searchedStride;
    }
  }
  return SumOf32(sums);
}

#if KV_WIDE_LEVEL <= 1
/// Stores the sums of up to positionsAtOnce positions, or adds to them.
void AddPositions(const BlockSad::Args& args, const std::uint8_t* searched, std::int32_t positions,
                  std::uint32_t* sums) {
  std::uint32_t some[positionsAtOnce];
  std::uint32_t* const block = positions < positionsAtOnce ? some : sums;
  const auto count = sizeof *sums * static_cast<std::size_t>(positions);
  if (!args.addsToSums) std::memset(block, 0, sizeof some);
  if (args.addsToSums && block == some) std::memcpy(some, sums, count);
  AddToBlock(args, searched, positions, block);
  if (block == some) std::memcpy(sums, some, count);
}
#endif

/// Stores the sum at every position of a row of them, or adds to it.
void SumUp(const BlockSad::Args& args, const std::uint8_t* searched, std::uint32_t* sums) {
  std::int32_t position = 0;
  while (args.columns > 0 && args.positions - position >= leastPositions) {
    const std::int32_t left = args.positions - position;
    const std::int32_t positions = left < positionsAtOnce ? left : positionsAtOnce;
    AddPositions(args, searched + position, positions, sums + position);
    position += positions;
  }
  for (; position < args.positions; ++position)
    sums[position] = (args.addsToSums ? sums[position] : 0) + SumAt(args, searched + position);
}

}  // namespace

template <>
void BlockSad::Run<Wide<level>>(Args& args) noexcept {
  for (std::int32_t row = 0; row < args.positionRows; ++row)
    SumUp(args, args.searched + row * args.searchedStride, args.sums + row * args.positions);
  args.reference += args.rows * args.referenceStride;
  args.searched += args.rows * args.searchedStride;
}

}  // namespace kv_img::featurefind
