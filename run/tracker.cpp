#include "run/tracker.h"

#include <algorithm>
#include <cmath>

namespace kv_run {

TrackedPoint Tracker::Next(const std::shared_ptr<const Image>& frame) {
  if (!template_) {
    TakeTemplate(frame);
    return {x_, y_, 0, false};
  }
  ++age_;
  const Found found = SearchAround(*frame, x_ + motionX_, y_ + motionY_);
  if (!found.isFound || found.score > options_.maxScore) {
    motionX_ = motionY_ = 0;
    return {x_, y_, found.score, true};
  }
  motionX_ = found.x - x_;
  motionY_ = found.y - y_;
  x_ = found.x;
  y_ = found.y;
  if (IsDue(found.score)) TakeTemplate(frame);
  return {x_, y_, found.score, false};
}

void Tracker::TakeTemplate(const std::shared_ptr<const Image>& frame) {
  template_ = frame;
  age_ = 0;
  const auto nearest = [](double at, int size) {
    return std::clamp(static_cast<int>(std::lround(at)), 0, size - 1);
  };
  atX_ = nearest(x_, static_cast<int>(frame->GetWidth()));
  atY_ = nearest(y_, static_cast<int>(frame->GetHeight()));
  offsetX_ = x_ - atX_;
  offsetY_ = y_ - atY_;
  cutX_ = std::max(options_.halfWidth - atX_, 0);
  cutY_ = std::max(options_.halfHeight - atY_, 0);
}

bool Tracker::IsDue(double score) const {
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

Tracker::Found Tracker::SearchAround(const Image& frame, double x, double y) const {
  // The search centres a whole template: one that was cut at the left has its point that much nearer to its corner.
  const int point[2] = {atX_, atY_};
  const int centre[2] = {static_cast<int>(std::lround(x - offsetX_)) + cutX_,
                         static_cast<int>(std::lround(y - offsetY_)) + cutY_};
  int result[2] = {0, 0};
  kv_img::MatchScoreMap scores;
  kv_std::SpinBarrier barrier(1);
  search_.LocateFeature(*template_, frame, point, centre, result, options_.halfWidth, options_.halfHeight,
                        options_.rangeX, options_.rangeY, &scores, barrier, 0);
  if (scores.Scores().empty()) return {};
  Found found{true, static_cast<double>(result[0]), static_cast<double>(result[1]),
              std::ranges::min(scores.Scores())};
  Refine(frame, found);
  found.x += offsetX_;
  found.y += offsetY_;
  return found;
}

void Tracker::Refine(const Image& frame, Found& found) const {
  const double point[2] = {static_cast<double>(atX_), static_cast<double>(atY_)};
  double step = 0.5;
  for (int level = 0; level < options_.levels; ++level, step /= 2) {
    const double centre[2] = {found.x + cutX_, found.y + cutY_};
    double result[2] = {0, 0};
    kv_img::SubPixelScoreMap scores;
    kv_std::SpinBarrier barrier(1);
    search_.RefineFeature(*template_, frame, point, centre, result, options_.halfWidth, options_.halfHeight,
                          2 * step, 2 * step, step, step, 0, 1, &scores, barrier, 0);
    // At the picture's border there may be whole positions alone.
    if (scores.Scores().empty()) return;
    const double best = std::ranges::min(scores.Scores());
    if (best == kv_img::unscored) return;
    found = {true, result[0], result[1], best};
  }
}

}  // namespace kv_run
