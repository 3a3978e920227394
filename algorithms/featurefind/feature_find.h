#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <new>

#include "algorithms/featurefind/best_match.h"
#include "algorithms/featurefind/patch.h"
#include "algorithms/featurefind/sub_pixel_search.h"
#include "algorithms/featurefind/whole_pixel_search.h"
#include "algorithms/kernel_sets.h"
#include "frame/interfaces/feature_find.h"
#include "frame/member_name.h"
#include "frame/platform/platform.h"
#include "image/image.h"

namespace kv_img {

/// The exhaustive search. The samples of the patch and of the searched area are gathered once per call,
/// because every position reads them again.
template <class Set, class ImageType>
class FeatureFind : public FeatureFindAlgorithmInterface<ImageType> {
 public:
  void LocateFeatureSubPixel(const ImageType& image1, const ImageType& image2, const double point1[2],
                             const double point2[2], double result[2], int hw, int hh, double rangeX,
                             double rangeY, double stepX, double stepY, int levels, SubPixelScoreMap* map,
                             kv_std::SpinBarrier& barrier, int threadIndex) const override {
    const double fracX = std::fmod(point1[0], 1.0);
    const double fracY = std::fmod(point1[1], 1.0);
    if (map != nullptr) map->SetFractions(fracX, fracY);
    RefineFeature(image1, image2, point1, point2, result, hw, hh, rangeX, rangeY, stepX, stepY, 0,
                  std::max(levels, 1), map, barrier, threadIndex);
    result[0] += fracX;
    result[1] += fracY;
  }

  void LocateFeature(const ImageType& image1, const ImageType& image2, const int point1[2],
                     const int point2[2], int result[2], int hw, int hh, int rangeX, int rangeY,
                     MatchScoreMap* map, kv_std::SpinBarrier& /*barrier*/,
                     int /*threadIndex*/) const override {
    WithMemory([&] {
      Patch patch = PatchOf(image1, point1[0], point1[1], hw, hh);
      // The last column and the last row are never compared.
      const Limits limits = LimitsOf(image2, patch, 1);
      patch.ReadSamples(Reader(image1.GetPixelBuffer()));
      const auto columns = PixelRange::Around(std::int64_t{point2[0]} - hw, rangeX, limits.x);
      const auto rows = PixelRange::Around(std::int64_t{point2[1]} - hh, rangeY, limits.y);
      if (map != nullptr) {
        map->Reset({static_cast<int>(patch.OffsetX() + columns.first),
                    static_cast<int>(patch.OffsetY() + rows.first),
                    static_cast<int>(patch.OffsetX() + columns.last),
                    static_cast<int>(patch.OffsetY() + rows.last)});
      }
      featurefind::BestMatch<std::int64_t> best(patch, result[0], result[1], map != nullptr);
      featurefind::WholePixelSearch<Set, ImageType>(patch, image2, columns, rows).Run(best, map);
      result[0] = static_cast<int>(best.X() + patch.OffsetX());
      result[1] = static_cast<int>(best.Y() + patch.OffsetY());
    });
  }

  void LocateFeatureNoMap(const ImageType& image1, const ImageType& image2, const int point1[2],
                          const int point2[2], int result[2], int hw, int hh, int rangeX, int rangeY,
                          kv_std::SpinBarrier& barrier, int threadIndex) const override {
    LocateFeature(image1, image2, point1, point2, result, hw, hh, rangeX, rangeY, nullptr, barrier,
                  threadIndex);
  }

  void RefineFeature(const ImageType& image1, const ImageType& image2, const double point1[2],
                     const double point2[2], double result[2], int hw, int hh, double rangeX, double rangeY,
                     double stepX, double stepY, int level, int levels, SubPixelScoreMap* map,
                     kv_std::SpinBarrier& /*barrier*/, int /*threadIndex*/) const override {
    WithMemory([&] {
      Patch patch = PatchOf(image1, static_cast<int>(std::floor(point1[0])),
                            static_cast<int>(std::floor(point1[1])), hw, hh);
      // One less than for whole pixels: interpolation reads the pixel to the right and the row below.
      const Limits limits = LimitsOf(image2, patch, 2);
      patch.ReadSamples(Reader(image1.GetPixelBuffer()));
      double centreX = point2[0];
      double centreY = point2[1];
      // A later level may find no memory: the result is written when all have come to an end.
      double found[2] = {result[0], result[1]};
      std::int64_t pass = level;
      do {
        const auto columns = StepRange::Around(centreX, hw, rangeX, stepX, static_cast<double>(limits.x));
        const auto rows = StepRange::Around(centreY, hh, rangeY, stepY, static_cast<double>(limits.y));
        SearchSteps(patch, image2, columns, rows, limits, found, map);
        // The next level: around the match just found, with half the range, half the step and no map.
        centreX = found[0];
        centreY = found[1];
        rangeX = columns.range / 2;
        rangeY = rows.range / 2;
        stepX /= 2;
        stepY /= 2;
        map = nullptr;
      } while (++pass < levels);
      result[0] = found[0];
      result[1] = found[1];
    });
  }

 private:
  using Patch = featurefind::Patch;
  using PixelRange = featurefind::PixelRange;
  using Reader = featurefind::SampleReader<Set, ImageType>;
  using StepRange = featurefind::StepRange;

  struct Limits {
    std::int64_t x;
    std::int64_t y;
  };

  static Patch PatchOf(const ImageType& image, int x, int y, int hw, int hh) {
    const auto& buffer = image.GetPixelBuffer();
    return Patch(buffer.width, buffer.height, x, y, hw, hh);
  }

  /// The last top left corner with `margin` pixels of the image right of and below the patch. At least
  /// corners 0 and 1 must be possible.
  static Limits LimitsOf(const ImageType& image, const Patch& patch, int margin) {
    const auto& buffer = image.GetPixelBuffer();
    const Limits limits{buffer.width - patch.Width() - margin, buffer.height - patch.Height() - margin};
    if (limits.x < 1 || limits.y < 1) Refuse<Set>(1, L"FeatureFind");
    return limits;
  }

  static void SearchSteps(const Patch& patch, const ImageType& image, const StepRange& columns,
                          const StepRange& rows, const Limits& limits, double result[2],
                          SubPixelScoreMap* map) {
    const auto offsetX = static_cast<double>(patch.OffsetX());
    const auto offsetY = static_cast<double>(patch.OffsetY());
    if (map != nullptr) {
      map->Reset({offsetX + columns.first, offsetY + rows.first, offsetX + columns.last, offsetY + rows.last},
                 columns.step, rows.step);
    }
    featurefind::BestMatch<double> best(patch, result[0], result[1], map != nullptr);
    featurefind::SubPixelSearch<Set, ImageType>(patch, image, columns, rows, limits.x, limits.y)
        .Run(best, map);
    result[0] = best.X() + offsetX;
    result[1] = best.Y() + offsetY;
  }

  /// Runs `search`; turns std::bad_alloc into an exception of the family.
  template <class Search>
  static void WithMemory(Search search) {
    kv_platform::ClearSimdState();
    try {
      search();
    } catch (const std::bad_alloc&) {
      Refuse<Set>(3, L"FeatureFind");
    }
  }
};

template <class ImageType>
class FeatureFindC final : public FeatureFind<Scalar, ImageType> {};

template <class ImageType>
class FeatureFindMMX final : public FeatureFind<Mmx, ImageType> {};

template <class ImageType>
class FeatureFindSSE2 final : public FeatureFind<Widest, ImageType> {};

template <class ImageType>
class FeatureFindNEON final : public FeatureFind<Widest, ImageType> {};

}  // namespace kv_img
