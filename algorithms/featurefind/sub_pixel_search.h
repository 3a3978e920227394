#pragma once

#include <cstdint>

#include "algorithms/featurefind/best_match.h"
#include "algorithms/featurefind/interpolation.h"
#include "algorithms/featurefind/patch.h"
#include "algorithms/featurefind/samples.h"
#include "algorithms/featurefind/step_range.h"
#include "frame/score_maps.h"

namespace kv_img::featurefind {

/// Tries the patch at every top left corner of a grid, row by row.
template <class Set, class ImageType>
class SubPixelSearch {
 public:
  /// `limitX`, `limitY`: the last positions at which the patch, its right neighbours and the row below are
  /// inside the image with a pixel to spare.
  SubPixelSearch(const Patch& patch, const ImageType& image, const StepRange& columns, const StepRange& rows,
                 std::int64_t limitX, std::int64_t limitY)
      : patch_(patch), columns_(columns), rows_(rows) {
    if (columns.IsEmpty() || rows.IsEmpty() || !patch.HasSamples()) return;
    pixelsX_ = StepPixels(columns, limitX + 1);
    pixelsY_ = StepPixels(rows, limitY + 1);
    searched_ =
        SampleBlock(SampleReader<Set, ImageType>(image.GetPixelBuffer()), pixelsX_.first, pixelsY_.first,
                    static_cast<int>(pixelsX_.last - pixelsX_.first + patch.Width()) + 1,
                    static_cast<int>(pixelsY_.last - pixelsY_.first + patch.Height()) + 1);
  }

  /// Stores the best position in `best` and the score of every position in `map`, if there is one.
  void Run(BestMatch<double>& best, SubPixelScoreMap* map) const {
    const auto offsetX = static_cast<double>(patch_.OffsetX());
    const auto offsetY = static_cast<double>(patch_.OffsetY());
    rows_.ForEach([&](double y) {
      columns_.ForEach([&](double x) {
        if (!CanRead(x, y)) return;
        const std::uint32_t sum = SumAt(x, y, best.Limit());
        best.Offer(sum, x, y);
        if (map != nullptr) map->Store(x + offsetX, y + offsetY, patch_.MeanOf(sum));
      });
    });
  }

 private:
  bool CanRead(double x, double y) const {
    return !patch_.HasSamples() || (pixelsX_.Hold(x) && pixelsY_.Hold(y));
  }

  std::uint32_t SumAt(double x, double y, std::uint64_t limit) const {
    if (!patch_.HasSamples()) return 0;
    const std::uint8_t* searched =
        searched_.At(static_cast<int>(x) - pixelsX_.first, static_cast<int>(y) - pixelsY_.first);
    return InterpolatedSad<Set, ImageType>::Sum(patch_, searched, searched_.Stride(), Fractions(x, y), limit);
  }

  const Patch& patch_;
  StepRange columns_;
  StepRange rows_;
  StepPixels pixelsX_;
  StepPixels pixelsY_;
  SampleBlock searched_;
};

}  // namespace kv_img::featurefind
