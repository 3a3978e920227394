#pragma once

#include <algorithm>
#include <cstdint>
#include <limits>

#include "algorithms/featurefind/patch.h"
#include "algorithms/kernel_sets.h"

namespace kv_img::featurefind {

/// No 32-bit sum reaches it.
inline constexpr std::uint64_t unlimited = std::uint64_t{1} << 32;

/// The best position so far; of equal scores the first.
template <class Coordinate>
class BestMatch {
 public:
  /// `x`, `y`: the position until a better one is found. With `needsEverySum` every sum is completed.
  BestMatch(const Patch& patch, Coordinate x, Coordinate y, bool needsEverySum) : x_(x), y_(y) {
    constexpr std::int64_t mostSamples = std::numeric_limits<std::int32_t>::max() / 255;
    mayStopEarly_ = !needsEverySum && patch.SampleCount() <= static_cast<double>(mostSamples);
  }

  /// Sums that reach it cannot win, whatever is added to them. There is no limit for sums that may exceed 31
  /// bits: they are compared as signed values, and a larger one may win again.
  std::uint64_t Limit() const { return mayStopEarly_ ? static_cast<std::uint64_t>(score_) : unlimited; }
  /// Whether a score would be the best.
  bool IsBeatenBy(std::int32_t score) const { return score < score_; }
  void Offer(std::uint32_t sum, Coordinate x, Coordinate y) {
    const auto score = static_cast<std::int32_t>(sum);
    if (score >= score_) return;
    score_ = score;
    x_ = x;
    y_ = y;
  }
  Coordinate X() const { return x_; }
  Coordinate Y() const { return y_; }

 private:
  std::int32_t score_ = std::numeric_limits<std::int32_t>::max();
  bool mayStopEarly_;
  Coordinate x_;
  Coordinate y_;
};

/// What a search gives a kernel per call: adjacent positions, sums of all rows of them, and rows to add up before the
/// sums are compared with the best one.
template <class Set>
struct SearchStep {
  static constexpr int positions = 1;
  static constexpr int sums = 1;
  static constexpr int rows = 8;
};
template <>
struct SearchStep<Widest> {
  static constexpr int positions = 72;
  static constexpr int sums = 4 * positions;
  static constexpr int rows = 16;
};

/// How many of `rows` rows to add up before the sums are compared with `limit`; a few that are left go along. Without
/// a limit, what fits the L1 cache: kernels go down the columns.
template <class Set>
constexpr std::int32_t RowsAtOnce(std::int32_t rows, std::uint64_t limit) {
  const std::int32_t step = limit == unlimited ? 64 : SearchStep<Set>::rows;
  return rows < step + step / 2 ? rows : step;
}

/// Runs a kernel that adds up differences over `rows` rows, a few at a time, until the sum reaches `limit`.
template <class Set, class Kernel>
std::uint32_t SumOfRows(typename Kernel::Args& args, std::int32_t rows, std::uint64_t limit) {
  for (; rows > 0 && args.sum < limit; rows -= args.rows) {
    args.rows = RowsAtOnce<Set>(rows, limit);
    Set::template Run<Kernel>(args);
  }
  return args.sum;
}

}  // namespace kv_img::featurefind
