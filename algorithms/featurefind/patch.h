#pragma once

#include <algorithm>
#include <cstdint>

#include "algorithms/featurefind/samples.h"

namespace kv_img::featurefind {

/// The samples around a feature, clipped to the image: what a search looks for.
///
/// A patch completely outside its image, or with negative half-sizes, has no samples: it matches everything,
/// and its width or height is 0 or less.
class Patch {
 public:
  /// Of an image of this size; the samples are not read yet.
  Patch(std::int64_t imageWidth, std::int64_t imageHeight, std::int64_t featureX, std::int64_t featureY,
        int halfWidth, int halfHeight)
      : left_(std::max<std::int64_t>(featureX - halfWidth, 0)),
        top_(std::max<std::int64_t>(featureY - halfHeight, 0)),
        width_(std::min(featureX + halfWidth, imageWidth - 1) - left_ + 1),
        height_(std::min(featureY + halfHeight, imageHeight - 1) - top_ + 1),
        offsetX_(featureX - left_),
        offsetY_(featureY - top_) {}

  template <class Reader>
  void ReadSamples(const Reader& reader) {
    if (!HasSamples()) return;
    samples_ = SampleBlock(reader, static_cast<int>(left_), static_cast<int>(top_), static_cast<int>(width_),
                           static_cast<int>(height_));
  }

  bool HasSamples() const { return width_ > 0 && height_ > 0; }
  std::int64_t Width() const { return width_; }
  std::int64_t Height() const { return height_; }
  /// Position of the feature in the patch, from its top left corner.
  std::int64_t OffsetX() const { return offsetX_; }
  std::int64_t OffsetY() const { return offsetY_; }
  const SampleBlock& Samples() const { return samples_; }

  /// Width times height, even if they are 0 or less.
  double SampleCount() const { return static_cast<double>(width_) * static_cast<double>(height_); }
  /// The score that maps record: mean absolute difference per pixel. NaN if there are no pixels.
  double MeanOf(std::uint32_t sum) const { return static_cast<double>(sum) / SampleCount(); }

 private:
  std::int64_t left_;
  std::int64_t top_;
  std::int64_t width_;
  std::int64_t height_;
  std::int64_t offsetX_;
  std::int64_t offsetY_;
  SampleBlock samples_;
};

}  // namespace kv_img::featurefind
