#pragma once

#include "algorithms/featurefind/kernels/block_sad.h"
#include "algorithms/simd/wide.h"

namespace kv_img::featurefind {
namespace {

// One instruction takes the differences of four bytes to four bytes at several places, each place a 16-bit lane: a
// register holds the sums of positionsAtOnce adjacent positions.
constexpr std::int32_t positionsAtOnce = width / 2;
/// Fewer are just as fast one by one.
constexpr std::int32_t leastPositions = width / 8;
/// 64 fours of differences fit into a 16-bit lane.
constexpr std::int32_t foursInLane = 64;
constexpr std::int32_t columnsAtOnce = 128;

/// Searched bytes: every lane of sixteen holds those of its own eight positions and the eight after them.
KV_INLINE Vector Windows(const std::uint8_t* searched) {
  return _mm512_permutexvar_epi64(_mm512_setr_epi64(0, 1, 1, 2, 2, 3, 3, 4), Load(searched));
}

/// Differences of four bytes to those at every position; with `second` from four bytes further on. Of fewer `columns`
/// than four the last ones are taken for 0.
template <bool second, std::int32_t columns = 4>
KV_INLINE Vector FourDifferences(Vector windows, const std::uint8_t* four) {
  std::uint32_t bytes = 0;
  std::memcpy(&bytes, four, sizeof bytes);
  bytes &= 0xFFFFFFFF >> (32 - 8 * columns);
  return _mm512_dbsad_epu8(Set32(bytes), windows, second ? 0xE9 : 0x94);
}

/// Differences of one byte to that at every position.
KV_INLINE Vector OneDifference(const std::uint8_t* searched, const std::uint8_t* one) {
  return _mm512_abs_epi16(Sub16(Widen8To16(searched), Set16(*one)));
}

/// Differences of up to seven columns at every position.
template <std::int32_t columns>
KV_INLINE Vector FewDifferences(const std::uint8_t* searched, const std::uint8_t* reference) {
  // Seven or three columns are a whole four without its last one.
  constexpr std::int32_t inFours = (columns + 1) / 4 * 4;
  constexpr std::int32_t inLastFour = columns < inFours ? 3 : 4;
  Vector sums = Zero();
  if constexpr (inFours > 0) {
    const Vector windows = Windows(searched);
    sums = FourDifferences<false, (inFours > 4 ? 4 : inLastFour)>(windows, reference);
    if constexpr (inFours > 4) sums = Add16(sums, FourDifferences<true, inLastFour>(windows, reference + 4));
  }
  if constexpr (columns < inFours) return Sub16(sums, Widen8To16(searched + columns));
  for (std::int32_t column = inFours; column < columns; ++column)
    sums = Add16(sums, OneDifference(searched + column, reference + column));
  return sums;
}

/// Differences at positionsAtOnce positions.
struct Positions {
  Vector lower = Zero();
  Vector upper = Zero();

  KV_INLINE void Add(Vector lanes) {
    lower = Add32(lower, _mm512_cvtepu16_epi32(_mm512_castsi512_si256(lanes)));
    upper = Add32(upper, _mm512_cvtepu16_epi32(_mm512_extracti64x4_epi64(lanes, 1)));
  }

  /// Adds those of `eights` times eight columns and of `rest` more, of columnsAtOnce at most.
  template <std::int32_t rest>
  KV_INLINE void AddColumns(const BlockSad::Args& args, const std::uint8_t* reference,
                            const std::uint8_t* searched, std::int32_t eights) {
    const std::int32_t rowsInLane = foursInLane / (2 * eights + (rest + 3) / 4);
    for (std::int32_t rows = args.rows; rows > 0; rows -= rowsInLane) {
      Vector lanes = Zero();
      for (std::int32_t row = rows < rowsInLane ? rows : rowsInLane; row > 0; --row) {
        for (std::int32_t column = 0; column < 8 * eights; column += 8) {
          const Vector windows = Windows(searched + column);
          lanes = Add16(lanes, FourDifferences<false>(windows, reference + column));
          lanes = Add16(lanes, FourDifferences<true>(windows, reference + column + 4));
        }
        lanes = Add16(lanes, FewDifferences<rest>(searched + 8 * eights, reference + 8 * eights));
        reference += args.referenceStride;
        searched += args.searchedStride;
      }
      Add(lanes);
    }
  }
};

/// Stores up to `count` lanes, or adds them to what is there.
KV_INLINE void AddTo(std::uint32_t* sums, std::int32_t count, Vector lanes, bool adds) {
  if (count >= width / 4) return Store(sums, adds ? Add32(lanes, Load(sums)) : lanes);
  alignas(64) std::uint32_t lane[width / 4];
  Store(lane, lanes);
  for (std::int32_t i = 0; i < count; ++i) sums[i] = lane[i] + (adds ? sums[i] : 0);
}

/// Adds the differences at up to positionsAtOnce positions to the sum of each.
template <std::int32_t rest>
void AddPositions(const BlockSad::Args& args, const std::uint8_t* searched, std::int32_t positions,
                  std::uint32_t* sums) {
  Positions added;
  std::int32_t first = 0;
  for (; args.columns - first > columnsAtOnce; first += columnsAtOnce)
    added.AddColumns<0>(args, args.reference + first, searched + first, columnsAtOnce / 8);
  added.AddColumns<rest>(args, args.reference + first, searched + first, (args.columns - first) / 8);
  AddTo(sums, positions, added.lower, args.addsToSums);
  AddTo(sums + positionsAtOnce / 2, positions - positionsAtOnce / 2, added.upper, args.addsToSums);
}

void AddPositions(const BlockSad::Args& args, const std::uint8_t* searched, std::int32_t positions,
                  std::uint32_t* sums) {
  constexpr void (*byRest[])(const BlockSad::Args&, const std::uint8_t*, std::int32_t, std::uint32_t*) = {
      AddPositions<0>, AddPositions<1>, AddPositions<2>, AddPositions<3>,
      AddPositions<4>, AddPositions<5>, AddPositions<6>, AddPositions<7>};
  byRest[args.columns % 8](args, searched, positions, sums);
}

/// One position of a block of up to 32 columns, half a register.
std::uint32_t SumOfNarrow(const BlockSad::Args& args, const std::uint8_t* searched) {
  const __mmask32 counted = ~__mmask32{0} >> (width / 2 - args.columns);
  const auto differences = [counted](const std::uint8_t* a, const std::uint8_t* b) {
    return _mm256_sad_epu8(_mm256_maskz_loadu_epi8(counted, a), _mm256_maskz_loadu_epi8(counted, b));
  };
  const std::uint8_t* reference = args.reference;
  __m256i sums = _mm256_setzero_si256();
  for (std::int32_t row = 0; row < args.rows; ++row) {
    sums = _mm256_add_epi32(sums, differences(reference, searched));
    reference += args.referenceStride;
    searched += args.searchedStride;
  }
  const __m128i halves = _mm_add_epi32(_mm256_castsi256_si128(sums), _mm256_extracti128_si256(sums, 1));
  return static_cast<std::uint32_t>(_mm_cvtsi128_si32(_mm_add_epi32(halves, _mm_srli_si128(halves, 8))));
}

}  // namespace
}  // namespace kv_img::featurefind
