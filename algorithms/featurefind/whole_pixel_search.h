#pragma once

#include <algorithm>
#include <cstdint>

#include "algorithms/featurefind/best_match.h"
#include "algorithms/featurefind/kernels/block_sad.h"
#include "algorithms/featurefind/kernels/scores.h"
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
    std::uint32_t sums[sumsAtOnce];
    double means[sumsAtOnce];
    BlockSad::Args block{};
    block.columns = static_cast<std::int32_t>(patch_.Width());
    block.referenceStride = patch_.Samples().Stride();
    block.searchedStride = searched_.Stride();
    block.sums = sums;
    Scores::Args scores{0, sums, patch_.SampleCount(), map != nullptr ? means : nullptr, 0};
    const std::int64_t rowsAtOnce = PositionRowsAtOnce();
    for (std::int64_t y = rows_.first; y <= rows_.last; y += rowsAtOnce) {
      block.positionRows = static_cast<int>(std::min(rows_.last - y + 1, rowsAtOnce));
      for (std::int64_t x = columns_.first; x <= columns_.last; x += positionsAtOnce) {
        block.positions = static_cast<int>(std::min<std::int64_t>(columns_.last - x + 1, positionsAtOnce));
        scores.count = block.positions * block.positionRows;
        SumUp(x, y, best.Limit(), block, scores);
        if (best.IsBeatenBy(scores.least)) {
          const std::uint32_t* const first =
              std::find(sums, sums + scores.count, static_cast<std::uint32_t>(scores.least));
          const std::ptrdiff_t place = first - sums;
          best.Offer(*first, x + place % block.positions, y + place / block.positions);
        }
        if (map == nullptr) continue;
        for (int row = 0; row < block.positionRows; ++row) {
          map->StoreRow(static_cast<int>(x + patch_.OffsetX()), static_cast<int>(y + row + patch_.OffsetY()),
                        {means + row * block.positions, static_cast<std::size_t>(block.positions)});
        }
      }
    }
  }

 private:
  static constexpr int positionsAtOnce = SearchStep<Set>::positions;
  static constexpr int sumsAtOnce = SearchStep<Set>::sums;

  /// Several for a small patch, whose sums are complete in one step anyway: a call costs as much as two positions.
  std::int64_t PositionRowsAtOnce() const {
    const std::int64_t positions = columns_.last - columns_.first + 1;
    if (positions > positionsAtOnce || patch_.Height() > SearchStep<Set>::rows) return 1;
    return std::max<std::int64_t>(sumsAtOnce / std::max<std::int64_t>(positions, 1), 1);
  }

  /// The scores of positions; those that reach `limit` may be incomplete.
  void SumUp(std::int64_t x, std::int64_t y, std::uint64_t limit, BlockSad::Args& block,
             Scores::Args& scores) const {
    if (!patch_.HasSamples()) {
      std::fill_n(block.sums, scores.count, 0U);
      return Judge(scores);
    }
    block.reference = patch_.Samples().At(0, 0);
    block.searched = searched_.At(x - columns_.first, y - rows_.first);
    block.addsToSums = false;
    auto rows = static_cast<std::int32_t>(patch_.Height());
    do {
      block.rows = RowsAtOnce<Set>(rows, limit);
      Set::template Run<BlockSad>(block);
      block.addsToSums = true;
      rows -= block.rows;
      Judge(scores);
    } while (rows > 0 && scores.least < static_cast<std::int64_t>(limit));
  }

  /// One position is not worth a call.
  static void Judge(Scores::Args& scores) {
    if constexpr (positionsAtOnce == 1) {
      scores.least = static_cast<std::int32_t>(*scores.sums);
      if (scores.means != nullptr) *scores.means = static_cast<double>(*scores.sums) / scores.samples;
    } else {
      Set::template Run<Scores>(scores);
    }
  }

  const Patch& patch_;
  PixelRange columns_;
  PixelRange rows_;
  SampleBlock searched_;
};

}  // namespace kv_img::featurefind
