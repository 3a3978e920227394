#pragma once

#include "algorithms/featurefind/kernels/block_sad.h"
#include "algorithms/featurefind/kernels/block_sad_columns.h"
#include "algorithms/simd/wide.h"

namespace kv_img::featurefind {
namespace {

// One instruction adds up the differences of eight bytes in each 64-bit lane. Eight of the reference in every lane, the
// lanes of a register of searched bytes belong to every eighth position: eight registers, each from one byte further
// on, are positionsAtOnce positions.
constexpr std::int32_t positionsAtOnce = width;
/// Fewer are just as fast one by one.
constexpr std::int32_t leastPositions = width / 4;

struct Eights {
  Vector sums[8];

  /// Adds the differences of eight columns of every row, read by `one` and `other`.
  template <class One, class Other>
  KV_INLINE void Add(const BlockSad::Args& args, std::int32_t column, const std::uint8_t* searched, One one,
                     Other other) {
    const std::uint8_t* reference = args.reference + column;
    searched += column;
    for (std::int32_t row = 0; row < args.rows; ++row) {
      std::uint64_t eight = 0;
      std::memcpy(&eight, reference, sizeof eight);
      const Vector bytes = one(Set64(eight));
      for (std::int32_t i = 0; i < 8; ++i)
        sums[i] = Add32(sums[i], SumDifferences(bytes, other(Load(searched + i))));
      reference += args.referenceStride;
      searched += args.searchedStride;
    }
  }

  /// Adds the lanes in the order of their positions.
  KV_INLINE void AddTo(std::uint32_t* to) const {
    Vector pairs[4];
    for (std::int32_t i = 0; i < 4; ++i) pairs[i] = Or(sums[2 * i], ShiftLeft64<32>(sums[2 * i + 1]));
    for (std::int32_t i = 0; i < 2; ++i) {
      AddLanesTo(to + 4 * i, KV_SIMD(unpacklo_epi64)(pairs[2 * i], pairs[2 * i + 1]));
      AddLanesTo(to + 8 + 4 * i, KV_SIMD(unpackhi_epi64)(pairs[2 * i], pairs[2 * i + 1]));
    }
  }
};

/// Adds the differences at up to positionsAtOnce positions to the sum of each.
void AddToBlock(const BlockSad::Args& args, const std::uint8_t* searched, std::int32_t /*positions*/,
                std::uint32_t* sums) {
  const auto all = [](Vector bytes) { return bytes; };
  const std::int32_t whole = args.columns & ~7;
  const std::int32_t rest = args.columns & 7;
  const Vector counted = Set64(rest == 0 ? 0 : ~std::uint64_t{0} >> (64 - 8 * rest));
  const auto some = [counted](Vector bytes) { return And(bytes, counted); };
  Eights eights;
  for (Vector& sum : eights.sums) sum = Zero();
  for (std::int32_t column = 0; column < whole; column += 8) eights.Add(args, column, searched, all, all);
  // Seven columns are eight, the last one of them 0, without the searched bytes of that one.
  if (rest == 7) eights.Add(args, whole, searched, some, all);
  if (rest > 2 && rest < 7) eights.Add(args, whole, searched, some, some);
  eights.AddTo(sums);
  if (rest == 1 || rest == 2) AddFewColumns(args, whole, searched, sums);
  if (rest == 7) {
    AddColumns<true>(args, args.columns, 1, searched, sums,
                     [](Vector bytes, const std::uint8_t* /*reference*/) { return bytes; });
  }
}

}  // namespace
}  // namespace kv_img::featurefind
