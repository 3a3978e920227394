#pragma once

#include "algorithms/featurefind/kernels/block_sad.h"
#include "algorithms/simd/wide.h"

namespace kv_img::featurefind {
namespace {

/// Adds to sums that are 16 apart those of every lane of 16 bytes.
KV_INLINE void AddLanesTo(std::uint32_t* sums, Vector lanes) {
#if KV_WIDE_LEVEL >= 1 && !KV_NEON
  Store128(sums, _mm_add_epi32(Load128(sums), _mm256_castsi256_si128(lanes)));
  Store128(sums + 16, _mm_add_epi32(Load128(sums + 16), _mm256_extracti128_si256(lanes, 1)));
#else
  Store(sums, Add32(Load(sums), lanes));
#endif
}

/// Adds up, over all rows, what `bytes` makes of the searched bytes of each column and of the reference byte there, and
/// adds it to the sums of `width` positions, or takes it off. `columns`: 1 to 256.
template <bool takesOff, class Bytes>
KV_INLINE void AddColumns(const BlockSad::Args& args, std::int32_t first, std::int32_t columns,
                          const std::uint8_t* searched, std::uint32_t* sums, Bytes bytes) {
  const std::int32_t rowsInLane = 256 / columns;
  const std::uint8_t* reference = args.reference + first;
  searched += first;
  for (std::int32_t rows = args.rows; rows > 0; rows -= rowsInLane) {
    Vector even = Zero();
    Vector odd = Zero();
    for (std::int32_t row = rows < rowsInLane ? rows : rowsInLane; row > 0; --row) {
      for (std::int32_t column = 0; column < columns; ++column) {
        const Vector some = bytes(Load(searched + column), reference + column);
        even = Add16(even, LowerBytes16(some));
        odd = Add16(odd, UpperBytes16(some));
      }
      reference += args.referenceStride;
      searched += args.searchedStride;
    }
    const Vector eights[] = {KV_SIMD(unpacklo_epi16)(even, odd), KV_SIMD(unpackhi_epi16)(even, odd)};
    for (std::int32_t i = 0; i < 2; ++i) {
      const Vector fours[] = {KV_SIMD(unpacklo_epi16)(eights[i], Zero()),
                              KV_SIMD(unpackhi_epi16)(eights[i], Zero())};
      for (std::int32_t j = 0; j < 2; ++j)
        AddLanesTo(sums + 8 * i + 4 * j, takesOff ? Sub32(Zero(), fours[j]) : fours[j]);
    }
  }
}

/// Adds the differences of a few columns, `first` and those after it, at `width` positions.
KV_INLINE void AddFewColumns(const BlockSad::Args& args, std::int32_t first, const std::uint8_t* searched,
                             std::uint32_t* sums) {
  AddColumns<false>(args, first, args.columns - first, searched, sums,
                    [](Vector bytes, const std::uint8_t* reference) {
                      return AbsoluteDifferenceU8(bytes, Set8(*reference));
                    });
}

}  // namespace
}  // namespace kv_img::featurefind
