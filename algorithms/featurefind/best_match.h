#pragma once

#include <algorithm>
#include <cstdint>
#include <limits>

#include "algorithms/featurefind/patch.h"

namespace kv_img::featurefind {

/// No 32-bit sum reaches it.
inline constexpr std::uint64_t unlimited = std::uint64_t{1} << 32;

/// The best position so far. The first of equal ones stays.
template <class Coordinate>
class BestMatch {
 public:
  /// `x`, `y`: what the position is until a better one is found. With `needsEverySum` no sum is cut short.
  BestMatch(const Patch& patch, Coordinate x, Coordinate y, bool needsEverySum) : x_(x), y_(y) {
    constexpr std::int64_t mostSamples = std::numeric_limits<std::int32_t>::max() / 255;
    mayStopEarly_ = !needsEverySum && patch.SampleCount() <= static_cast<double>(mostSamples);
  }

  /// Sums from here on cannot win, whatever is added to them. Sums that may grow beyond 31 bits have no
  /// limit: they are compared as signed values, and a larger one may win again.
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

/// Rows to add up before a sum is held against `limit`. Without one as many as stay in the nearest cache:
/// kernels go down the columns.
template <class Kernels>
constexpr std::int32_t RowsAtOnce(std::uint64_t limit) {
  return limit == unlimited ? 64 : Kernels::searchRows;
}

/// The least of several sums, as they are compared.
inline std::int32_t LeastScore(const std::uint32_t* sums, int count) {
  std::int32_t least = std::numeric_limits<std::int32_t>::max();
  for (int i = 0; i < count; ++i) least = std::min(least, static_cast<std::int32_t>(sums[i]));
  return least;
}

/// Runs a kernel that adds up differences over `rows` rows, a few at a time, until the sum reaches `limit`.
template <class Kernels, auto kernel, class Args>
std::uint32_t SumOfRows(Args& args, std::int32_t rows, std::uint64_t limit) {
  for (; rows > 0 && args.sum < limit; rows -= args.rows) {
    args.rows = std::min(rows, RowsAtOnce<Kernels>(limit));
    kernel(args);
  }
  return args.sum;
}

}  // namespace kv_img::featurefind
