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

/// Which lines of a frame are searched: all, or those of one field. Between two moments no line is.
struct TrackedLines {
  int step = 1;
  int first = 0;

  static TrackedLines OfField(int firstLine) { return {2, firstLine}; }
  int CountIn(int height) const { return (height - first + step - 1) / step; }
};

/// Where a point is in a frame.
struct TrackedPoint {
  double x = 0;  ///< Where it was last found, when it is lost.
  double y = 0;
  double score = 0;  ///< Mean absolute difference of luma; of bitmaps, green.
  bool isLost = false;
};

/// Follows one point through a clip with "FeatureFind": whole pixels around where the last motion leads, then between
/// them. A lost point is sought again around where it was last found. One thread at a time.
template <class PixelClass>
class Tracker {
 public:
  using Image = kv_img::Image<PixelClass>;
  using Search = kv_img::FeatureFindAlgorithmInterface<Image>;

  /// (x, y) is the point in the first frame. Of a field the template is half as high and so is the range.
  Tracker(const TrackOptions& options, double x, double y, const TrackedLines& lines = {});

  /// The next frame of a clip of one size, or those of its lines that are searched. The first one is where the
  /// template comes from. Throws what FeatureFind throws; nothing has then changed.
  TrackedPoint Next(const Search& search, const Image& frame);

  /// Pixels that a frame of this size has of a template around the point.
  struct Size {
    int width;
    int height;
  };
  Size TemplateIn(int width, int height) const;
  /// By how much a frame has to be wider and higher than the template.
  static constexpr int room = 3;

 private:
  struct Found {
    bool isFound = false;
    double x = 0;
    double y = 0;
    double score = 0;
  };

  TrackedPoint Answer(double score, bool isLost) const;
  void TakeTemplate(const Image& frame);
  bool IsDue(double score) const;
  Found SearchAround(const Search& search, const Image& frame, double x, double y) const;
  void Refine(const Search& search, const Image& frame, Found& found) const;

  TrackOptions options_;
  TrackedLines lines_;
  double x_;
  double y_;
  double motionX_ = 0;
  double motionY_ = 0;
  std::shared_ptr<const Image> template_;
  int atX_ = 0;  ///< The template's centre in its frame; the point is (offsetX_, offsetY_) from it.
  int atY_ = 0;
  double offsetX_ = 0;
  double offsetY_ = 0;
  int cutX_ = 0;  ///< Columns and rows that the template lacks at the left and above.
  int cutY_ = 0;
  int age_ = 0;  ///< Frames since the template was taken.
};

}  // namespace kv_run
