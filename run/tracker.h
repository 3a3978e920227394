#pragma once

#include <limits>
#include <memory>

#include "frame/interfaces/feature_find.h"
#include "image/image.h"

namespace kv_run {

/// When a template is taken anew, from the frame in which the point was just found.
struct TemplateUpdate {
  enum class When { Never, Every, AboveScore };
  When when = When::Never;
  int frames = 1;    ///< Every: after this number of frames.
  double score = 0;  ///< AboveScore: after a match whose score is above it.
};

struct TrackOptions {
  int halfWidth = 16;  ///< Of the template, pixels.
  int halfHeight = 16;
  int rangeX = 16;  ///< How far the point may be from where it is expected, pixels.
  int rangeY = 16;
  int levels = 3;  ///< Between pixels, of steps 1/2, 1/4, 1/8, …; 0: whole pixels.
  TemplateUpdate update = {};
  double maxScore = std::numeric_limits<double>::infinity();  ///< Above it the point is lost.
};

/// Where a point is in a frame.
struct TrackedPoint {
  double x = 0;  ///< Where it was last found, when it is lost.
  double y = 0;
  double score = 0;  ///< Mean absolute difference of luma.
  bool isLost = false;
};

/// Follows one point through a clip with "FeatureFind": whole pixels around where the last motion leads, then between
/// them. A lost point is sought again around where it was last found. One thread at a time.
class Tracker {
 public:
  using Image = kv_img::Image<kv_img::PixelYUV422>;
  using Search = kv_img::FeatureFindAlgorithmInterface<Image>;

  /// `search` has to outlive the tracker. (x, y) is the point in the first frame.
  Tracker(const Search& search, const TrackOptions& options, double x, double y)
      : search_(search), options_(options), x_(x), y_(y) {}

  /// The next frame of a clip of luma-first frames of one size. The first one is where the template comes from. Throws
  /// what FeatureFind throws: the frame has to be three pixels wider and higher than the template.
  TrackedPoint Next(const std::shared_ptr<const Image>& frame);

 private:
  struct Found {
    bool isFound = false;
    double x = 0;
    double y = 0;
    double score = 0;
  };

  void TakeTemplate(const std::shared_ptr<const Image>& frame);
  bool IsDue(double score) const;
  Found SearchAround(const Image& frame, double x, double y) const;
  void Refine(const Image& frame, Found& found) const;

  const Search& search_;
  TrackOptions options_;
  double x_;
  double y_;
  double motionX_ = 0;
  double motionY_ = 0;
  std::shared_ptr<const Image> template_;
  int atX_ = 0;  ///< The template's centre; the point is (offsetX_, offsetY_) from it.
  int atY_ = 0;
  double offsetX_ = 0;
  double offsetY_ = 0;
  int cutX_ = 0;  ///< Columns and rows that the template lacks at the left and above.
  int cutY_ = 0;
  int age_ = 0;  ///< Frames since the template was taken.
};

}  // namespace kv_run
