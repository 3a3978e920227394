#include "algorithms/featurefind/kernels/bilinear_sad.h"
#include "algorithms/simd/wide.h"

namespace kv_img::featurefind {
namespace {

/// Rows whose differences, at most 255 each, fit into signed 16-bit lanes.
constexpr std::int32_t rowsInLanes = 128;

/// A weight in every lane, split so that the product of a byte with either part fits into 16 bits.
struct SplitWeight {
  Vector high;
  Vector low;

  explicit SplitWeight(std::uint16_t weight) : high(Set16(weight >> 8)), low(Set16(weight & 0xFF)) {}
};

/// A weighted sum in 1/256, at most 65280 with the half that rounds it, and what was cut off its terms.
struct WeightedSum {
  Vector sum = Set16(128);
  Vector cut = Zero();

  KV_INLINE void Add(Vector samples, const SplitWeight& weight) {
    const Vector fine = Multiply16(samples, weight.low);
    sum = Add16(sum, Multiply16(samples, weight.high));
    sum = Add16(sum, UpperBytes16(fine));
    cut = Add16(cut, LowerBytes16(fine));
  }
  /// Four terms, each cut to 1/256.
  KV_INLINE Vector Truncated() const { return UpperBytes16(sum); }
  /// The sum of the terms, cut once.
  KV_INLINE Vector Rounded() const { return UpperBytes16(Add16(sum, UpperBytes16(cut))); }
};

struct Weights {
  SplitWeight topLeft;
  SplitWeight topRight;
  SplitWeight bottomLeft;
  SplitWeight bottomRight;

  explicit Weights(const BilinearWeights& weights)
      : topLeft(weights.topLeft),
        topRight(weights.topRight),
        bottomLeft(weights.bottomLeft),
        bottomRight(weights.bottomRight) {}
};

/// The differences of a register of columns of every row, in 32-bit lanes. Columns with ones in `truncated`
/// are truncated, the others rounded; those without ones in `counted` do not count.
KV_INLINE Vector AddColumns(const BilinearSad::Args& args, const Weights& weights, std::ptrdiff_t column,
                            Vector truncated, Vector counted) {
  const std::uint8_t* reference = args.reference + column;
  const std::uint8_t* searched = args.searched + column;
  Vector sums = Zero();
  Vector left = Widen8To16(searched);
  Vector right = Widen8To16(searched + 1);
  for (std::int32_t rows = args.rows; rows > 0; rows -= rowsInLanes) {
    Vector differences = Zero();
    for (std::int32_t row = rows < rowsInLanes ? rows : rowsInLanes; row > 0; --row) {
      WeightedSum sum;
      sum.Add(left, weights.topLeft);
      sum.Add(right, weights.topRight);
      searched += args.searchedStride;
      left = Widen8To16(searched);
      right = Widen8To16(searched + 1);
      sum.Add(left, weights.bottomLeft);
      sum.Add(right, weights.bottomRight);
      const Vector sample = Select(truncated, sum.Rounded(), sum.Truncated());
      differences = Add16(differences, AbsoluteDifferenceU8(sample, Widen8To16(reference)));
      reference += args.referenceStride;
    }
    sums = Add32(sums, MultiplyAdd16(And(differences, counted), Set16(1)));
  }
  return sums;
}

}  // namespace

template <>
void BilinearSad::Run<Wide<level>>(Args& args) noexcept {
  const Weights weights(args.weights);
  Vector sums = Zero();
  if (args.rows > 0) {
    for (std::int32_t column = 0; column < args.columns; column += width / 2) {
      sums = Add32(sums, AddColumns(args, weights, column, LowestLanes16(args.truncatedColumns - column),
                                    LowestLanes16(args.columns - column)));
    }
  }
  args.reference += args.rows * args.referenceStride;
  args.searched += args.rows * args.searchedStride;
  args.sum += SumOf32(sums);
}

}  // namespace kv_img::featurefind
