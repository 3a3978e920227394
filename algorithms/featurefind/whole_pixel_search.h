#pragma once

#include <algorithm>
#include <cstdint>

#include "algorithms/featurefind/best_match.h"
#include "algorithms/featurefind/kernels/block_sad.h"
#include "algorithms/featurefind/patch.h"
#include "algorithms/featurefind/samples.h"
#include "algorithms/kernel_sets.h"
#include "frame/score_maps.h"

namespace kv_img::featurefind {

/// Positions along one axis, both ends included; none when last < first.
struct PixelRange {
  std::int64_t first;
  std::int64_t last;

  /// Up to `range` around `middle`, clamped to 0 to `limit`.
  static PixelRange Around(std::int64_t middle, int range, std::int64_t limit) {
    return {std::max<std::int64_t>(middle - range, 0), std::min(middle + range, limit)};
  }
  bool IsEmpty() const { return last < first; }
};

/// Tries the patch at every top left corner, row by row.
template <class Set, class ImageType>
class WholePixelSearch {
 public:
  WholePixelSearch(const Patch& patch, const ImageType& image, const PixelRange& columns,
                   const PixelRange& rows)
      : patch_(patch), columns_(columns), rows_(rows) {
    if (columns.IsEmpty() || rows.IsEmpty() || !patch.HasSamples()) return;
    searched_ = SampleBlock(SampleReader<Set, ImageType>(image.GetPixelBuffer()),
                            static_cast<int>(columns.first), static_cast<int>(rows.first),
                            static_cast<int>(columns.last - columns.first + patch.Width()),
                            static_cast<int>(rows.last - rows.first + patch.Height()));
  }

  /// Stores the best position in `best` and the score of every position in `map`, if there is one.
  void Run(BestMatch<std::int64_t>& best, MatchScoreMap* map) const {
    for (std::int64_t y = rows_.first; y <= rows_.last; ++y) {
      for (std::int64_t x = columns_.first; x <= columns_.last; x += positionsAtOnce) {
        const auto positions =
            static_cast<int>(std::min<std::int64_t>(columns_.last - x + 1, positionsAtOnce));
        std::uint32_t sums[positionsAtOnce];
        std::fill_n(sums, positions, 0U);
        SumUp(x, y, positions, best.Limit(), sums);
        if (best.IsBeatenBy(LeastScore(sums, positions))) {
          for (int position = 0; position < positions; ++position)
            best.Offer(sums[position], x + position, y);
        }
        if (map != nullptr) {
          double means[positionsAtOnce];
          for (int position = 0; position < positions; ++position) {
            means[position] = patch_.MeanOf(sums[position]);
          }
          map->StoreRow(static_cast<int>(x + patch_.OffsetX()), static_cast<int>(y + patch_.OffsetY()),
                        {means, static_cast<std::size_t>(positions)});
        }
      }
    }
  }

 private:
  static constexpr int positionsAtOnce = SearchStep<Set>::positions;

  /// The sums of adjacent positions; those that reach `limit` may be incomplete.
  void SumUp(std::int64_t x, std::int64_t y, int positions, std::uint64_t limit, std::uint32_t* sums) const {
    if (!patch_.HasSamples()) return;
    BlockSad::Args args{};
    args.columns = static_cast<std::int32_t>(patch_.Width());
    args.positions = positions;
    args.sums = sums;
    args.reference = patch_.Samples().At(0, 0);
    args.referenceStride = patch_.Samples().Stride();
    args.searched = searched_.At(x - columns_.first, y - rows_.first);
    args.searchedStride = searched_.Stride();
    auto rows = static_cast<std::int32_t>(patch_.Height());
    const auto mayStillWin = [&] {
      return limit == unlimited || LeastScore(sums, positions) < static_cast<std::int64_t>(limit);
    };
    for (; rows > 0 && mayStillWin(); rows -= args.rows) {
      args.rows = std::min(rows, RowsAtOnce<Set>(limit));
      Set::template Run<BlockSad>(args);
    }
  }

  const Patch& patch_;
  PixelRange columns_;
  PixelRange rows_;
  SampleBlock searched_;
};

}  // namespace kv_img::featurefind
