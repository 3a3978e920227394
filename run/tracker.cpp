#include "run/tracker.h"

#include <algorithm>
#include <cmath>

namespace kv_run {
namespace {

/// The pixel nearest to `at`.
int Nearest(double at, int size) {
  return std::clamp(static_cast<int>(std::lround(at)), 0, size - 1);
}

/// Pixels of one dimension that a template around `at` has inside the picture.
int PartOf(int at, int half, int size) {
  return std::min(at + half, size - 1) - std::max(at - half, 0) + 1;
}

}  // namespace

template <class PixelClass>
Tracker<PixelClass>::Tracker(const TrackOptions& options, double x, double y, const TrackedLines& lines)
    : options_(options), lines_(lines), x_(x), y_((y - lines.first) / lines.step) {
  options_.halfHeight /= lines.step;
  options_.rangeY = (options_.rangeY + lines.step - 1) / lines.step;
}

template <class PixelClass>
TrackedPoint Tracker<PixelClass>::Next(const Search& search, const Image& frame) {
  if (!template_) {
    TakeTemplate(frame);
    return Answer(0, false);
  }
  const Found found = SearchAround(search, frame, x_ + motionX_, y_ + motionY_);
  ++age_;
  if (!found.isFound || found.score > options_.maxScore) {
    motionX_ = motionY_ = 0;
    return Answer(found.score, true);
  }
  motionX_ = found.x - x_;
  motionY_ = found.y - y_;
  x_ = found.x;
  y_ = found.y;
  if (IsDue(found.score)) TakeTemplate(frame);
  return Answer(found.score, false);
}

template <class PixelClass>
typename Tracker<PixelClass>::Size Tracker<PixelClass>::TemplateIn(int width, int height) const {
  return {PartOf(Nearest(x_, width), options_.halfWidth, width),
          PartOf(Nearest(y_, height), options_.halfHeight, height)};
}

template <class PixelClass>
TrackedPoint Tracker<PixelClass>::Answer(double score, bool isLost) const {
  return {x_, lines_.step * y_ + lines_.first, score, isLost};
}

template <class PixelClass>
void Tracker<PixelClass>::TakeTemplate(const Image& frame) {
  const auto frameWidth = static_cast<int>(frame.GetWidth());
  const auto frameHeight = static_cast<int>(frame.GetHeight());
  const int atX = Nearest(x_, frameWidth);
  const int atY = Nearest(y_, frameHeight);
  const auto [width, height] = TemplateIn(frameWidth, frameHeight);
  const int left = std::max(atX - options_.halfWidth, 0);
  const int top = std::max(atY - options_.halfHeight, 0);
  kv_img::ImageOptions options;
  options.layout = frame.GetPixelLayout();
  auto part = std::make_shared<Image>(width, height, options);
  const auto& buffer = frame.GetPixelBuffer();
  const int pixelBytes = static_cast<int>(PixelClass::NbrOfBitsPerPixel / 8);
  for (int row = 0; row < height; ++row) {
    std::copy_n(buffer.rows[top + row] + left * pixelBytes, width * pixelBytes,
                part->GetPixelBuffer().rows[row]);
  }
  template_ = std::move(part);
  age_ = 0;
  atX_ = atX;
  atY_ = atY;
  offsetX_ = x_ - atX;
  offsetY_ = y_ - atY;
  cutX_ = std::max(options_.halfWidth - atX, 0);
  cutY_ = std::max(options_.halfHeight - atY, 0);
}

template <class PixelClass>
bool Tracker<PixelClass>::IsDue(double score) const {
  switch (options_.update.when) {
    case TemplateUpdate::When::Never:
      return false;
    case TemplateUpdate::When::Every:
      return age_ >= options_.update.frames;
    case TemplateUpdate::When::AboveScore:
      break;
  }
  return score > options_.update.score;
}

template <class PixelClass>
typename Tracker<PixelClass>::Found Tracker<PixelClass>::SearchAround(const Search& search,
                                                                      const Image& frame, double x,
                                                                      double y) const {
  // The search centres a whole template: one that was cut at the left has its point that much nearer to its corner.
  const int point[2] = {options_.halfWidth - cutX_, options_.halfHeight - cutY_};
  const int centre[2] = {static_cast<int>(std::lround(x - offsetX_)) + cutX_,
                         static_cast<int>(std::lround(y - offsetY_)) + cutY_};
  int result[2] = {0, 0};
  kv_img::MatchScoreMap scores;
  kv_std::SpinBarrier barrier(1);
  search.LocateFeature(*template_, frame, point, centre, result, options_.halfWidth, options_.halfHeight,
                       options_.rangeX, options_.rangeY, &scores, barrier, 0);
  if (scores.Scores().empty()) return {};
  Found found{true, static_cast<double>(result[0]), static_cast<double>(result[1]),
              std::ranges::min(scores.Scores())};
  Refine(search, frame, found);
  found.x += offsetX_;
  found.y += offsetY_;
  return found;
}

template <class PixelClass>
void Tracker<PixelClass>::Refine(const Search& search, const Image& frame, Found& found) const {
  const double point[2] = {static_cast<double>(options_.halfWidth - cutX_),
                           static_cast<double>(options_.halfHeight - cutY_)};
  double step = 0.5;
  for (int level = 0; level < options_.levels; ++level, step /= 2) {
    const double centre[2] = {found.x + cutX_, found.y + cutY_};
    double result[2] = {0, 0};
    kv_img::SubPixelScoreMap scores;
    kv_std::SpinBarrier barrier(1);
    search.RefineFeature(*template_, frame, point, centre, result, options_.halfWidth, options_.halfHeight,
                         2 * step, 2 * step, step, step, 0, 1, &scores, barrier, 0);
    // At the picture's border there may be whole positions alone.
    if (scores.Scores().empty()) return;
    const double best = std::ranges::min(scores.Scores());
    if (best == kv_img::unscored) return;
    found = {true, result[0], result[1], best};
  }
}

template class Tracker<kv_img::PixelYUV422>;
template class Tracker<kv_img::PixelDIB24>;
template class Tracker<kv_img::PixelDIB32>;

}  // namespace kv_run
