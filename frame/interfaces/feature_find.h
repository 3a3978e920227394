#pragma once

#include <cstdint>

#include "frame/interfaces/algorithm_interface.h"
#include "frame/score_maps.h"
#include "frame/spin_barrier.h"

namespace kv_img {

/// "FeatureFind": finds a small template of one image in another by the sum of absolute differences of luma
/// (bitmaps: green).
///
/// The template is the part of image1 up to `hw`, `hh` pixels around `point1`, cut to that image. `result`
/// is where the feature itself is in image2, also when its template was cut; of equal positions the first
/// in reading order. A range without positions leaves it as it was but for the feature's offset in its
/// template. `result` may be the array of either point.
///
/// Throws AlgoMMXException 1 when image2 is not at least two pixels wider and higher than the template
/// (between pixels: three), 3 when memory is short; `result` is then untouched.
///
/// No operation shares the work out: every calling thread makes the whole search and writes result and map,
/// so each thread needs its own, or one thread calls.
template <class ImageType>
class FeatureFindAlgorithmInterface : public UnaryAlgorithm<ImageType> {
 public:
  /// Coarse-to-fine search on a sub-pixel grid. `point1`: the feature in image1; `point2`: centre of the
  /// search in image2; `result`: the match in image2. `hw`, `hh`: half-sizes of the template; ranges and
  /// steps in pixels, steps above 0; `map` may be null.
  virtual void LocateFeatureSubPixel(const ImageType& image1, const ImageType& image2, const double point1[2],
                                     const double point2[2], double result[2], int hw, int hh, double rangeX,
                                     double rangeY, double stepX, double stepY, int levels,
                                     SubPixelScoreMap* map, kv_std::SpinBarrier& barrier,
                                     int threadIndex) const = 0;
  /// Search on whole pixels; `map` may be null.
  virtual void LocateFeature(const ImageType& image1, const ImageType& image2, const int point1[2],
                             const int point2[2], int result[2], int hw, int hh, int rangeX, int rangeY,
                             MatchScoreMap* map, kv_std::SpinBarrier& barrier, int threadIndex) const = 0;
  /// LocateFeature without a map.
  virtual void LocateFeatureNoMap(const ImageType& image1, const ImageType& image2, const int point1[2],
                                  const int point2[2], int result[2], int hw, int hh, int rangeX, int rangeY,
                                  kv_std::SpinBarrier& barrier, int threadIndex) const = 0;
  /// One level of the sub-pixel search; calls itself for the next.
  virtual void RefineFeature(const ImageType& image1, const ImageType& image2, const double point1[2],
                             const double point2[2], double result[2], int hw, int hh, double rangeX,
                             double rangeY, double stepX, double stepY, int level, int levels,
                             SubPixelScoreMap* map, kv_std::SpinBarrier& barrier, int threadIndex) const = 0;
};

}  // namespace kv_img
