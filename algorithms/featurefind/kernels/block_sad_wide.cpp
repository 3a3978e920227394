#include "algorithms/featurefind/kernels/block_sad.h"
#include "algorithms/simd/wide.h"

namespace kv_img::featurefind {
namespace {

#if KV_WIDE_LEVEL >= 2
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
#endif

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

#if KV_WIDE_LEVEL >= 1

// Instructions that take the differences of four bytes to four bytes at several places, each place a 16-bit
// lane: a register holds the sums of positionsAtOnce adjacent positions.
constexpr std::int32_t positionsAtOnce = width / 2;
/// Fewer are just as fast one by one.
constexpr std::int32_t leastPositions = width / 8;
/// 64 fours of differences fit into a 16-bit lane.
constexpr std::int32_t foursInLane = 64;
constexpr std::int32_t columnsAtOnce = 128;

/// Searched bytes: every lane of sixteen holds those of its own eight positions and the eight after them.
KV_INLINE Vector Windows(const std::uint8_t* searched) {
#if KV_WIDE_LEVEL >= 2
  return _mm512_permutexvar_epi64(_mm512_setr_epi64(0, 1, 1, 2, 2, 3, 3, 4), Load(searched));
#else
  return _mm256_permute4x64_epi64(Load(searched), 0x94);
#endif
}

/// Differences of four bytes to those at every position; with `second` from four bytes further on.
template <bool second>
KV_INLINE Vector FourDifferences(Vector windows, const std::uint8_t* four) {
  std::uint32_t bytes = 0;
  std::memcpy(&bytes, four, sizeof bytes);
#if KV_WIDE_LEVEL >= 2
  return _mm512_dbsad_epu8(Set32(bytes), windows, second ? 0xE9 : 0x94);
#else
  return _mm256_mpsadbw_epu8(windows, Set32(bytes), second ? 0x24 : 0x00);
#endif
}

/// Differences of one byte to that at every position.
KV_INLINE Vector OneDifference(const std::uint8_t* searched, const std::uint8_t* one) {
  return AbsoluteDifferenceU8(Widen8To16(searched), Set16(*one));
}

/// Differences of up to columnsAtOnce bytes of one row at every position.
KV_INLINE Vector RowDifferences(const std::uint8_t* searched, const std::uint8_t* reference,
                                std::int32_t columns) {
  Vector sums = Zero();
  std::int32_t column = 0;
  for (; column + 8 <= columns; column += 8) {
    const Vector windows = Windows(searched + column);
    sums = Add16(sums, FourDifferences<false>(windows, reference + column));
    sums = Add16(sums, FourDifferences<true>(windows, reference + column + 4));
  }
  // Seven or three columns are a whole four with one that does not count.
  if (columns - column >= 3) {
    const Vector windows = Windows(searched + column);
    sums = Add16(sums, FourDifferences<false>(windows, reference + column));
    column += 4;
    if (columns - column == 3) {
      sums = Add16(sums, FourDifferences<true>(windows, reference + column));
      column += 4;
    }
  }
  if (column > columns) return Sub16(sums, OneDifference(searched + columns, reference + columns));
  for (; column < columns; ++column) sums = Add16(sums, OneDifference(searched + column, reference + column));
  return sums;
}

/// Stores up to `count` lanes, or adds them to what is there.
KV_INLINE void AddTo(std::uint32_t* sums, std::int32_t count, Vector lanes, bool adds) {
  if (count >= width / 4) return Store(sums, adds ? Add32(lanes, Load(sums)) : lanes);
  alignas(64) std::uint32_t lane[width / 4];
  Store(lane, lanes);
  for (std::int32_t i = 0; i < count; ++i) sums[i] = lane[i] + (adds ? sums[i] : 0);
}

/// Adds the differences at up to positionsAtOnce positions to the sum of each.
void AddPositions(const BlockSad::Args& args, const std::uint8_t* searched, std::int32_t positions,
                  std::uint32_t* sums) {
  Vector lower = Zero();
  Vector upper = Zero();
  for (std::int32_t first = 0; first < args.columns; first += columnsAtOnce) {
    const std::int32_t left = args.columns - first;
    const std::int32_t columns = left < columnsAtOnce ? left : columnsAtOnce;
    const std::int32_t rowsInLane = foursInLane / ((columns + 3) / 4);
    const std::uint8_t* a = args.reference + first;
    const std::uint8_t* b = searched + first;
    for (std::int32_t rows = args.rows; rows > 0; rows -= rowsInLane) {
      Vector lane = Zero();
      for (std::int32_t row = rows < rowsInLane ? rows : rowsInLane; row > 0; --row) {
        lane = Add16(lane, RowDifferences(b, a, columns));
        a += args.referenceStride;
        b += args.searchedStride;
      }
      alignas(64) std::uint16_t lanes[positionsAtOnce];
      Store(lanes, lane);
      lower = Add32(lower, Widen16To32(lanes));
      upper = Add32(upper, Widen16To32(lanes + positionsAtOnce / 2));
    }
  }
  AddTo(sums, positions, lower, args.addsToSums);
  AddTo(sums + positionsAtOnce / 2, positions - positionsAtOnce / 2, upper, args.addsToSums);
}

#elif KV_NEON

// The reference stays in a register for several positions.
constexpr std::int32_t positionsAtOnce = 8;
constexpr std::int32_t leastPositions = 2;
/// Two differences a row fit into a 16-bit lane.
constexpr std::int32_t rowsInLane = 128;

/// Adds the differences of the columns of a register, or of those that are `counted`, at positionsAtOnce positions.
template <bool areAllCounted>
KV_INLINE void AddColumns(const BlockSad::Args& args, const std::uint8_t* reference,
                          const std::uint8_t* searched, uint8x16_t counted,
                          uint32x4_t (&added)[positionsAtOnce]) {
  const auto load = [counted](const std::uint8_t* bytes) {
    const uint8x16_t all = vld1q_u8(bytes);
    return areAllCounted ? all : vandq_u8(all, counted);
  };
  for (std::int32_t rows = args.rows; rows > 0; rows -= rowsInLane) {
    uint16x8_t lanes[positionsAtOnce];
    for (uint16x8_t& lane : lanes) lane = vdupq_n_u16(0);
    for (std::int32_t row = rows < rowsInLane ? rows : rowsInLane; row > 0; --row) {
      const uint8x16_t one = load(reference);
      for (std::int32_t position = 0; position < positionsAtOnce; ++position) {
        const uint8x16_t other = load(searched + position);
        const uint16x8_t sum = vabal_u8(lanes[position], vget_low_u8(one), vget_low_u8(other));
        lanes[position] = vabal_high_u8(sum, one, other);
      }
      reference += args.referenceStride;
      searched += args.searchedStride;
    }
    for (std::int32_t position = 0; position < positionsAtOnce; ++position)
      added[position] = vpadalq_u16(added[position], lanes[position]);
  }
}

/// Adds the differences at up to positionsAtOnce positions to the sum of each.
void AddPositions(const BlockSad::Args& args, const std::uint8_t* searched, std::int32_t positions,
                  std::uint32_t* sums) {
  uint32x4_t added[positionsAtOnce];
  for (uint32x4_t& sum : added) sum = vdupq_n_u32(0);
  std::int32_t column = 0;
  for (; column + width <= args.columns; column += width)
    AddColumns<true>(args, args.reference + column, searched + column, Lanes8(Zero()), added);
  if (column < args.columns) {
    AddColumns<false>(args, args.reference + column, searched + column,
                      Lanes8(LowestBytes(args.columns - column)), added);
  }
  for (std::int32_t position = 0; position < positions; ++position)
    sums[position] = vaddvq_u32(added[position]) + (args.addsToSums ? sums[position] : 0);
}

#endif

}  // namespace

template <>
void BlockSad::Run<Wide<level>>(Args& args) noexcept {
  std::int32_t position = 0;
#if KV_WIDE_LEVEL >= 1 || KV_NEON
  while (args.positions - position >= leastPositions) {
    const std::int32_t left = args.positions - position;
    const std::int32_t positions = left < positionsAtOnce ? left : positionsAtOnce;
    AddPositions(args, args.searched + position, positions, args.sums + position);
    position += positions;
  }
#endif
  for (; position < args.positions; ++position) {
    const std::uint32_t before = args.addsToSums ? args.sums[position] : 0;
    args.sums[position] = before + SumAt(args, args.searched + position);
  }
  args.reference += args.rows * args.referenceStride;
  args.searched += args.rows * args.searchedStride;
}

}  // namespace kv_img::featurefind
